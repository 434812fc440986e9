// What the tests of BMP, Targa and PCX files share: files as bytes written by hand, pictures written through the
// library, and all that can be read back from one.
#pragma once

#include <random>

#include "common/pictures.h"
#include "raster/core_fixture.h"
#include "raster/sweep.h"

// Bytes after each other: numbers are a byte, or as many as told, low byte first.
class bytes_made {
public:
    bytes_of_file made;
    bytes_made& bytes(const bytes_of_file& more) {
        made.insert(made.end(), more.begin(), more.end());
        return *this;
    }
    bytes_made& text(const std::string& more) { return bytes(bytes_of(more)); }
    bytes_made& number(int64_t value, int size) {
        for (int i = 0; i < size; ++i)
            made.push_back(static_cast<uint8_t>(value >> 8 * i));
        return *this;
    }
    bytes_made& u16(int64_t value) { return number(value, 2); }
    bytes_made& u32(int64_t value) { return number(value, 4); }
    bytes_made& fill(size_t size, uint8_t value = 0) {
        made.resize(made.size() + size, value);
        return *this;
    }
};

// Whether files of today's programs are taken, until the end of a scope.
struct extended_guard {
    explicit extended_guard(bool on) { rzl_set_extended(on ? 1 : 0); }
    ~extended_guard() { rzl_set_extended(0); }
};

// What is read from a file. Lines are in the file's order.
struct picture {
    uint32_t status = 0; // of the open, or of the first line that was not there
    int lines = 0;       // read
    int width = 0, height = 0, format = 0, bits = 0, orientation = 0, entries = 0;
    bytes_of_file values; // rzl_getline(), of one plane
    bytes_of_file colors; // rzl_getline3(), triples
    bool damaged = false;
};

inline picture read_lines(CFILE* c) {
    picture p;
    p.width = field_of(c, 1);
    p.height = field_of(c, 2);
    p.format = field_of(c, 3);
    p.bits = field_of(c, 507);
    p.orientation = field_of(c, 9);
    p.entries = field_of(c, 6);
    bytes_of_file planes[3];
    for (auto& plane : planes)
        plane.assign(static_cast<size_t>(p.width) + 16, 0xEE);
    const size_t plane_bytes = line_bytes(c, p.width);
    for (int y = 0; y < p.height && field_of(c, 506) == 1; ++y) {
        if (rzl_getline(c, planes[0].data()) != 0) break;
        EXPECT_EQ(planes[0][plane_bytes], 0xEE) << "written behind the line";
        p.values.insert(p.values.end(), planes[0].begin(), planes[0].begin() + static_cast<long>(plane_bytes));
    }
    EXPECT_EQ(rzl_rewind(c), 0);
    for (; p.lines < p.height; ++p.lines) {
        if (rzl_getline3(c, planes[0].data(), planes[1].data(), planes[2].data()) != 0) {
            p.status = status_of(c);
            break;
        }
        for (size_t x = 0; x < static_cast<size_t>(p.width); ++x)
            for (const auto& plane : planes)
                p.colors.push_back(plane[x]);
    }
    p.damaged = rzl_is_damaged(c) != 0;
    return p;
}

inline picture read_picture(const std::string& path) {
    CFILE* c = rzl_open_r(path.c_str());
    if (c == nullptr) {
        picture p;
        p.status = last_status();
        return p;
    }
    picture p = read_lines(c);
    rzl_close(c);
    return p;
}

using color_table = std::vector<rzl_vlt_entry>;
using field_values = std::vector<std::pair<int, int>>;

// A new file with its fields set; null when one is refused.
inline CFILE* new_file(const std::string& path, int standard, int format, int width, int height,
                       const field_values& fields = {}, CFILE* (*open)(const char*) = rzl_open_w) {
    CFILE* c = open(path.c_str());
    if (c == nullptr) return nullptr;
    bool good = set_field_to(c, 500, standard) == 0 && set_field_to(c, 3, format) == 0 &&
                set_field_to(c, 1, width) == 0 && set_field_to(c, 2, height) == 0;
    for (auto [field, value] : fields)
        good = good && set_field_to(c, field, value) == 0;
    if (good) return c;
    const uint32_t failed = c->status;
    rzl_close(c);
    set_last_status(failed);
    return nullptr;
}

// Puts the lines: of one plane, or triples. The status of the first failure, or 0.
inline uint32_t put_lines(CFILE* c, int width, int height, const bytes_of_file& pixels) {
    const bool triples = format_is_color(c->format);
    const size_t step = triples ? static_cast<size_t>(width) * 3
                                : (format_is_bilevel(c->format) ? static_cast<size_t>((width + 15) / 16 * 2)
                                                                : static_cast<size_t>(width));
    bytes_of_file planes[3];
    for (int y = 0; y < height; ++y) {
        const uint8_t* line = pixels.data() + static_cast<size_t>(y) * step;
        for (size_t p = 0; triples && p < 3; ++p) {
            planes[p].resize(static_cast<size_t>(width));
            for (size_t x = 0; x < static_cast<size_t>(width); ++x)
                planes[p][x] = line[x * 3 + p];
        }
        const int result =
            triples ? rzl_putline3(c, planes[0].data(), planes[1].data(), planes[2].data()) : rzl_putline(c, line);
        if (result != 0) return c->status;
    }
    return 0;
}

// A whole file. The status of the first failure, or of the close.
inline uint32_t write_picture(const std::string& path, int standard, int format, int width, int height,
                              const bytes_of_file& pixels, const field_values& fields = {},
                              const color_table& table = {}) {
    CFILE* c = new_file(path, standard, format, width, height, fields);
    if (c == nullptr) return last_status();
    if (!table.empty()) {
        set_field_to(c, 6, static_cast<int32_t>(table.size()));
        rzl_put_vlt(c, table.data());
    }
    const uint32_t failed = put_lines(c, width, height, pixels);
    const uint32_t outcome = rzl_finish(c);
    return failed != 0 ? failed : outcome;
}

inline color_table some_table(int count) {
    color_table table;
    for (int i = 0; i < count; ++i) {
        auto word = [](int v) { return static_cast<uint16_t>(v % 256 * 256); };
        table.push_back({static_cast<uint16_t>(i), word(i * 77 + 3), word(i * 11 + 1), word(255 - i)});
    }
    return table;
}

inline bytes_of_file looked_up(const bytes_of_file& values, const color_table& table) {
    bytes_of_file colors;
    for (uint8_t v : values)
        for (uint16_t word : {table[v].red, table[v].green, table[v].blue})
            colors.push_back(static_cast<uint8_t>(word >> 8));
    return colors;
}

// Samples that come in runs and in stretches without.
inline bytes_of_file some_samples(size_t count, int values, unsigned seed) {
    std::mt19937 random(seed);
    bytes_of_file out;
    while (out.size() < count) {
        const bool run = random() % 2 == 0;
        const size_t length = 1 + random() % (random() % 5 == 0 ? 300 : 9);
        auto value = static_cast<uint8_t>(random() % static_cast<unsigned>(values));
        for (size_t i = 0; i < length && out.size() < count; ++i) {
            out.push_back(value);
            if (!run) value = static_cast<uint8_t>(random() % static_cast<unsigned>(values));
        }
    }
    return out;
}

// A header changed in one place must be refused with the status; as it was it must be taken.
struct bad_change {
    const char* what;
    size_t at;
    bytes_of_file put;
    uint32_t status;
};

class FormatTest : public CoreTest {
protected:
    // What the file gives when it has other bytes from a place on.
    picture read_changed(const bytes_of_file& good, size_t at, const bytes_of_file& put) const {
        bytes_of_file changed = good;
        for (size_t i = 0; i < put.size(); ++i)
            changed[at + i] = put[i];
        write_bytes(path("changed"), changed);
        return read_picture(path("changed"));
    }
    void expect_refused(const bytes_of_file& good, const std::vector<bad_change>& changes) const {
        const picture whole = read_changed(good, 0, {});
        EXPECT_EQ(whole.status, 0u) << "the file without a change";
        for (const bad_change& change : changes) {
            SCOPED_TRACE(change.what);
            const picture p = read_changed(good, change.at, change.put);
            EXPECT_EQ(p.status, change.status) << rzl_status_name(p.status);
        }
    }

    // A file cut anywhere is refused, or gives the lines that are there and then fails.
    void expect_cut_tells(const bytes_of_file& good, size_t lines_begin, size_t lines_end) const {
        const picture whole = read_changed(good, 0, {});
        for (size_t size = 0; size < lines_end; ++size) {
            SCOPED_TRACE(size);
            write_bytes(path("cut"), bytes_of_file(good.begin(), good.begin() + static_cast<long>(size)));
            const picture p = read_picture(path("cut"));
            EXPECT_EQ(p.status, RZL_READ_FAILED);
            EXPECT_TRUE(size >= lines_begin || p.lines == 0);
            EXPECT_TRUE(std::equal(p.colors.begin(), p.colors.end(), whole.colors.begin()));
        }
    }

    // Every failing allocation, read and write of writing and of reading has a status, and the next try works.
    void expect_sweeps(int standard, int format, int width, int height, const bytes_of_file& pixels,
                       const color_table& table = {}) const {
        const std::string name = path("swept");
        for (bool memory : {true, false}) {
            for (bool onward : {false, true}) {
                sweep(
                    memory, onward,
                    [&] { return write_picture(name, standard, format, width, height, pixels, {}, table); },
                    [](bool) {});
            }
        }
        ASSERT_EQ(write_picture(name, standard, format, width, height, pixels, {}, table), 0u);
        expect_read_sweeps(name);
    }

    // The same of reading an existing file.
    void expect_read_sweeps(const std::string& name) const {
        const bytes_of_file colors = read_picture(name).colors;
        for (bool memory : {true, false}) {
            for (bool onward : {false, true}) {
                picture p;
                sweep(
                    memory, onward,
                    [&] {
                        p = read_picture(name);
                        return p.status;
                    },
                    [&](bool good) { EXPECT_TRUE(!good || p.colors == colors); });
            }
        }
    }

    // Lines in any order are those that are read in theirs.
    void expect_seeks(const std::string& name) const {
        const picture p = read_picture(name);
        CFILE* c = rzl_open_r(name.c_str());
        ASSERT_NE(c, nullptr);
        bytes_of_file plane(static_cast<size_t>(p.width) * 3 + 16);
        const auto width = static_cast<size_t>(p.width);
        std::mt19937 random(5);
        for (int i = 0; i < 3 * p.height; ++i) {
            const int y = i == 0 ? p.height - 1 : static_cast<int>(random() % static_cast<unsigned>(p.height));
            ASSERT_EQ(rzl_seek(c, y), 0);
            ASSERT_EQ(rzl_getline3(c, &plane[0], &plane[width], &plane[width * 2]), 0);
            for (size_t x = 0; x < width; ++x)
                ASSERT_EQ(plane[x + width], p.colors[(static_cast<size_t>(y) * width + x) * 3 + 1]) << y << " " << x;
        }
        EXPECT_TRUE(rzl_rewind(c) == 0 && c->line == 0);
        rzl_close(c);
    }

    // Bytes of 2 by 3 pixels written line by line in any order, read back before the close, and one line changed in
    // the finished file, which then reads as `changed`.
    void expect_lines_in_place(const std::string& name, int standard, const std::string& changed) const {
        CFILE* c = new_file(name, standard, 2, 2, 3, {}, rzl_open_wr);
        EXPECT_EQ(rzl_write_header(c), 0);
        for (const char* line : {"2b", "0a", "1x", "1c"})
            EXPECT_TRUE(rzl_seek(c, line[0] - '0') == 0 && rzl_putline(c, line) == 0);
        EXPECT_EQ(rzl_rewind(c), 0);
        EXPECT_EQ(read_lines(c).values, bytes_of("0a1c2b"));
        EXPECT_EQ(rzl_finish(c), 0u);
        c = rzl_open_rw(name.c_str());
        EXPECT_TRUE(rzl_seek(c, 1) == 0 && rzl_putline(c, "zz") == 0);
        EXPECT_EQ(rzl_finish(c), 0u);
        EXPECT_EQ(read_picture(name).values, bytes_of(changed));
    }
};
