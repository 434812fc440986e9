// What the tests of documents, maps and catalogs share: files of one plane read whole, and refusals.
#pragma once

#include "bmp/formats_fixture.h"

// All lines of one plane, of the handle's active image.
inline picture read_plane(CFILE* c) {
    picture p;
    p.width = field_of(c, 1);
    p.height = field_of(c, 2);
    p.format = field_of(c, 3);
    p.bits = field_of(c, 507);
    (void)rzl_get_hdr_data(c, 9, &p.orientation); // of a catalog, whose first member may be refused
    const size_t bytes = line_bytes(c, p.width);
    bytes_of_file plane(bytes + 16, 0xEE);
    for (; p.lines < p.height; ++p.lines) {
        if (rzl_getline(c, plane.data()) != 0) {
            p.status = status_of(c);
            break;
        }
        EXPECT_EQ(plane[bytes], 0xEE) << "written behind the line";
        p.values.insert(p.values.end(), plane.begin(), plane.begin() + static_cast<long>(bytes));
    }
    p.damaged = rzl_is_damaged(c) != 0;
    return p;
}

inline picture read_plane(const std::string& path) {
    CFILE* c = rzl_open_r(path.c_str());
    if (c == nullptr) {
        picture p;
        p.status = last_status();
        return p;
    }
    picture p = read_plane(c);
    rzl_close(c);
    return p;
}

// Bilevel lines as words of one bit a pixel.
inline bytes_of_file words_of(const bytes_of_file& pixels, int width, int height) {
    bytes_of_file lines;
    for (int y = 0; y < height; ++y) {
        bytes_of_file words(static_cast<size_t>(width + 15) / 16 * 2);
        rzl_pack_bits(words.data(), &pixels[static_cast<size_t>(y * width)], width, 1);
        lines.insert(lines.end(), words.begin(), words.end());
    }
    return lines;
}

class CatalogsTest : public CoreTest {
protected:
    picture read_changed(const bytes_of_file& good, size_t at, const bytes_of_file& put) const {
        bytes_of_file changed = good;
        for (size_t i = 0; i < put.size(); ++i)
            changed[at + i] = put[i];
        write_bytes(path("changed"), changed);
        return read_plane(path("changed"));
    }
    // The file is taken as it is, and with each change gets its status.
    void expect_refused(const bytes_of_file& good, const std::vector<bad_change>& changes) const {
        EXPECT_EQ(read_changed(good, 0, {}).status, 0u) << "the file without a change";
        for (const bad_change& change : changes) {
            const picture p = read_changed(good, change.at, change.put);
            EXPECT_EQ(p.status, change.status) << change.what << ": " << rzl_status_name(p.status);
        }
    }
    // A file cut anywhere is refused, or gives the lines that are there, and tells that more were to come.
    void expect_cuts_tell(const bytes_of_file& good, size_t step) const {
        const picture whole = read_changed(good, 0, {});
        ASSERT_EQ(whole.status, 0u);
        for (size_t size = 0; size < good.size(); size += step) {
            write_bytes(path("cut"), bytes_of_file(good.begin(), good.begin() + static_cast<long>(size)));
            const picture p = read_plane(path("cut"));
            EXPECT_TRUE(p.status != 0 || p.damaged || p.values == whole.values) << size;
        }
    }
    // Every failing allocation, read and write has a status, and the next try works.
    void expect_sweeps(const std::function<uint32_t()>& write, const std::function<picture()>& read) const {
        ASSERT_EQ(write(), 0u);
        const bytes_of_file values = read().values;
        for (bool memory : {true, false}) {
            for (bool onward : {false, true}) {
                picture p;
                sweep(
                    memory, onward,
                    [&] {
                        p = read();
                        // A file that seems to end early is a damaged one.
                        return p.damaged && p.status == 0 ? RZL_READ_FAILED : p.status;
                    },
                    [&](bool good) { EXPECT_TRUE(!good || p.values == values); });
                sweep(memory, onward, write, [](bool) {});
            }
        }
        ASSERT_EQ(write(), 0u);
    }
};
