// What the tests of native files share: headers made by hand, files written through the library, and values of the
// bytes of a file. Offsets are written as numbers on purpose: the tests are the second opinion on the layout.
#pragma once

#include "raster/core_fixture.h"

#include <cstring>
#include <initializer_list>
#include <utility>

#include "platform/files.h"
#include "support/bytes.h"

using KrvnTest = CoreTest;

inline uint32_t u16_at(const bytes_of_file& b, size_t at) {
    return at + 2 <= b.size() ? load_u16le(b.data() + at) : 0xBAD00000;
}
inline uint32_t u32_at(const bytes_of_file& b, size_t at) {
    return at + 4 <= b.size() ? load_u32le(b.data() + at) : 0xBAD0BAD0;
}

// A plain header of 1024 bytes.
inline bytes_of_file make_header(int format, uint32_t xsize, uint32_t ysize) {
    bytes_of_file h(1024);
    store_u16le(&h[0], 0x0908);
    store_u16le(&h[2], 510);
    store_u16le(&h[4], static_cast<uint16_t>(format));
    store_u32le(&h[184], xsize);
    store_u32le(&h[188], ysize);
    h[194] = 4;
    h[511] = 3;
    return h;
}

inline void append_words(bytes_of_file* b, std::initializer_list<unsigned> words) {
    for (unsigned w : words) {
        b->push_back(static_cast<uint8_t>(w));
        b->push_back(static_cast<uint8_t>(w >> 8));
    }
}

// A new file of that format and size whose header is not written yet.
inline CFILE* new_file(const std::string& path, int32_t format, int32_t xsize, int32_t ysize, bool readback = false) {
    CFILE* c = opened(readback ? rzl_open_wr(path.c_str()) : rzl_open_w(path.c_str()));
    set_fields(c, {{500, 0}, {3, format}, {1, xsize}, {2, ysize}});
    return c;
}

// Lines of one byte a pixel, all of the value `first` + line. How many of them were put.
inline int put_lines(CFILE* c, int count, int first) {
    bytes_of_file line(static_cast<size_t>(c->xsize));
    int put = 0;
    for (int y = 0; y < count; ++y) {
        std::fill(line.begin(), line.end(), static_cast<uint8_t>(first + y));
        if (rzl_putline(c, line.data()) == 0) ++put;
    }
    return put;
}

// The first byte of the next line, -1 when it can't be read.
inline int next_value(CFILE* c) {
    bytes_of_file line(static_cast<size_t>(c->xsize) + 16);
    return rzl_getline(c, line.data()) == 0 ? line[0] : -1;
}

// The status that an open for reading ends with; 0 when the file opens. *damaged, when given: as the library tells.
inline uint32_t open_status(const std::string& path, bool* damaged = nullptr) {
    CFILE* c = rzl_open_r(path.c_str());
    if (c == nullptr) return library_status();
    if (damaged != nullptr) *damaged = rzl_is_damaged(c) != 0;
    rzl_close(c);
    return 0;
}
