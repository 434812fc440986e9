// Byte readers and writers: values of a given width and byte order at a place in memory, and a cursor over a block
// whose error is sticky: take all the fields of a header, then ask once whether the block was long enough.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

inline uint16_t load_u16le(const uint8_t* p) {
    return static_cast<uint16_t>(p[0] | p[1] << 8);
}
inline uint16_t load_u16be(const uint8_t* p) {
    return static_cast<uint16_t>(p[0] << 8 | p[1]);
}

inline uint32_t load_u32le(const uint8_t* p) {
    return load_u16le(p) | static_cast<uint32_t>(load_u16le(p + 2)) << 16;
}
inline uint32_t load_u32be(const uint8_t* p) {
    return static_cast<uint32_t>(load_u16be(p)) << 16 | load_u16be(p + 2);
}
inline uint64_t load_u64le(const uint8_t* p) {
    return load_u32le(p) | static_cast<uint64_t>(load_u32le(p + 4)) << 32;
}
inline double load_f64le(const uint8_t* p) {
    uint64_t bits = load_u64le(p);
    double value;
    std::memcpy(&value, &bits, sizeof value);
    return value;
}

inline void store_u16le(uint8_t* p, uint16_t v) {
    p[0] = static_cast<uint8_t>(v);
    p[1] = static_cast<uint8_t>(v >> 8);
}
inline void store_u16be(uint8_t* p, uint16_t v) {
    p[0] = static_cast<uint8_t>(v >> 8);
    p[1] = static_cast<uint8_t>(v);
}
inline void store_u32le(uint8_t* p, uint32_t v) {
    store_u16le(p, static_cast<uint16_t>(v));
    store_u16le(p + 2, static_cast<uint16_t>(v >> 16));
}
inline void store_u32be(uint8_t* p, uint32_t v) {
    store_u16be(p, static_cast<uint16_t>(v >> 16));
    store_u16be(p + 2, static_cast<uint16_t>(v));
}
inline void store_u64le(uint8_t* p, uint64_t v) {
    store_u32le(p, static_cast<uint32_t>(v));
    store_u32le(p + 4, static_cast<uint32_t>(v >> 32));
}
inline void store_f64le(uint8_t* p, double value) {
    uint64_t bits;
    std::memcpy(&bits, &value, sizeof bits);
    store_u64le(p, bits);
}

// The low 8 bits, the highest first.
constexpr uint8_t reversed_bits(unsigned b) {
    b = (b & 0x0FU) << 4 | (b >> 4 & 0x0FU);
    b = (b & 0x33U) << 2 | (b >> 2 & 0x33U);
    b = (b & 0x55U) << 1 | (b >> 1 & 0x55U);
    return static_cast<uint8_t>(b);
}

// A cursor over a block of bytes. Reading past the end gives 0 and sets `failed`, which stays set.
struct byte_cursor {
    const uint8_t* next; // next byte to take
    const uint8_t* end;  // one past the last
    bool failed;         // something was asked for that was not there
};

inline byte_cursor cursor_over(const void* block, size_t size) {
    const auto* first = static_cast<const uint8_t*>(block);
    return {first, first + size, false};
}

inline size_t cursor_left(const byte_cursor* c) {
    return static_cast<size_t>(c->end - c->next);
}

// The next `count` bytes, or null when fewer are left.
inline const uint8_t* take_bytes(byte_cursor* c, size_t count) {
    if (c->failed || cursor_left(c) < count) {
        c->failed = true;
        return nullptr;
    }
    const uint8_t* at = c->next;
    c->next += count;
    return at;
}

inline uint8_t take_u8(byte_cursor* c) {
    const uint8_t* p = take_bytes(c, 1);
    return p != nullptr ? *p : uint8_t{0};
}
inline uint16_t take_u16le(byte_cursor* c) {
    const uint8_t* p = take_bytes(c, 2);
    return p != nullptr ? load_u16le(p) : uint16_t{0};
}
inline uint32_t take_u32le(byte_cursor* c) {
    const uint8_t* p = take_bytes(c, 4);
    return p != nullptr ? load_u32le(p) : uint32_t{0};
}
inline double take_f64le(byte_cursor* c) {
    const uint8_t* p = take_bytes(c, 8);
    return p != nullptr ? load_f64le(p) : 0.0;
}
