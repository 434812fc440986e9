// What the tests of the formats share: files as bytes written by hand, pictures written through the library, all that
// can be read back from one, and what must hold of every file that is changed, cut, sought in or met by failures.
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
    bytes_made& digits(const std::string& more) { return bytes(hex(more)); }
    bytes_made& text(const std::string& more) { return bytes(bytes_of(more)); }
    bytes_made& number(int64_t value, int size) {
        for (int i = 0; i < size; ++i)
            made.push_back(static_cast<uint8_t>(value >> 8 * i));
        return *this;
    }
    bytes_made& u16(int64_t value) { return number(value, 2); }
    bytes_made& u32(int64_t value) { return number(value, 4); }
    bytes_made& u32big(int64_t value) {
        for (int shift : {24, 16, 8, 0})
            number(value >> shift & 255, 1);
        return *this;
    }
    bytes_made& fill(size_t size, uint8_t value = 0) {
        made.resize(made.size() + size, value);
        return *this;
    }
};

inline bytes_of_file joined(const bytes_of_file& a, const bytes_of_file& b) {
    return bytes_made().bytes(a).bytes(b).made;
}

// `count` bytes from a place on; from the end when the place is negative. Less when there are less.
inline bytes_of_file part(const bytes_of_file& b, long at, size_t count = SIZE_MAX) {
    const size_t from = std::min(b.size(), at < 0 ? b.size() - static_cast<size_t>(-at) : static_cast<size_t>(at));
    count = std::min(count, b.size() - from);
    return {b.begin() + static_cast<long>(from), b.begin() + static_cast<long>(from + count)};
}

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
    bytes_of_file colors; // rzl_getline3(), triples; empty where a file has none
    bool damaged = false;
};

// The first plane of the handle's active image.
inline picture read_plane(CFILE* c, bool header_alone = false) {
    picture p;
    p.width = field_of(c, 1);
    p.height = field_of(c, 2);
    p.format = field_of(c, 3);
    p.bits = field_of(c, 507);
    (void)rzl_get_hdr_data(c, 6, &p.entries); // of a catalog, whose first member may be refused
    (void)rzl_get_hdr_data(c, 9, &p.orientation);
    const size_t bytes = line_bytes(c, p.width);
    bytes_of_file plane(bytes + 16, 0xEE);
    for (; p.lines < p.height && !header_alone; ++p.lines) {
        p.status = refusal(c, rzl_getline(c, plane.data()));
        if (p.status != 0) break;
        EXPECT_EQ(plane[bytes], 0xEE) << "written behind the line";
        p.values.insert(p.values.end(), plane.begin(), plane.begin() + static_cast<long>(bytes));
    }
    p.damaged = rzl_is_damaged(c) != 0;
    return p;
}

// All lines, first as one plane where there is one, and then as colours.
inline picture read_lines(CFILE* c) {
    picture p = read_plane(c, field_of(c, 506) != 1);
    if (p.bits > 8 && !format_is_color(p.format)) return p; // colours are bytes
    EXPECT_EQ(rzl_rewind(c), 0);
    bytes_of_file planes[3];
    const bytes_of_file untouched(static_cast<size_t>(p.width) + 16, 0xEE);
    for (auto& plane : planes)
        plane = untouched;
    for (int line = 0; line < p.height; ++line) {
        const uint32_t status = refusal(c, rzl_getline3(c, planes[0].data(), planes[1].data(), planes[2].data()));
        const bool failed = status == RZL_NO_MEMORY || status == RZL_READ_FAILED;
        const bool none = status == 0 ? planes[1] == untouched : !failed;
        if (none && format_is_bilevel(p.format) && p.entries == 0) return p; // bits have no colours
        p.lines = line + (status == 0 ? 1 : 0);
        if (p.status == 0) p.status = status;
        if (status != 0) break;
        for (size_t x = 0; x < static_cast<size_t>(p.width); ++x)
            for (const auto& plane : planes)
                p.colors.push_back(plane[x]);
    }
    p.damaged = rzl_is_damaged(c) != 0;
    return p;
}

template <typename Read> picture read_file(const std::string& path, Read read) {
    CFILE* c = rzl_open_r(path.c_str());
    picture p;
    p.status = c == nullptr ? last_status() : 0;
    if (c != nullptr) p = read(c);
    if (c != nullptr) rzl_close(c);
    return p;
}
inline picture read_picture(const std::string& path) {
    return read_file(path, read_lines);
}
inline picture read_plane(const std::string& path) {
    return read_file(path, [](CFILE* c) { return read_plane(c); });
}

// Lines of bits as words, from a byte a pixel, and back.
inline bytes_of_file words_of(const bytes_of_file& pixels, int width, int height, int threshold = 1) {
    bytes_of_file lines;
    for (int y = 0; y < height; ++y) {
        bytes_of_file words(static_cast<size_t>(width + 15) / 16 * 2);
        rzl_pack_bits(words.data(), &pixels[static_cast<size_t>(y * width)], width, threshold);
        lines.insert(lines.end(), words.begin(), words.end());
    }
    return lines;
}

inline bytes_of_file pixels_of_words(const bytes_of_file& lines, int width, uint8_t on = 1) {
    bytes_of_file pixels;
    for (size_t at = 0; at < lines.size(); at += static_cast<size_t>(width + 15) / 16 * 2) {
        bytes_of_file row(static_cast<size_t>(width));
        rzl_unpack_bits(&lines[at], row.data(), width, 0, on);
        pixels.insert(pixels.end(), row.begin(), row.end());
    }
    return pixels;
}

// What a picture is made of: triples, or a byte a pixel.
inline bytes_of_file pixels_of(const picture& p) {
    if (format_is_color(p.format)) return p.colors;
    return format_is_bilevel(p.format) ? pixels_of_words(p.values, p.width) : p.values;
}

using color_table = std::vector<rzl_vlt_entry>;

// A new file with its fields set, and its table, which must live on; null when one is refused.
inline CFILE* new_file(const std::string& path, int standard, int format, int width, int height,
                       const field_values& fields = {}, CFILE* (*open)(const char*) = rzl_open_w,
                       const color_table& table = {}) {
    CFILE* c = open(path.c_str());
    if (c == nullptr) return nullptr;
    bool good = true;
    for (auto [field, value] : field_values{{500, standard}, {3, format}, {1, width}, {2, height}})
        good = good && set_field_to(c, field, value) == 0;
    for (auto [field, value] : fields)
        good = good && set_field_to(c, field, value) == 0;
    if (good && !table.empty()) {
        good = set_field_to(c, 6, static_cast<int32_t>(table.size())) == 0;
        rzl_put_vlt(c, table.data());
    }
    if (good) return c;
    const uint32_t failed = c->status;
    rzl_close(c);
    set_last_status(failed);
    return nullptr;
}

// Puts the next line: of one plane, or triples, from lines one behind the other.
inline int put_next(CFILE* c, const bytes_of_file& lines, int line) {
    const auto width = static_cast<size_t>(c->xsize);
    const bool triples = format_is_color(c->format);
    const size_t step = triples ? width * 3 : format_is_bilevel(c->format) ? (width + 15) / 16 * 2 : width;
    const uint8_t* at = lines.data() + static_cast<size_t>(line) * step;
    if (!triples) return rzl_putline(c, at);
    bytes_of_file planes[3];
    for (size_t i = 0; i < width * 3; ++i)
        planes[i % 3].push_back(at[i]);
    return rzl_putline3(c, planes[0].data(), planes[1].data(), planes[2].data());
}

// Puts the first lines. The status of the first failure, or 0.
inline uint32_t put_lines(CFILE* c, int height, const bytes_of_file& lines) {
    uint32_t status = 0;
    for (int y = 0; y < height && status == 0; ++y)
        status = refusal(c, put_next(c, lines, y));
    return status;
}

// The next line as runs: refused where there is no room, and then had with the room that was asked for.
inline std::vector<uint16_t> next_runs(CFILE* c) {
    std::vector<uint16_t> runs(1);
    int32_t size = 1;
    EXPECT_EQ(refusal(c, rzl_get_rle_line(c, runs.data(), &size)), RZL_RLE_BUFFER_SMALL);
    runs.resize(static_cast<size_t>(std::max(size, 2)) / 2);
    size = static_cast<int32_t>(runs.size() * 2);
    EXPECT_EQ(refusal(c, rzl_get_rle_line(c, runs.data(), &size)), 0u);
    runs.resize(static_cast<size_t>(size) / 2);
    return runs;
}

// A whole file. The status of the first failure, or of the close.
inline uint32_t write_picture(const std::string& path, int standard, int format, int width, int height,
                              const bytes_of_file& lines, const field_values& fields = {},
                              const color_table& table = {}) {
    CFILE* c = new_file(path, standard, format, width, height, fields, rzl_open_w, table);
    if (c == nullptr) return last_status();
    const uint32_t failed = put_lines(c, height, lines);
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
    // A file of these bytes, opened; or all that is read from it.
    CFILE* open_made(const bytes_of_file& bytes, CFILE* (*open)(const char*) = rzl_open_r) const {
        write_bytes(path("made"), bytes);
        return opened(open(path("made").c_str()));
    }
    picture read_made(const bytes_of_file& bytes) const {
        write_bytes(path("made"), bytes);
        return read_picture(path("made"));
    }
    // What the file gives when it has other bytes from a place on.
    picture read_changed(bytes_of_file file, size_t at, const bytes_of_file& put) const {
        std::copy(put.begin(), put.end(), file.begin() + static_cast<long>(at));
        return read_made(file);
    }
    // How many lines of a damaged text are there, by calls for no plane: none is written of a line that the file can't
    // hold. -1: the file is not opened.
    int lines_before_fault(const std::string& text) const {
        write("made", text);
        CFILE* c = rzl_open_r(path("made").c_str());
        int lines = c == nullptr ? -1 : 0;
        void* nothing[3] = {};
        uint32_t status = c == nullptr ? last_status() : 0;
        for (; status == 0 && lines < c->ysize; lines += status == 0 ? 1 : 0)
            status = refusal(c, format_is_color(c->format) ? rzl_getline_channels(c, 3, nothing)
                                                           : rzl_getline_channels(c, 0, nullptr));
        EXPECT_EQ(status, RZL_READ_FAILED);
        if (c != nullptr) rzl_close(c);
        return lines;
    }
    void expect_refused(const bytes_of_file& good, const std::vector<bad_change>& changes) const {
        EXPECT_EQ(read_made(good).status, 0u) << "the file without a change";
        for (const bad_change& change : changes) {
            const uint32_t status = read_changed(good, change.at, change.put).status;
            EXPECT_EQ(status, change.status) << change.what << ": " << rzl_status_name(status);
        }
    }

    // A file cut anywhere before `end` is refused, or gives the lines that are there, none before `begin`, and fails.
    // With `lenient` it may also give all lines and tell that it is damaged, or be whole without what was cut.
    void expect_cuts_tell(const bytes_of_file& good, size_t begin, size_t end, size_t step = 1, bool lenient = false) {
        const picture whole = read_made(good);
        ASSERT_EQ(whole.status, 0u);
        for (size_t size = 0; size < end; size += step) {
            SCOPED_TRACE(size);
            const picture p = read_made(part(good, 0, size));
            if (lenient && p.status == 0 && size >= begin && (p.damaged || p.values == whole.values)) continue;
            EXPECT_EQ(p.status, RZL_READ_FAILED) << rzl_status_name(p.status);
            EXPECT_TRUE(size >= begin || p.lines == 0);
            EXPECT_EQ(p.colors, part(whole.colors, 0, p.colors.size()));
            EXPECT_EQ(p.values, part(whole.values, 0, p.values.size()));
        }
    }

    // Every failing allocation, read and write has a status, and the next try works.
    static void expect_read_sweeps(const std::function<picture()>& read) {
        const picture whole = read();
        EXPECT_EQ(whole.status, 0u);
        picture p;
        sweep(
            [&] {
                p = read();
                // A file that seems to end early is a damaged one.
                return p.damaged && p.status == 0 ? RZL_READ_FAILED : p.status;
            },
            [&](bool good) { EXPECT_TRUE(!good || (p.values == whole.values && p.colors == whole.colors)); });
    }

    // Lines in any order are those that are read in theirs, also when all places are known, and however the file is
    // read.
    static void expect_seeks(const std::string& name) {
        const picture p = read_picture(name);
        CFILE* c = opened(rzl_open_r(name.c_str()));
        const bool colors = !p.colors.empty();
        const bytes_of_file& all = colors ? p.colors : p.values;
        const auto width = static_cast<size_t>(p.width);
        const size_t step = all.size() / static_cast<size_t>(p.height);
        bytes_of_file planes(width * 3 + 16), line(step);
        std::mt19937 random(5);
        const int sought = std::min(3 * p.height, 60);
        for (int i = 0; i < sought + p.height; ++i) {
            const bool jumps = i < sought;
            const int any = i == 0 ? p.height - 1 : static_cast<int>(random() % static_cast<unsigned>(p.height));
            const int y = jumps ? any : i - sought;
            if (i == sought / 2) (void)rzl_randomize(c);
            ASSERT_TRUE(!jumps || rzl_seek(c, y) == 0);
            ASSERT_TRUE(i != sought || rzl_rewind(c) == 0);
            ASSERT_TRUE(jumps || y % 3 != 1 || set_field_to(c, RZL_FIELD_MAPPED, y % 2) == 0);
            ASSERT_EQ(colors ? rzl_getline3(c, &planes[0], &planes[width], &planes[width * 2])
                             : rzl_getline(c, planes.data()),
                      0);
            for (size_t x = 0; x < step; ++x)
                line[x] = planes[colors ? x % 3 * width + x / 3 : x];
            ASSERT_TRUE(line == part(all, static_cast<long>(step) * y, step)) << "line " << y;
        }
        EXPECT_TRUE(rzl_rewind(c) == 0 && c->line == 0);
        // Runs are the file's own lines, which resampled ones are not.
        int32_t size = 4 * (p.width + 2);
        std::vector<uint8_t> runs(static_cast<size_t>(size));
        const bool resampled = rzl_set_squetch(c, 3 * p.width, 1, 0) == 0;
        EXPECT_TRUE(!resampled || refusal(c, rzl_get_rle_line(c, runs.data(), &size)) != 0);
        rzl_close(c);
    }
};
