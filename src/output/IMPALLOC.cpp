// The image pack's record: making and releasing it, the pipeline's globals, and the words of its codes.
#include <cstdarg>
#include <cstdio>
#include <cstring>

#include "output/imp.h"
#include "support/log.h"
#include "support/memory.h"

int imp_verbose = 0;
int imp_error = IMP_OK;
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

int imp_fail_saying(int code, const char* format, ...) {
    if (imp_verbose != 0) {
        char text[LOG_TEXT_SIZE];
        va_list arguments;
        va_start(arguments, format);
        std::vsnprintf(text, sizeof text, format, arguments);
        va_end(arguments);
        log_message(LOG_WARNING, "%s", text);
    }
    return imp_fail(code);
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
    if (imp_planes_shared == 0) {
        mem_free(p->file_path);
        mem_free(p->vlt);
        mem_free(p->index_plane);
        mem_free(p->red_plane);
        mem_free(p->green_plane);
        mem_free(p->blue_plane);
    }
    p->magic = 0;
    mem_free(p);
    *pack = nullptr;
    return IMP_OK;
}
