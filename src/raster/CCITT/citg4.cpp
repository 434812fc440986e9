// Group 3 and group 4 images of a file: the coded bytes in memory, the lines in order, and blocks of lines as runs.
#include "raster/CCITT/citfile.h"

#include <algorithm>
#include <cstring>

#include "support/checked.h"
#include "support/memory.h"

struct cit_file {
    // Reading: what `reader` was made for. Null: nothing is loaded.
    cit_reader* reader; // owned
    uint8_t* data;      // owned
    size_t bytes;
    cit_coding coding;
    cit_extent extent;
    int32_t xsize, ysize, strip_lines;
    bool told; // that lines are damaged

    // Writing. Null: no image has been begun.
    cit_writer* writer; // owned
    cit_coding put_coding;
    int64_t put_begin; // file offset
    int32_t put_lines; // lines taken
};

namespace {

constexpr char SOURCE[] = "CIT/citg4";

int no_memory(CFILE* c, const char* detail, int line = __builtin_LINE()) {
    return refuse(c, RZL_NO_MEMORY, SOURCE, detail, line);
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
    if (!placed || io_write(c, data, bytes) != bytes) return refuse(c, RZL_WRITE_FAILED, SOURCE, "coded lines");
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
    return fails(c, RZL_LINES_OUT_OF_ORDER, SOURCE, "put line");
}

uint32_t put_white(const CFILE* c, cit_writer* writer) {
    size_t bytes = (static_cast<size_t>(c->xsize) + 15) / 16 * 2;
    mem_guard<uint8_t> white(static_cast<uint8_t*>(mem_alloc_zeroed(bytes)));
    return white ? cit_writer_bits(writer, white.get()) : CIT_NO_MEMORY;
}

bool is_ready(const CFILE* c, cit_coding coding, cit_extent extent) {
    return c->ccitt->coder != nullptr && is_loaded(c, c->ccitt->coder, coding, extent);
}

int load(CFILE* c, cit_coding coding, cit_extent extent) {
    if (is_ready(c, coding, extent)) return 0;
    cit_file* f = file_of(c);
    if (f == nullptr) return no_memory(c, "load");
    drop_reader(f);
    if (make_reader(c, f, coding, extent)) return 0;
    drop_reader(f);
    return no_memory(c, "load");
}

cit_get_result get_line(CFILE* c, cit_coding coding, cit_extent extent, uint8_t* bits) {
    // Asked here too: a call for each line takes as long as twenty pixels do.
    if (!is_ready(c, coding, extent) && load(c, coding, extent) != 0) return CIT_GET_FAILED;
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

int put_line(CFILE* c, cit_coding coding, const uint8_t* bits, size_t* written) {
    *written = 0;
    cit_file* f = file_of(c);
    if (f == nullptr) return no_memory(c, "put line");
    if (!begin_lines(c, f, coding)) return 1;
    uint32_t result = bits != nullptr ? cit_writer_bits(f->writer, bits) : put_white(c, f->writer);
    if (!cit_succeeded(result)) return no_memory(c, "put line");
    ++f->put_lines;
    return f->put_lines == c->ysize ? cit_file_finish(c, written) : 0;
}

// The buffer has taken `done` of `count` lines: a size to try, as large as all of them need if they are like those.
int64_t size_to_try(int64_t size, int64_t done, int64_t count, size_t words) {
    int64_t next =
        done > 0 ? size / done * count + size % done * count / done : static_cast<int64_t>(words) * 2 * count;
    return clamped<int64_t>(std::max(next, size + static_cast<int64_t>(words) * 2), 0, INT32_MAX);
}

// Lines from `first` on. The words used, or 0 with the status set.
size_t take_lines(CFILE* c, int64_t first, int64_t count, uint16_t* runs, size_t room) {
    size_t used = 0;
    for (int64_t i = 0; i < count; ++i) {
        size_t words = 0;
        auto number = static_cast<uint32_t>(first + i);
        uint32_t result = cit_reader_runs(c->ccitt->coder->reader, number, runs + used, room - used, &words);
        if (result == CIT_NO_MEMORY) return fails(c, RZL_NO_MEMORY, SOURCE, "get strip");
        if (result == CIT_BUFFER_FULL) {
            c->rle_size = static_cast<int32_t>(size_to_try(c->rle_size, i, count, words));
            return fails(c, RZL_RLE_BUFFER_SMALL, SOURCE, "get strip");
        }
        if (result == CIT_BAD_DATA) set_flag(c, FLAG_DAMAGED, true);
        used += words;
    }
    return used;
}

} // namespace

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

// ---- group 3 --------------------------------------------------------------------------------------------------------

int cit_g3_load(CFILE* c, cit_extent extent) {
    return load(c, cit_coding::g3_1d, extent);
}

cit_get_result cit_g3_get_line(CFILE* c, cit_extent extent, uint8_t* bits) {
    int32_t block = c->ccitt->strip_lines;
    if (block <= 0 || c->line < block) return get_line(c, cit_coding::g3_1d, extent, bits);
    fail(c, RZL_UNSUPPORTED, SOURCE, "get line");
    return CIT_GET_FAILED;
}

int cit_g3_put_line(CFILE* c, const uint8_t* bits, size_t* written) {
    return put_line(c, cit_coding::g3_1d, bits, written);
}

// ---- group 4 --------------------------------------------------------------------------------------------------------

int cit_g4_load(CFILE* c, cit_extent extent) {
    return load(c, cit_coding::g4, extent);
}

cit_get_result cit_g4_get_line(CFILE* c, cit_extent extent, uint8_t* bits) {
    return get_line(c, cit_coding::g4, extent, bits);
}

int cit_g4_put_line(CFILE* c, const uint8_t* bits, size_t* written) {
    return put_line(c, cit_coding::g4, bits, written);
}

int cit_g4_get_strip(CFILE* c, cit_extent extent, uint8_t* runs) {
    int64_t block = c->ccitt->strip_lines > 0 ? c->ccitt->strip_lines : c->ysize;
    int64_t first = block * c->line;
    if (first >= c->ysize) return fails(c, RZL_PAST_END, SOURCE, "get strip");
    if (cit_g4_load(c, extent) != 0) return 0;
    auto room = static_cast<size_t>(std::max(c->rle_size, 0)) / 2;
    // The caller's buffer need not stand where words can.
    mem_guard<uint16_t> lines(mem_new_array<uint16_t>(room));
    if (!lines) return fails(c, RZL_NO_MEMORY, SOURCE, "get strip");
    size_t used = take_lines(c, first, std::min(block, c->ysize - first), lines.get(), room);
    if (used == 0) return 0;
    std::memcpy(runs, lines.get(), used * 2);
    c->rle_size = static_cast<int32_t>(used * 2);
    return c->rle_size;
}
