// Opening existing files and creating new ones.
#include <cstring>

#include "platform/files.h"
#include "raster/CORE/fileword.h"
#include "raster/CORE/module.h"
#include "raster/CORE/standard.h"
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

// False when there is no such file, with the status set, on the handle if there is one.
bool find_source(CFILE* c, const char* name, bool update, file_source* source) {
    bool is_memory = false;
    source->handle = OS_FILE_NONE;
    source->memory = memfile_of_name(name, &is_memory);
    if (is_memory) {
        if (source->memory != nullptr) return true;
        return fails(c, RZL_NO_MEMORY, SOURCE, name);
    }
    unsigned flags = update ? FILES_READ | FILES_WRITE : unsigned{FILES_READ};
    source->handle = name != nullptr ? files_open(name, flags) : files_standard_input();
    return source->handle >= 0 || fails(c, RZL_CANNOT_OPEN, SOURCE, name);
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
    // What can't be seen through a view is read through the handle.
    if (c->mode == MODE_READ && source.memory == nullptr) (void)rzl_set_mapped(c, true);
}

CFILE* rzl_open_existing(const char* name, bool update, const CFILE* catalog = nullptr) {
    set_last_status(0);
    if (name == nullptr) update = false;
    file_source source = {};
    if (!find_source(nullptr, name, update, &source)) return nullptr;
    read_debug_level();
    CFILE* c = new_cfile(name);
    if (c == nullptr) {
        if (name != nullptr && source.memory == nullptr) (void)files_close(source.handle);
        return nullptr;
    }
    c->catalog = catalog;
    c->mode = update ? MODE_UPDATE : MODE_READ;
    set_flag(c, FLAG_HEADER_EXISTS, update);
    attach_source(c, source);
    return detect_and_open(c, name);
}

CFILE* open_with_format(const char* name, bool update, const CFILE* catalog = nullptr) {
    CFILE* c = rzl_open_existing(name, update, catalog);
    if (c != nullptr) c->format = c->slots.Get_format(c);
    return c;
}

// A catalog of several files takes a new member at its end: emptying it would lose the others. So a file that is a
// catalog is created anew only by the catalog's module, and one that can't be told from a catalog not at all. Only a
// plain file is looked into: to read from a device could wait for ever.
enum class existing { replaceable, catalog, untold };

existing look_at_existing(const char* name) {
    constexpr size_t MARK_SIZE = 7;
    uint8_t head[PROBE_SIZE] = {};
    if (files_size_of(name) < static_cast<int64_t>(MARK_SIZE)) return existing::replaceable;
    file_stream* stream = stream_open(name, "rb");
    if (stream == nullptr) return existing::replaceable; // it may be writable all the same
    file_probe p = {nullptr, name, head, stream_read(head, 1, MARK_SIZE, stream)};
    (void)stream_close(stream);
    if (p.size != MARK_SIZE) return existing::untold;
    return is_catalog(&p) ? existing::catalog : existing::replaceable;
}

// A new handle without a file becomes the next part of an existing one. Null: no module can do that.
const format_module* extending_module() {
    const format_module* module = find_standard(DETECTED_CATALOG)->module;
    return module != nullptr && module->extend != nullptr ? module : nullptr;
}

// The file of a handle being created. False, with the status set, when it can't be had.
bool create_file(CFILE* c, const char* name) {
    bool is_memory = false;
    c->file = memfile_of_name(name, &is_memory);
    if (is_memory) {
        if (c->file == nullptr) return fails(c, RZL_NO_MEMORY, SOURCE, name);
        set_flag(c, FLAG_MEMORY, true);
        static_cast<rzl_memfile*>(c->file)->used = 0;
        rzl_set_memory_slots(c);
        return true;
    }
    rzl_set_stream_slots(c);
    if (name == nullptr) {
        c->file = stream_standard_output();
    } else {
        c->file = stream_open(name, c->mode == MODE_WRITE_READ ? "w+b" : "wb");
    }
    if (c->file != nullptr) return true;
    return fails(c, RZL_CANNOT_OPEN, SOURCE, name);
}

bool is_memory_name(const char* name) {
    bool is_memory = false;
    (void)memfile_of_name(name, &is_memory);
    return is_memory;
}

CFILE* rzl_create(const char* name, bool readback) {
    set_last_status(0);
    CFILE* c = new_cfile(name);
    if (c == nullptr) return nullptr;
    c->mode = readback && name != nullptr ? MODE_WRITE_READ : MODE_WRITE;
    bool stands = name != nullptr && !is_memory_name(name);
    existing there = stands ? look_at_existing(name) : existing::replaceable;
    if (there == existing::catalog) {
        const format_module* extending = extending_module();
        if (extending != nullptr && install_module(c, extending) && extending->extend(c, name) == 0) return c;
    } else if (there == existing::untold) {
        fail(c, RZL_CANNOT_OPEN, SOURCE, name);
    }
    if (there != existing::replaceable) {
        abandon_cfile(c);
        return nullptr;
    }
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

bool reopen_cfile_file(CFILE* c, const char* name) {
    c->held.judged = false;
    file_source source = {};
    if (!find_source(c, name, c->mode == MODE_UPDATE, &source)) return false;
    set_flag(c, FLAG_MEMORY, false);
    attach_source(c, source);
    return true;
}

CFILE* open_member(const CFILE* catalog, const char* name, uint32_t mode) {
    bool creates = mode == MODE_WRITE || mode == MODE_WRITE_READ;
    if (!creates) return open_with_format(name, mode == MODE_UPDATE, catalog);
    if (look_at_existing(name) == existing::replaceable) return rzl_create(name, mode == MODE_WRITE_READ);
    fail(nullptr, RZL_CANNOT_OPEN, SOURCE, name);
    return nullptr;
}

int rzl_is_catalog(const char* name) {
    return name != nullptr && !is_memory_name(name) && look_at_existing(name) != existing::replaceable ? 1 : 0;
}

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
