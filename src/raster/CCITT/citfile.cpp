// What the coded image of a file has in common for group 3 and group 4: the bytes in memory, and the lines in order.
#include "raster/CCITT/citfile.h"

#include <algorithm>

#include "raster/CCITT/citstate.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "CIT/citfile";

int no_memory(CFILE* c, const char* detail) {
    fail(c, RZL_NO_MEMORY, SOURCE, detail);
    return 1;
}

cit_file* file_of(CFILE* c) {
    if (c->ccitt->coder == nullptr) c->ccitt->coder = mem_new<cit_file>();
    return c->ccitt->coder;
}

void drop_reader(cit_file* f) {
    cit_reader_free(f->reader);
    mem_free(f->data);
    f->reader = nullptr;
    f->data = nullptr;
}

void drop_writer(cit_file* f) {
    cit_writer_free(f->writer);
    f->writer = nullptr;
}

bool is_loaded(const CFILE* c, const cit_file* f, cit_coding coding, cit_extent extent) {
    return f->reader != nullptr && f->coding == coding && f->extent.begin == extent.begin &&
           f->extent.end == extent.end && f->xsize == c->xsize && f->ysize == c->ysize &&
           f->strip_lines == c->ccitt->strip_lines;
}

// Group 4 alone has an order of its bits that depends on the file.
bool is_reversed(const CFILE* c, cit_coding coding) {
    return coding == cit_coding::g4 && !has_flag(c, FLAG_NATIVE);
}

bool read_coded(CFILE* c, cit_file* f, cit_extent extent) {
    int64_t end = std::min(extent.end, io_size(c));
    f->bytes = end > extent.begin ? static_cast<size_t>(end - extent.begin) : 0;
    f->data = static_cast<uint8_t*>(mem_alloc(f->bytes));
    if (f->data == nullptr) return false;
    int64_t position = io_tell(c);
    bool there = io_seek(c, extent.begin) && io_read(c, f->data, f->bytes) == f->bytes;
    return io_seek(c, position) && there;
}

bool make_reader(CFILE* c, cit_file* f, cit_coding coding, cit_extent extent) {
    if (c->xsize <= 0 || c->ysize <= 0 || !read_coded(c, f, extent)) return false;
    if (is_reversed(c, coding)) cit_reverse_bytes(f->data, f->bytes);
    f->coding = coding;
    f->extent = extent;
    f->xsize = c->xsize;
    f->ysize = c->ysize;
    f->strip_lines = c->ccitt->strip_lines;
    f->told = false;
    f->reader = cit_reader_new(coding, static_cast<uint32_t>(c->xsize), static_cast<uint32_t>(c->ysize), f->data,
                               f->bytes, static_cast<uint32_t>(std::max(f->strip_lines, 0)));
    return f->reader != nullptr;
}

void note_damage(CFILE* c, cit_file* f) {
    set_flag(c, FLAG_DAMAGED, true);
    if (!f->told) rzl_warn("Bad Return from cit\n");
    f->told = true;
}

int write_coded(CFILE* c, cit_file* f, size_t* written) {
    uint8_t* data = nullptr;
    size_t bytes = 0;
    if (!cit_succeeded(cit_writer_finish(f->writer, &data, &bytes))) return no_memory(c, "finish");
    if (is_reversed(c, f->put_coding)) cit_reverse_bytes(data, bytes);
    bool placed = io_tell(c) == f->put_begin || io_seek(c, f->put_begin);
    if (!placed || io_write(c, data, bytes) != bytes) {
        fail(c, RZL_WRITE_FAILED, SOURCE, "coded lines");
        return 1;
    }
    *written = bytes;
    return 0;
}

// Begins an image at line 0. False: the status is set.
bool begin_lines(CFILE* c, cit_file* f, cit_coding coding) {
    drop_reader(f);
    if (c->line == 0) {
        drop_writer(f);
        f->put_coding = coding;
        f->put_begin = io_tell(c);
        f->put_lines = 0;
        f->writer = cit_writer_new(coding, static_cast<uint32_t>(std::max(c->xsize, 0)), 0);
        if (f->writer == nullptr) no_memory(c, "writer");
        return f->writer != nullptr;
    }
    if (f->writer != nullptr && c->line == f->put_lines) return true;
    fail(c, RZL_LINES_OUT_OF_ORDER, SOURCE, "put line");
    return false;
}

uint32_t put_white(const CFILE* c, cit_writer* writer) {
    size_t bytes = (static_cast<size_t>(c->xsize) + 15) / 16 * 2;
    mem_guard<uint8_t> white(static_cast<uint8_t*>(mem_alloc_zeroed(bytes)));
    return white ? cit_writer_bits(writer, white.get()) : CIT_NO_MEMORY;
}

} // namespace

int cit_file_load(CFILE* c, cit_coding coding, cit_extent extent) {
    cit_file* f = file_of(c);
    if (f == nullptr) return no_memory(c, "load");
    if (is_loaded(c, f, coding, extent)) return 0;
    drop_reader(f);
    if (make_reader(c, f, coding, extent)) return 0;
    drop_reader(f);
    return no_memory(c, "load");
}

cit_get_result cit_file_get_line(CFILE* c, cit_coding coding, cit_extent extent, uint8_t* bits) {
    if (cit_file_load(c, coding, extent) != 0) return CIT_GET_FAILED;
    cit_file* f = c->ccitt->coder;
    uint32_t result = cit_reader_bits(f->reader, static_cast<uint32_t>(c->line), bits);
    if (result == CIT_NO_MEMORY) {
        no_memory(c, "get line");
        return CIT_GET_FAILED;
    }
    if (result == CIT_OK) return CIT_GET_GOOD;
    note_damage(c, f);
    return CIT_GET_DAMAGED;
}

int cit_file_put_line(CFILE* c, cit_coding coding, const uint8_t* bits, size_t* written) {
    *written = 0;
    cit_file* f = file_of(c);
    if (f == nullptr) return no_memory(c, "put line");
    if (!begin_lines(c, f, coding)) return 1;
    uint32_t result = bits != nullptr ? cit_writer_bits(f->writer, bits) : put_white(c, f->writer);
    if (!cit_succeeded(result)) return no_memory(c, "put line");
    ++f->put_lines;
    return f->put_lines == c->ysize ? cit_file_finish(c, written) : 0;
}

int cit_file_finish(CFILE* c, size_t* written) {
    *written = 0;
    cit_file* f = c->ccitt != nullptr ? c->ccitt->coder : nullptr;
    if (f == nullptr || f->writer == nullptr) return 0;
    int result = f->put_lines > 0 ? write_coded(c, f, written) : 0;
    drop_writer(f);
    return result;
}

void cit_file_release(ccitt_record* record) {
    if (record == nullptr || record->coder == nullptr) return;
    drop_reader(record->coder);
    drop_writer(record->coder);
    mem_free(record->coder);
    record->coder = nullptr;
}
