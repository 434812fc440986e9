// What the tests of the raster core share: a temporary directory, whole files, handles made by hand over a block of
// memory with a module that notes its calls, and small native pictures.
#pragma once

#include <gtest/gtest.h>

#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "common/own_directory.h"
#include "raster/CORE/module.h"
#include "support/memory.h"

using bytes_of_file = std::vector<uint8_t>;

inline void write_bytes(const std::string& path, const bytes_of_file& bytes) {
    std::ofstream out(path, std::ios::binary | std::ios::trunc);
    out.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
}

inline bytes_of_file read_bytes(const std::string& path) {
    std::ifstream in(path, std::ios::binary);
    std::vector<char> raw((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
    return {raw.begin(), raw.end()};
}

inline bytes_of_file bytes_of(const std::string& text) {
    return {text.begin(), text.end()};
}

// A check that the test frees all it takes.
class CoreTest : public OwnDirectory {
protected:
    CoreTest() : live_before(mem_live()) {}
    ~CoreTest() override { EXPECT_EQ(mem_live(), live_before) << "memory is still held"; }
    long live_before;
};

// The first four bytes of a field's value, whatever its size.
inline int32_t field_of(CFILE* c, int32_t field) {
    uint8_t value[512] = {0xC7, 0xCF, 0xFF, 0xFF}; // -12345
    EXPECT_EQ(rzl_get_hdr_data(c, field, value), 0) << "field " << field;
    return int_of(value);
}

inline int set_field_to(CFILE* c, int32_t field, int32_t value) {
    return rzl_set_hdr_data(c, field, &value);
}

inline uint32_t status_of(CFILE* c) {
    uint32_t status = 1;
    rzl_get_hdr_data(c, RZL_FIELD_STATUS, &status);
    return status;
}

inline uint32_t library_status() {
    uint32_t status = 1;
    rzl_get_global(RZL_GLOBAL_STATUS, &status);
    return status;
}

// What a call ended with: 0, or the status that it left with its result of 1.
inline uint32_t refusal(CFILE* c, int result) {
    EXPECT_TRUE(result == 0 || result == 1) << result;
    return result == 0 ? 0 : status_of(c);
}

// The status of an open that is refused; 0 when there is a handle, which is closed.
inline uint32_t refused(CFILE* c) {
    if (c == nullptr) return library_status();
    rzl_close(c);
    return 0;
}

// A handle that must be there.
inline CFILE* opened(CFILE* c) {
    EXPECT_NE(c, nullptr) << rzl_status_name(library_status());
    return c;
}

using field_values = std::vector<std::pair<int32_t, int32_t>>;

inline void expect_fields(CFILE* c, const field_values& fields) {
    for (auto [field, value] : fields)
        EXPECT_EQ(field_of(c, field), value) << "field " << field;
}

inline void set_fields(CFILE* c, const field_values& fields) {
    for (auto [field, value] : fields)
        EXPECT_EQ(set_field_to(c, field, value), 0) << "field " << field << " to " << value;
}

// The first value of a field of doubles.
inline double number_of(CFILE* c, int32_t field) {
    double value[16] = {};
    EXPECT_EQ(rzl_get_hdr_data(c, field, value), 0) << "field " << field;
    return value[0];
}

inline std::string text_of(CFILE* c, int32_t field) {
    char text[512] = {};
    EXPECT_EQ(rzl_get_hdr_data(c, field, text), 0) << "field " << field;
    return text;
}

// Bytes as hexadecimal digits, with blanks between them wherever they help.
inline bytes_of_file hex(const std::string& digits) {
    bytes_of_file bytes;
    int count = 0;
    for (char c : digits) {
        if (c == ' ') continue;
        const int value = c <= '9' ? c - '0' : (c | 0x20) - 'a' + 10;
        EXPECT_TRUE(value >= 0 && value < 16) << digits;
        if (count++ % 2 == 0) bytes.push_back(0);
        bytes.back() = static_cast<uint8_t>(bytes.back() << 4 | value);
    }
    EXPECT_EQ(count % 2, 0) << digits;
    return bytes;
}

// ---- a module that notes what reaches it ----------------------------------------------------------------------------

struct module_notes {
    std::vector<int32_t> got, set;
    int refuse_field = -1; // a set of this field is refused
    int closed = 0;
};

inline module_notes notes;

inline int noting_get(CFILE*, int32_t field, void* value) {
    notes.got.push_back(field);
    if (field != RZL_FIELD_MATRIX) *static_cast<int32_t*>(value) = 1000 + field;
    return 0;
}

inline int noting_set(CFILE* c, int32_t field, const void*) {
    notes.set.push_back(field);
    if (field != notes.refuse_field) return 0;
    fail(c, RZL_BAD_TILE_SIZE, "TEST", nullptr);
    return 1;
}

inline void noting_close(CFILE*) {
    ++notes.closed;
}

// A handle of the given mode over `record`, with the noting module. Ended by rzl_finish().
inline CFILE* noting_handle(uint32_t mode, rzl_memfile* record) {
    notes = {};
    auto* c = static_cast<CFILE*>(mem_alloc(sizeof(CFILE)));
    EXPECT_TRUE(rzl_init_cfile(c));
    format_slots slots = {};
    slots.Get_hdr_data = noting_get;
    slots.Set_hdr_data = noting_set;
    slots.Get_format = [](CFILE* file) { return file->format; };
    slots.Close = noting_close;
    slots.Free_specs = [](CFILE*) {};
    install_slots(c, slots);
    c->mode = mode;
    c->file = record;
    set_flag(c, FLAG_MEMORY, true);
    rzl_set_memory_slots(c);
    return c;
}

// ---- native pictures ------------------------------------------------------------------------------------------------

inline uint8_t pixel_of(int seed, int line, int x) {
    return static_cast<uint8_t>(seed + line * 13 + x / 4);
}

// Writes a picture of one byte a pixel. The outcome of the close, or the first failure's status.
inline uint32_t write_picture(const char* name, int32_t format, int32_t width, int32_t height, int seed) {
    CFILE* c = rzl_open_w(name);
    if (c == nullptr) return library_status();
    uint32_t failed = 0;
    auto keep = [&](int result) {
        if (result != 0 && failed == 0) failed = status_of(c);
    };
    keep(set_field_to(c, RZL_FIELD_STANDARD, RZL_STANDARD_KRVN));
    keep(set_field_to(c, RZL_FIELD_FORMAT, format));
    keep(set_field_to(c, RZL_FIELD_XSIZE, width));
    keep(set_field_to(c, RZL_FIELD_YSIZE, height));
    std::vector<uint8_t> line(static_cast<size_t>(width));
    for (int y = 0; y < height; ++y) {
        for (int x = 0; x < width; ++x)
            line[static_cast<size_t>(x)] = pixel_of(seed, y, x);
        keep(rzl_putline(c, line.data()));
    }
    uint32_t outcome = rzl_finish(c);
    return failed != 0 ? failed : outcome;
}

// Whether the file holds that picture. False with *status 0 means other pixels.
inline bool has_picture(const char* name, int32_t width, int32_t height, int seed, uint32_t* status) {
    CFILE* c = rzl_open_r(name);
    *status = library_status();
    if (c == nullptr) return false;
    *status = 0;
    bool same = field_of(c, RZL_FIELD_XSIZE) == width && field_of(c, RZL_FIELD_YSIZE) == height;
    std::vector<uint8_t> line(static_cast<size_t>(width));
    for (int y = 0; y < height && same; ++y) {
        if (rzl_getline(c, line.data()) != 0) {
            *status = status_of(c);
            same = false;
        }
        for (int x = 0; x < width && same; ++x)
            same = line[static_cast<size_t>(x)] == pixel_of(seed, y, x);
    }
    rzl_close(c);
    return same;
}
