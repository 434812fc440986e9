// The run codes of the coding, and the tables that the coders look them up in, made from them by the compiler.

#include "raster/CCITT/citcode.h"

namespace {
using code_text = const char*;

constexpr code_text WHITE[64] = {
    "00110101", "000111",   "0111",     "1000",     "1011",     "1100",     "1110",     "1111",     //
    "10011",    "10100",    "00111",    "01000",    "001000",   "000011",   "110100",   "110101",   //
    "101010",   "101011",   "0100111",  "0001100",  "0001000",  "0010111",  "0000011",  "0000100",  //
    "0101000",  "0101011",  "0010011",  "0100100",  "0011000",  "00000010", "00000011", "00011010", //
    "00011011", "00010010", "00010011", "00010100", "00010101", "00010110", "00010111", "00101000", //
    "00101001", "00101010", "00101011", "00101100", "00101101", "00000100", "00000101", "00001010", //
    "00001011", "01010010", "01010011", "01010100", "01010101", "00100100", "00100101", "01011000", //
    "01011001", "01011010", "01011011", "01001010", "01001011", "00110010", "00110011", "00110100", //
};

constexpr code_text BLACK[64] = {
    "0000110111",   "010",          "11",           "10",           "011",          "0011",         "0010",
    "00011", //
    "000101",       "000100",       "0000100",      "0000101",      "0000111",      "00000100",     "00000111",
    "000011000",                                                                                                    //
    "0000010111",   "0000011000",   "0000001000",   "00001100111",  "00001101000",  "00001101100",  "00000110111",  //
    "00000101000",  "00000010111",  "00000011000",  "000011001010", "000011001011", "000011001100", "000011001101", //
    "000001101000", "000001101001", "000001101010", "000001101011", "000011010010", "000011010011",                 //
    "000011010100", "000011010101", "000011010110", "000011010111", "000001101100", "000001101101",                 //
    "000011011010", "000011011011", "000001010100", "000001010101", "000001010110", "000001010111",                 //
    "000001100100", "000001100101", "000001010010", "000001010011", "000000100100", "000000110111",                 //
    "000000111000", "000000100111", "000000101000", "000001011000", "000001011001", "000000101011",                 //
    "000000101100", "000001011010", "000001100110", "000001100111",                                                 //
};

// 64, 128 and so on up to 1728.
constexpr size_t OWN_MAKE_UPS = 27;

constexpr code_text WHITE_MAKE_UP[OWN_MAKE_UPS] = {
    "11011",     "10010",     "010111",    "0110111",   "00110110",  "00110111",  "01100100",  "01100101",
    "01101000",                                                                                             //
    "01100111",  "011001100", "011001101", "011010010", "011010011", "011010100", "011010101", "011010110", //
    "011010111", "011011000", "011011001", "011011010", "011011011", "010011000", "010011001", "010011010", //
    "011000",    "010011011",                                                                               //
};

constexpr code_text BLACK_MAKE_UP[OWN_MAKE_UPS] = {
    "0000001111",    "000011001000",  "000011001001",  "000001011011",  "000000110011",  "000000110100",  //
    "000000110101",  "0000001101100", "0000001101101", "0000001001010", "0000001001011", "0000001001100", //
    "0000001001101", "0000001110010", "0000001110011", "0000001110100", "0000001110101", "0000001110110", //
    "0000001110111", "0000001010010", "0000001010011", "0000001010100", "0000001010101", "0000001011010", //
    "0000001011011", "0000001100100", "0000001100101",                                                    //
};

// 1792 and so on up to 2560, of both colours.
constexpr code_text COMMON_MAKE_UP[13] = {
    "00000001000",  "00000001100",  "00000001101",  "000000010010", "000000010011", "000000010100", "000000010101", //
    "000000010110", "000000010111", "000000011100", "000000011101", "000000011110", "000000011111",                 //
};

constexpr cit_code code_of(code_text text) {
    cit_code code = {0, 0};
    for (; text[code.length] != 0; ++code.length)
        if (text[code.length] == '1') code.bits = static_cast<uint16_t>(code.bits | 1u << code.length);
    return code;
}

constexpr cit_encode_table encode_table(const code_text (&terminating)[64], const code_text (&own)[OWN_MAKE_UPS]) {
    cit_encode_table table = {};
    for (size_t run = 0; run < 64; ++run)
        table.terminating[run] = code_of(terminating[run]);
    for (size_t i = 0; i < OWN_MAKE_UPS; ++i)
        table.make_up[i + 1] = code_of(own[i]);
    for (size_t i = 0; i < 13; ++i)
        table.make_up[i + 1 + OWN_MAKE_UPS] = code_of(COMMON_MAKE_UP[i]);
    return table;
}

constexpr void enter(cit_decode_table* table, cit_code code, uint32_t run) {
    for (uint32_t at = code.bits; at <= CIT_LOOK_MASK; at += 1u << code.length)
        table->entries[at] = static_cast<uint16_t>(run << 4 | code.length);
}

constexpr cit_decode_table decode_table(const cit_encode_table& codes) {
    cit_decode_table table = {};
    for (uint32_t run = 0; run < 64; ++run)
        enter(&table, codes.terminating[run], run);
    for (uint32_t i = 1; i <= 40; ++i)
        enter(&table, codes.make_up[i], i * 64);
    return table;
}

constexpr cit_encode_table WHITE_ENCODE = encode_table(WHITE, WHITE_MAKE_UP);
constexpr cit_encode_table BLACK_ENCODE = encode_table(BLACK, BLACK_MAKE_UP);
static_assert(WHITE_ENCODE.make_up[40].bits == 0xF80 && WHITE_ENCODE.make_up[40].length == 12);

} // namespace

constexpr cit_encode_table CIT_ENCODE[2] = {WHITE_ENCODE, BLACK_ENCODE};
constexpr cit_decode_table CIT_WHITE_DECODE = decode_table(WHITE_ENCODE);
constexpr cit_decode_table CIT_BLACK_DECODE = decode_table(BLACK_ENCODE);

// ---- the bit stream at its end, and the search for end-of-line codes ------------------------------------------------

void cit_stream_refill_end(cit_stream* s) {
    if (s->count < 64) s->buffer &= (uint64_t{1} << s->count) - 1;
    while (s->count <= 56) {
        if (s->next < s->end) {
            s->buffer |= uint64_t{*s->next++} << s->count;
        } else {
            s->zeros += 8;
        }
        s->count += 8;
    }
}

void cit_stream_begin(cit_stream* s, const uint8_t* data, size_t bytes, uint64_t place) {
    uint64_t bits = uint64_t{bytes} * 8;
    if (place > bits) place = bits;
    *s = {0, 0, data + place / 8, data, data + bytes, 0};
    cit_stream_refill(s);
    cit_stream_skip(s, static_cast<uint32_t>(place % 8));
}

bool cit_stream_pass_zeros(cit_stream* s) {
    for (;;) {
        if (cit_stream_ended(s)) return false;
        cit_stream_refill(s);
        uint64_t valid = s->buffer & ((uint64_t{1} << 56) - 1);
        if (valid != 0) {
            cit_stream_skip(s, static_cast<uint32_t>(__builtin_ctzll(valid)) + 1);
            return true;
        }
        cit_stream_skip(s, 56);
    }
}

bool cit_stream_find_end_of_line(cit_stream* s) {
    for (;;) {
        if (cit_stream_ended(s)) return false;
        cit_stream_refill(s);
        auto low = static_cast<uint32_t>(s->buffer & 0x7FF);
        if (low == 0) break;
        // Behind the last 1 of these bits is the first place at which eleven zeros can begin.
        cit_stream_skip(s, 32 - static_cast<uint32_t>(__builtin_clz(low)));
    }
    cit_stream ahead = *s;
    return cit_stream_pass_zeros(&ahead);
}
