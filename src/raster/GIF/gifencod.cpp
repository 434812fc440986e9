// GIF files: the coder, and the file as it is written.
//
// The table of strings is addressed by the code before and the next pixel, so that a step is a single load. It has 2
// MB, and a pass over them at every new table would take nearly as long as coding. So the four bits of an entry that
// no code needs tell which table it belongs to, and the pass comes once in fifteen tables.
#include <cstring>

#include "raster/GIF/gif.h"
#include "support/bytes.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "GIF/gifencod";
constexpr uint8_t CODE_SIZE = 8; // bits of a pixel
constexpr uint32_t CLEAR = 1u << CODE_SIZE;
constexpr uint32_t END = CLEAR + 1;
constexpr uint32_t FIRST_FREE = CLEAR + 2;
constexpr int FIRST_WIDTH = CODE_SIZE + 1;
constexpr int PADDING_CODES = 4; // of value 0, behind the end code

// ---- blocks ---------------------------------------------------------------------------------------------------------

constexpr size_t BLOCKS_AT_ONCE = 128;
constexpr size_t GATHERED_MOST = BLOCKS_AT_ONCE * GIF_BLOCK_MOST;

// Codes become bytes, least significant bit first, and bytes become blocks.
struct code_output {
    CFILE* c;
    uint64_t buffer; // bits that are no whole byte yet
    int bits;
    size_t fill; // bytes gathered
    bool failed; // a write came back short
    uint8_t gathered[GATHERED_MOST + 8];
    uint8_t blocks[BLOCKS_AT_ONCE * (GIF_BLOCK_MOST + 1)];
};

// Writes the first `bytes` gathered bytes as blocks.
void write_blocks(code_output* o, size_t bytes) {
    size_t used = 0;
    for (size_t at = 0; at < bytes; at += GIF_BLOCK_MOST) {
        size_t size = bytes - at < GIF_BLOCK_MOST ? bytes - at : GIF_BLOCK_MOST;
        o->blocks[used] = static_cast<uint8_t>(size);
        std::memcpy(o->blocks + used + 1, o->gathered + at, size);
        used += size + 1;
    }
    if (io_write(o->c, o->blocks, used) != used) o->failed = true;
    o->fill -= bytes;
    std::memmove(o->gathered, o->gathered + bytes, o->fill);
}

inline void put_code(code_output* o, uint32_t code, int width) {
    o->buffer |= uint64_t{code} << o->bits;
    o->bits += width;
    store_u64le(o->gathered + o->fill, o->buffer);
    auto bytes = static_cast<size_t>(o->bits) / 8;
    o->fill += bytes;
    o->buffer >>= bytes * 8;
    o->bits &= 7;
    if (o->fill >= GATHERED_MOST) write_blocks(o, GATHERED_MOST);
}

// The codes of value 0 push out what is left of the end code, so that the bits that no byte has taken are theirs.
void finish_codes(code_output* o, int width) {
    put_code(o, END, width);
    for (int i = 0; i < PADDING_CODES; ++i)
        put_code(o, 0, width);
    if (o->fill > 0) write_blocks(o, o->fill);
}

// ---- strings --------------------------------------------------------------------------------------------------------

constexpr size_t TABLE_PLACES = size_t{GIF_CODES} << CODE_SIZE;
constexpr uint32_t STAMP_STEP = GIF_CODES;
constexpr uint32_t STAMP_LAST = 15 * STAMP_STEP;

struct encoder {
    uint32_t next_code;
    int code_width;
    uint32_t width_limit; // codes up to this have code_width bits
    uint32_t stamp;       // of the table in use, above the bits of a code; that of no table is 0
    code_output out;
    uint16_t code_table[TABLE_PLACES]; // by code and pixel: code and stamp
};

void start_table(encoder* e) {
    if (e->stamp == STAMP_LAST) {
        std::memset(e->code_table, 0, sizeof e->code_table);
        e->stamp = 0;
    }
    e->stamp += STAMP_STEP;
    e->code_width = FIRST_WIDTH;
    e->width_limit = 1u << FIRST_WIDTH;
    e->next_code = FIRST_FREE;
}

// The code of the string at `place`: GIF_CODES or more when the table in use has none there.
inline uint32_t find_string(const encoder* e, uint32_t place) {
    return e->code_table[place] ^ e->stamp;
}

// Gives the next code to the string at `place`. The one after the last of 12 bits is no code any more: a new table
// starts.
inline void enter_string(encoder* e, uint32_t place) {
    uint32_t code = e->next_code++;
    if (code == e->width_limit) {
        if (code == GIF_CODES) {
            put_code(&e->out, CLEAR, GIF_MOST_WIDTH);
            start_table(e);
            return;
        }
        ++e->code_width;
        e->width_limit *= 2;
    }
    e->code_table[place] = static_cast<uint16_t>(code ^ e->stamp);
}

void encode_pixels(encoder* e, const uint8_t* pixels, size_t count) {
    put_code(&e->out, CLEAR, FIRST_WIDTH);
    start_table(e);
    uint32_t prefix = pixels[0];
    for (size_t i = 1; i < count; ++i) {
        uint32_t place = prefix << CODE_SIZE | pixels[i];
        uint32_t code = find_string(e, place);
        if (code < GIF_CODES) {
            prefix = code;
            continue;
        }
        put_code(&e->out, prefix, e->code_width);
        enter_string(e, place);
        prefix = pixels[i];
    }
    put_code(&e->out, prefix, e->code_width);
    finish_codes(&e->out, e->code_width);
}

bool write_start(CFILE* c, const gif_spec* spec) {
    return io_write(c, spec->header, GIF_HEADER_SIZE) == GIF_HEADER_SIZE &&
           io_write(c, spec->colour_table, GIF_TABLE_SIZE) == GIF_TABLE_SIZE &&
           io_write(c, spec->descriptor, GIF_DESCRIPTOR_SIZE) == GIF_DESCRIPTOR_SIZE && io_write(c, &CODE_SIZE, 1) == 1;
}

} // namespace

// Memory is taken before the first byte goes out, so that a failure leaves the lines to be put again.
bool gif_encode(CFILE* c) {
    gif_spec* spec = gif_spec_of(c);
    mem_guard<encoder> e(mem_new<encoder>());
    if (!e) {
        fail(c, RZL_NO_MEMORY, SOURCE, nullptr);
        return false;
    }
    e->out.c = c;
    spec->output = gif_output::begun;
    bool started = write_start(c, spec);
    auto pixels = static_cast<size_t>(spec->width) * static_cast<size_t>(spec->height);
    if (started) encode_pixels(e.get(), spec->pixels, pixels);
    if (!started || e->out.failed) {
        fail(c, RZL_WRITE_FAILED, SOURCE, nullptr);
        return false;
    }
    spec->output = gif_output::whole;
    return true;
}
