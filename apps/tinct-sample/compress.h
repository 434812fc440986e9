// Writes a compressed stream in the format of the Unix compress tool: bytes 1F 9D, a parameter byte, and LZW codes of 9
// to 16 bits, least significant bit first, in blocks of eight codes of one width.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

// Takes bytes and appends the coded stream to `out`.
struct compressor {
    std::vector<uint8_t>* out;
    std::vector<uint16_t> codes; // of the string of a code and a byte behind it; 0 none
    uint32_t next_code;
    int width;        // of the codes written now
    int32_t prefix;   // code of the string gathered so far; -1 none
    int length;       // bytes of that string
    uint64_t pending; // bits not yet written
    int pending_bits;
    int codes_in_block;
};

void compress_begin(compressor* c, std::vector<uint8_t>* out);
void compress_bytes(compressor* c, const uint8_t* bytes, size_t count);
void compress_end(compressor* c);
