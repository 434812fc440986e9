// The decoder behind decompress_getc(): takes codes in blocks, keeps the table of strings, and decodes a batch of
// codes at a time into a buffer, so that handing out a byte costs a compare and a load.
//
// What keeps it safe on any input:
// 1. A table entry is made from an entry that exists, and only codes of existing entries are decoded. After a clear
// code
//    all entries but the 256 bytes count as missing, although their records still stand.
// 2. So the chain of a string ends, and takes as many steps as its length says, which is compared with the room first.
#include "tnc/decompress.h"

#include <cstring>

#include "support/bytes.h"
#include "support/log.h"
#include "support/memory.h"

namespace {

constexpr int MAGIC_0 = 0x1F;
constexpr int MAGIC_1 = 0x9D;
constexpr int BLOCK_MODE = 0x80;
constexpr int MAX_BITS_MASK = 0x1F;
constexpr int FIRST_BITS = 9;
constexpr int LIMIT_BITS = 16;
constexpr int CLEAR_CODE = 256;
constexpr int BYTE_CODES = 256;
constexpr int32_t NO_CODE = -1;

// The fields of a string: see decompress_string.
constexpr uint32_t CHUNK = 4;
constexpr int BEFORE_SHIFT = 32;
constexpr int LENGTH_SHIFT = 48;

// A legal stream can hold longer strings only after 32 million equal bytes; they are refused.
constexpr int LONGEST_STRING = 8000;

// Codes are decoded until this many bytes wait; the last string may go beyond.
constexpr int BATCH_SIZE = 16384;
constexpr int OUT_SIZE = BATCH_SIZE + LONGEST_STRING + static_cast<int>(CHUNK);

int32_t max_code_of(const decompress_context* c) {
    return c->code_bits == c->max_bits ? c->code_limit : (1 << c->code_bits) - 1;
}

// Brings the next block in, at the width that is due. False at the end of the file.
bool next_block(decompress_context* c) {
    if (c->clear_pending) {
        c->code_bits = FIRST_BITS;
        c->clear_pending = false;
    } else if (c->next_code > c->max_code) {
        ++c->code_bits;
    }
    c->max_code = max_code_of(c);
    auto wanted = static_cast<size_t>(c->code_bits);
    auto ready = static_cast<size_t>(c->file->end - c->file->next);
    size_t got = wanted;
    if (ready >= DECOMPRESS_BLOCK_SIZE) {
        std::memcpy(c->block, c->file->next, DECOMPRESS_BLOCK_SIZE);
        c->file->next += wanted;
    } else {
        got = reader_read(c->file, c->block, wanted);
    }
    c->bit_offset = 0;
    // A short last block gives only the codes that are whole in it.
    c->bit_limit = static_cast<int32_t>(got) * 8 - c->code_bits + 1;
    return c->bit_limit > 0;
}

bool block_is_used_up(const decompress_context* c) {
    return c->bit_offset >= c->bit_limit || c->next_code > c->max_code || c->clear_pending;
}

// The code at `bit_offset` of the block.
inline int32_t code_at(const decompress_context* c, int32_t bit_offset, int32_t code_bits) {
    uint32_t bits = load_u32le(c->block + (bit_offset >> 3)) >> (bit_offset & 7);
    return static_cast<int32_t>(bits & ((1U << code_bits) - 1));
}

inline uint32_t length_of(decompress_string string) {
    return static_cast<uint32_t>(string >> LENGTH_SHIFT);
}

inline uint32_t code_before(decompress_string string) {
    return static_cast<uint32_t>(string >> BEFORE_SHIFT) & 0xFFFF;
}

// The string `old`, which has the code `old_code`, with `last` behind it.
inline decompress_string longer_string(decompress_string old, int32_t old_code, uint8_t last) {
    uint64_t length = length_of(old);
    uint64_t used = length % CHUNK;
    uint64_t fresh = length << LENGTH_SHIFT | static_cast<uint64_t>(old_code) << BEFORE_SHIFT;
    return (used != 0 ? old : fresh) + (uint64_t{1} << LENGTH_SHIFT) + (uint64_t{last} << (used * 8));
}

// Lays a string down at `to`, which has room for its length rounded up to a whole chunk.
inline void lay_string(const decompress_string* strings, decompress_string string, uint8_t* to) {
    uint32_t at = (length_of(string) - 1) & ~(CHUNK - 1);
    store_u32le(to + at, static_cast<uint32_t>(string));
    while (at > 0) {
        at -= CHUNK;
        string = strings[code_before(string)];
        store_u32le(to + at, static_cast<uint32_t>(string));
    }
}

void give_up(decompress_context* c) {
    c->damaged = true;
    c->ended = true;
}

// A code that is not defined yet names the string being defined: enters that string and returns its code. That is sound
// only for the very next code: a higher one gives that string too, and ends the stream, as nothing that follows could
// be told apart from noise.
int32_t define_ahead(decompress_context* c, int32_t code) {
    if (code > c->next_code) give_up(c);
    c->strings[c->next_code] = longer_string(c->strings[c->old_code], c->old_code, c->last_byte);
    return c->next_code++;
}

void clear_table(decompress_context* c) {
    c->clear_pending = true;
    // The entry that the next code makes is number 256, which no code can name.
    c->next_code = CLEAR_CODE;
}

// Decodes one code of any kind to `to` and returns the end of its bytes.
uint8_t* decode_code(decompress_context* c, int32_t code, uint8_t* to) {
    if (code == CLEAR_CODE && c->block_mode) {
        clear_table(c);
        return to;
    }
    bool is_ahead = code >= c->next_code;
    if (is_ahead) code = define_ahead(c, code);
    decompress_string string = c->strings[code];
    if (length_of(string) > static_cast<uint32_t>(c->longest)) {
        give_up(c);
        return to;
    }
    lay_string(c->strings, string, to);
    c->last_byte = *to;
    if (!is_ahead && c->next_code < c->code_limit) {
        c->strings[c->next_code++] = longer_string(c->strings[c->old_code], c->old_code, c->last_byte);
    }
    c->old_code = code;
    return to + length_of(string);
}

// Decodes codes of the block as long as they are ordinary: none that clears, comes ahead of its definition, or is too
// long. What changes from code to code is kept in registers.
uint8_t* decode_plain_codes(decompress_context* c, uint8_t* to) {
    const uint8_t* const full = c->out + BATCH_SIZE;
    const int32_t clear = c->block_mode ? CLEAR_CODE : NO_CODE;
    const int32_t code_limit = c->code_limit;
    const int32_t max_code = c->max_code;
    const int32_t code_bits = c->code_bits;
    const int32_t bit_limit = c->bit_limit;
    const auto longest = static_cast<uint32_t>(c->longest);
    decompress_string* const strings = c->strings;
    int32_t bit_offset = c->bit_offset;
    int32_t next_code = c->next_code;
    int32_t old_code = c->old_code;
    decompress_string old_string = strings[old_code];
    uint8_t first = c->last_byte;

    while (to < full && bit_offset < bit_limit && next_code <= max_code) {
        int32_t code = code_at(c, bit_offset, code_bits);
        if (code >= next_code || code == clear) break;
        decompress_string string = strings[code];
        if (length_of(string) > longest) break;
        lay_string(strings, string, to);
        first = *to;
        if (next_code < code_limit) strings[next_code++] = longer_string(old_string, old_code, first);
        old_code = code;
        old_string = string;
        to += length_of(string);
        bit_offset += code_bits;
    }
    c->bit_offset = bit_offset;
    c->next_code = next_code;
    c->old_code = old_code;
    c->last_byte = first;
    return to;
}

// Decodes the codes of the current block until it is used up or the batch is full.
uint8_t* decode_block(decompress_context* c, uint8_t* to) {
    const uint8_t* full = c->out + BATCH_SIZE;
    while (to < full && !c->ended && !block_is_used_up(c)) {
        to = decode_plain_codes(c, to);
        if (to >= full || block_is_used_up(c)) break;
        int32_t code = code_at(c, c->bit_offset, c->code_bits);
        c->bit_offset += c->code_bits;
        to = decode_code(c, code, to);
    }
    return to;
}

// Reads the three bytes ahead of the codes. False, after a message where one is due, for a stream that can't be taken.
bool read_parameters(decompress_context* c) {
    int magic_0 = reader_getc(c->file);
    int magic_1 = reader_getc(c->file);
    if (magic_0 != MAGIC_0 || magic_1 != MAGIC_1) {
        log_message(LOG_WARNING, "%s: not in compressed format\n", "input file");
        return false;
    }
    int parameters = reader_getc(c->file);
    if (parameters < 0) return false;
    c->block_mode = (parameters & BLOCK_MODE) != 0;
    c->max_bits = parameters & MAX_BITS_MASK;
    if (c->max_bits > LIMIT_BITS) {
        log_message(LOG_WARNING, "%s: compressed with %d bits, can only handle %d bits\n", "input file", c->max_bits,
                    LIMIT_BITS);
        return false;
    }
    return c->max_bits >= FIRST_BITS;
}

bool make_buffers(decompress_context* c) {
    c->strings = mem_new_array<decompress_string>(static_cast<size_t>(c->code_limit));
    c->out = mem_new_array<uint8_t>(OUT_SIZE);
    if (c->strings == nullptr || c->out == nullptr) {
        log_message(LOG_WARNING, "failed to allocated memory for decompression buffers.\n");
        return false;
    }
    for (int i = 0; i < BYTE_CODES; ++i) {
        c->strings[i] = uint64_t{1} << LENGTH_SHIFT | static_cast<uint64_t>(i);
    }
    return true;
}

// The first code stands for itself, and must be a byte.
bool start_codes(decompress_context* c) {
    if (!next_block(c)) return false;
    int32_t code = code_at(c, 0, c->code_bits);
    if (code >= BYTE_CODES) return false;
    c->bit_offset = c->code_bits;
    c->old_code = code;
    c->last_byte = static_cast<uint8_t>(code);
    c->out[0] = c->last_byte;
    c->next = c->out;
    c->end = c->out + 1;
    return true;
}

bool start_stream(decompress_context* c) {
    if (!read_parameters(c)) return false;
    c->code_bits = FIRST_BITS;
    c->code_limit = 1 << c->max_bits;
    c->max_code = max_code_of(c);
    c->next_code = c->block_mode ? CLEAR_CODE + 1 : CLEAR_CODE;
    c->longest = c->code_limit < LONGEST_STRING ? c->code_limit : LONGEST_STRING;
    return make_buffers(c) && start_codes(c);
}

} // namespace

decompress_context* decompress_open(file_reader* file) {
    if (file == nullptr) return nullptr;
    auto* c = mem_new<decompress_context>();
    if (c == nullptr) {
        log_message(LOG_WARNING, "Failed to allocated memory for decompress context.\n");
        return nullptr;
    }
    c->file = file;
    if (start_stream(c)) return c;
    decompress_close(c);
    return nullptr;
}

bool decompress_fill(decompress_context* context) {
    uint8_t* to = context->out;
    const uint8_t* full = context->out + BATCH_SIZE;
    while (to < full && !context->ended) {
        if (block_is_used_up(context) && !next_block(context)) {
            context->ended = true;
            break;
        }
        to = decode_block(context, to);
    }
    context->next = context->out;
    context->end = to;
    return context->next != context->end;
}

size_t decompress_read(void* buffer, size_t size, size_t count, decompress_context* context) {
    size_t wanted = 0;
    if (__builtin_mul_overflow(size, count, &wanted)) return 0;
    if (wanted == 0) return count;
    if (context == nullptr) return 0;
    auto* to = static_cast<uint8_t*>(buffer);
    size_t got = 0;
    while (got < wanted) {
        if (context->next == context->end && !decompress_fill(context)) break;
        auto ready = static_cast<size_t>(context->end - context->next);
        size_t step = ready < wanted - got ? ready : wanted - got;
        std::memcpy(to + got, context->next, step);
        context->next += step;
        got += step;
    }
    return got / size;
}

bool decompress_is_damaged(const decompress_context* context) {
    return context != nullptr && context->damaged && context->next == context->end;
}

void decompress_close(decompress_context* context) {
    if (context == nullptr) return;
    mem_free(context->strings);
    mem_free(context->out);
    mem_free(context);
}
