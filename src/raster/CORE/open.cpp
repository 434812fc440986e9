// Opening existing files and creating new ones.
#include "raster/CORE/cfile.h"

#include <cstring>

#include "platform/files.h"
#include "raster/CORE/detect.h"
#include "raster/CORE/fileword.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "CORE/open";

// A new handle in its initial state. Null, with RZL_NO_MEMORY, when there is no memory.
CFILE* new_cfile(const char* name) {
    auto* c = static_cast<CFILE*>(mem_alloc(sizeof(CFILE)));
    if (c != nullptr && rzl_init_cfile(c)) return c;
    mem_free(c);
    fail(nullptr, RZL_NO_MEMORY, SOURCE, name);
    return nullptr;
}

// Where the bytes of a file come from: one of the two is set.
struct file_source {
    rzl_memfile* memory;
    os_file handle;
};

// False when there is no such file, with the status set.
bool find_source(const char* name, bool update, file_source* source) {
    bool is_memory = false;
    source->handle = OS_FILE_NONE;
    source->memory = memfile_of_name(name, &is_memory);
    if (is_memory) {
        if (source->memory != nullptr) return true;
        fail(nullptr, RZL_NO_MEMORY, SOURCE, name);
        return false;
    }
    unsigned flags = update ? FILES_READ | FILES_WRITE : unsigned{FILES_READ};
    source->handle = name != nullptr ? files_open(name, flags) : files_standard_input();
    if (source->handle >= 0) return true;
    fail(nullptr, RZL_CANNOT_OPEN, SOURCE, name);
    return false;
}

void attach_source(CFILE* c, const file_source& source) {
    if (source.memory != nullptr) {
        set_flag(c, FLAG_MEMORY, true);
        c->file = source.memory;
        rzl_set_memory_slots(c);
    } else {
        c->file = word_of_handle(source.handle);
        rzl_set_handle_slots(c);
    }
}

CFILE* rzl_open_existing(const char* name, bool update) {
    set_last_status(0);
    if (name == nullptr) update = false;
    file_source source = {};
    if (!find_source(name, update, &source)) return nullptr;
    read_debug_level();
    CFILE* c = new_cfile(name);
    if (c == nullptr) {
        if (name != nullptr && source.memory == nullptr) (void)files_close(source.handle);
        return nullptr;
    }
    c->mode = update ? MODE_UPDATE : MODE_READ;
    set_flag(c, FLAG_HEADER_EXISTS, update);
    attach_source(c, source);
    // What can't be seen through a view is read through the handle.
    if (!update && source.memory == nullptr) (void)rzl_set_mapped(c, true);
    return detect_and_open(c, name);
}

CFILE* open_with_format(const char* name, bool update) {
    CFILE* c = rzl_open_existing(name, update);
    if (c != nullptr) c->format = c->slots.Get_format(c);
    return c;
}

// A catalog of several files takes a new member at its end. Nothing here can write one yet, and truncating it would
// lose the others, so a file that is a catalog, or can't be told from one, is not created anew. Only a plain file is
// looked into: to read from a device could wait for ever.
bool may_be_replaced(const char* name) {
    constexpr char MARK[] = "SUPERT!";
    constexpr size_t MARK_LENGTH = sizeof MARK - 1;
    char head[MARK_LENGTH] = {};
    if (files_size_of(name) < static_cast<int64_t>(MARK_LENGTH)) return true;
    file_stream* stream = stream_open(name, "rb");
    if (stream == nullptr) return true; // it may be writable all the same
    size_t read = stream_read(head, 1, sizeof head, stream);
    (void)stream_close(stream);
    return read == MARK_LENGTH && std::memcmp(head, MARK, MARK_LENGTH) != 0;
}

// The file of a handle being created. False, with the status set, when it can't be had.
bool create_file(CFILE* c, const char* name) {
    bool is_memory = false;
    c->file = memfile_of_name(name, &is_memory);
    if (is_memory) {
        if (c->file == nullptr) {
            fail(c, RZL_NO_MEMORY, SOURCE, name);
            return false;
        }
        set_flag(c, FLAG_MEMORY, true);
        rzl_set_memory_slots(c);
        return true;
    }
    rzl_set_stream_slots(c);
    if (name == nullptr) {
        c->file = stream_standard_output();
    } else if (may_be_replaced(name)) {
        c->file = stream_open(name, c->mode == MODE_WRITE_READ ? "w+b" : "wb");
    }
    if (c->file != nullptr) return true;
    fail(c, RZL_CANNOT_OPEN, SOURCE, name);
    return false;
}

CFILE* rzl_create(const char* name, bool readback) {
    set_last_status(0);
    CFILE* c = new_cfile(name);
    if (c == nullptr) return nullptr;
    c->mode = readback && name != nullptr ? MODE_WRITE_READ : MODE_WRITE;
    if (!create_file(c, name)) {
        abandon_cfile(c);
        return nullptr;
    }
    if (rzl_set_standard(c, -1) != 0) {
        fail(c, RZL_CANNOT_OPEN, SOURCE, name);
        abandon_cfile(c);
        return nullptr;
    }
    return c;
}

} // namespace

CFILE* rzl_open_r(const char* name) {
    return open_with_format(name, false);
}

CFILE* rzl_open_rw(const char* name) {
    return open_with_format(name, true);
}

CFILE* rzl_open_w(const char* name) {
    return rzl_create(name, false);
}

CFILE* rzl_open_wr(const char* name) {
    return rzl_create(name, true);
}
