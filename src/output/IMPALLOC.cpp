// The image pack's record: making and releasing it, the pipeline's globals, and the words of its codes.
#include <climits>
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <initializer_list>

#include "output/imp.h"
#include "support/log.h"
#include "support/memory.h"

int imp_verbose = 0;
int imp_error = IMP_OK;
uint32_t imp_raster_status = 0;
int imp_planes_shared = 0;

const char* const imp_error_text[IMP_CODES] = {
    "",
    "",
    "Ran out of memory",
    "Could not read file",
    "Could not write file",
    "Null image pack pointer",
    "Improperly initialized image pack",
    "Invalid raster file",
    "Truncated raster file",
    "Invalid parameter flag",
    "Unsupported file format",
    "Unsupported file standard",
    "Invalid filter file",
    "Uninitialized filter",
    "Filtering a non-24bpp impack",
    "Merging a non-24bpp impack",
    "Merging non-equivalent impacks",
};

namespace {

constexpr const char* SOURCE = "IMPALLOC.c";

} // namespace

int imp_fail(int code) {
    imp_error = code;
    return code;
}

static void tell(const char* format, va_list arguments) {
    char text[LOG_TEXT_SIZE];
    std::vsnprintf(text, sizeof text, format, arguments);
    log_message(LOG_WARNING, "%s", text);
}

int imp_fail_saying(int code, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    if (imp_verbose != 0) tell(format, arguments);
    va_end(arguments);
    return imp_fail(code);
}

int imp_fail_telling(int code, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    tell(format, arguments);
    va_end(arguments);
    return imp_fail(code);
}

bool imp_lacks_planes(const Impack* pack) {
    return pack->pixels > 0 &&
           (pack->red_plane == nullptr || pack->green_plane == nullptr || pack->blue_plane == nullptr);
}

int imp_check_pack(const Impack* pack, int line, const char* file) {
    if (pack == nullptr) return imp_fail_saying(IMP_NULL_PACK, "Null imp. Line %d, file %s\n", line, file);
    if (pack->magic != IMP_MAGIC) return imp_fail_saying(IMP_BAD_PACK, "Insane imp. Line %d, file %s\n", line, file);
    return IMP_OK;
}

const char* imp_file_name(const char* path) {
    const char* name = path;
    for (const char* p = path; *p != '\0'; ++p) {
        if (*p == '\\' || *p == '/') name = p + 1;
    }
    return name;
}

const char* imp_name_of(const Impack* pack) {
    return pack != nullptr && pack->file_name != nullptr ? pack->file_name : "";
}

int imp_printed(size_t bytes) {
    return bytes <= INT_MAX ? static_cast<int>(bytes) : INT_MAX;
}

// Frees the block unless it is the caller's, and clears the pointer and the note of who made it.
template <typename T> static void release(Impack* pack, T** block, uint32_t made) {
    if (imp_planes_shared == 0 || (pack->made & made) != 0) mem_free(*block);
    *block = nullptr;
}

void imp_release_planes(Impack* pack) {
    for (uint8_t** plane : {&pack->red_plane, &pack->green_plane, &pack->blue_plane})
        release(pack, plane, IMP_MADE_PLANES);
    pack->made &= ~uint32_t{IMP_MADE_PLANES};
}

void imp_release_index(Impack* pack) {
    release(pack, &pack->index_plane, IMP_MADE_INDEX);
    pack->made &= ~uint32_t{IMP_MADE_INDEX};
}

void imp_release_vlt(Impack* pack) {
    release(pack, &pack->vlt, IMP_MADE_VLT);
    pack->made &= ~uint32_t{IMP_MADE_VLT};
    pack->vlt_count = 0;
}

int imp_alloc(Impack** pack) {
    *pack = mem_new<Impack>();
    if (*pack == nullptr) {
        return imp_fail_saying(IMP_NO_MEMORY, "Couldnt alloc %d bytes. Line %d, file %s\n",
                               static_cast<int>(sizeof(Impack)), __LINE__, SOURCE);
    }
    (*pack)->standard = -1;
    (*pack)->format = -1;
    (*pack)->magic = IMP_MAGIC;
    return IMP_OK;
}

int imp_free(Impack** pack) {
    if (pack == nullptr || *pack == nullptr) {
        return imp_fail_saying(IMP_NULL_PACK, "Null impack. Line %d, file %s\n", __LINE__, SOURCE);
    }
    Impack* p = *pack;
    if (p->magic != IMP_MAGIC) {
        return imp_fail_saying(IMP_NULL_PACK, "Insane impack. Line %d, file %s\n", __LINE__, SOURCE);
    }
    if (imp_planes_shared == 0) mem_free(p->file_path);
    imp_release_vlt(p);
    imp_release_index(p);
    imp_release_planes(p);
    p->magic = 0;
    mem_free(p);
    *pack = nullptr;
    return IMP_OK;
}
