// The LZW coder: a table of the strings met, by code and byte, and codes in blocks as readers of the format take them.
#include "compress.h"

#include <algorithm>

namespace {

constexpr int FIRST_WIDTH = 9;
constexpr int LAST_WIDTH = 16;
constexpr uint32_t CLEAR_CODE = 256;
constexpr uint32_t FIRST_CODE = 257;
constexpr uint32_t CODE_LIMIT = 1u << LAST_WIDTH;
constexpr int CODES_IN_BLOCK = 8;
constexpr int LONGEST_STRING = 8000; // readers refuse longer ones

void put_bits(compressor* c, uint32_t bits, int count) {
    c->pending |= static_cast<uint64_t>(bits) << c->pending_bits;
    c->pending_bits += count;
    while (c->pending_bits >= 8) {
        c->out->push_back(static_cast<uint8_t>(c->pending));
        c->pending >>= 8;
        c->pending_bits -= 8;
    }
}

// A reader drops what is left of a block when the width changes, so the block is filled up.
void fill_block(compressor* c) {
    while (c->codes_in_block != 0) {
        put_bits(c, 0, c->width);
        c->codes_in_block = (c->codes_in_block + 1) % CODES_IN_BLOCK;
    }
}

void put_code(compressor* c, uint32_t code) {
    put_bits(c, code, c->width);
    c->codes_in_block = (c->codes_in_block + 1) % CODES_IN_BLOCK;
}

// The reader makes its entry one code later, so that its table is one behind when it looks at the width.
void widen_when_due(compressor* c) {
    uint32_t reader_next = c->next_code - 1;
    if (c->width < LAST_WIDTH && reader_next > (1u << c->width) - 1) {
        fill_block(c);
        ++c->width;
    }
}

void clear_table(compressor* c) {
    std::fill(c->codes.begin(), c->codes.end(), uint16_t{0});
    c->next_code = FIRST_CODE;
}

void restart(compressor* c) {
    put_code(c, CLEAR_CODE);
    fill_block(c);
    c->width = FIRST_WIDTH;
    clear_table(c);
}

// Ends the gathered string; `byte` begins the next. The reader makes an entry for the two whether it is of use or not.
void end_string(compressor* c, uint8_t byte) {
    put_code(c, static_cast<uint32_t>(c->prefix));
    c->prefix = byte;
    c->length = 1;
}

void put_byte(compressor* c, uint8_t byte) {
    if (c->prefix < 0) {
        c->prefix = byte;
        c->length = 1;
        return;
    }
    uint16_t* code = &c->codes[static_cast<size_t>(c->prefix) << 8 | byte];
    if (*code != 0 && c->length < LONGEST_STRING) {
        c->prefix = *code;
        c->length++;
        return;
    }
    end_string(c, byte);
    if (c->next_code >= CODE_LIMIT) {
        // A full table serves no further picture well: it starts anew.
        restart(c);
        return;
    }
    if (*code == 0) *code = static_cast<uint16_t>(c->next_code);
    ++c->next_code;
    widen_when_due(c);
}

} // namespace

void compress_begin(compressor* c, std::vector<uint8_t>* out) {
    c->out = out;
    c->codes.assign(size_t{CODE_LIMIT} << 8, 0);
    c->next_code = FIRST_CODE;
    c->width = FIRST_WIDTH;
    c->prefix = -1;
    c->pending = 0;
    c->pending_bits = 0;
    c->codes_in_block = 0;
    out->push_back(0x1F);
    out->push_back(0x9D);
    out->push_back(0x80 | LAST_WIDTH);
}

void compress_bytes(compressor* c, const uint8_t* bytes, size_t count) {
    for (size_t i = 0; i < count; ++i)
        put_byte(c, bytes[i]);
}

void compress_end(compressor* c) {
    if (c->prefix >= 0) put_code(c, static_cast<uint32_t>(c->prefix));
    if (c->pending_bits > 0) put_bits(c, 0, 8 - c->pending_bits);
}
