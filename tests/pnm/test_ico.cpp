// ICO files: bytes of a file, rows with and without filling, several images, masks, and bad input.
#include "raster/formats_fixture.h"

using Ico = FormatTest;

namespace {

// An image of 16 by 16 pixels of 4 or 1 bits, of which those of the bottom row are 1, 2, 3, ... or the bits 0xA5C3.
struct icon {
    int bits = 4;
    bool padded = false;
    int64_t width = 16, height = 16, info = 40, compression = 0;

    bytes_of_file file_bytes() const {
        bytes_made b;
        b.u32(info).u32(width).u32(height * 2).u16(1).u16(bits).u32(compression).fill(20);
        for (int i = 0; i < 1 << bits; ++i)
            b.bytes({static_cast<uint8_t>(i), static_cast<uint8_t>(i * 2), static_cast<uint8_t>(i * 3), 0});
        const size_t fill = padded ? 2 : 0;
        if (bits == 4) b.bytes({0x12, 0x34, 0x56, 0x78, 0x9A, 0xBC, 0xDE, 0xF0}).fill(15 * 8, 0x77);
        if (bits == 1) b.bytes({0xA5, 0xC3}).fill(fill).fill(15 * (2 + fill), 0xFF);
        if (bits == 3) b.fill(16 * 6);
        return b.bytes({0x80, 0x01}).fill(fill).fill(15 * (2 + fill)).made;
    }
};

bytes_of_file icon_file(const std::vector<icon>& icons) {
    bytes_made b;
    b.u16(0).u16(1).u16(static_cast<int64_t>(icons.size()));
    size_t place = 6 + icons.size() * 16;
    for (const icon& i : icons) {
        const size_t size = i.file_bytes().size();
        b.number(i.width, 1).number(i.height, 1).number(1 << i.bits, 1).number(0, 1).u16(0).u16(0);
        b.u32(static_cast<int64_t>(size)).u32(static_cast<int64_t>(place));
        place += size;
    }
    for (const icon& i : icons)
        b.bytes(i.file_bytes());
    return b.made;
}

const bytes_of_file NIBBLES = {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 0};

bytes_of_file last_line(const picture& p) {
    return part(p.values, p.format == 1 ? -2 : -16);
}

} // namespace

TEST_F(Ico, TheBytesOfAFile) {
    bytes_of_file pixels(16 * 16, 7);
    std::copy(NIBBLES.begin(), NIBBLES.end(), pixels.end() - 16);
    color_table table;
    for (int i = 0; i < 16; ++i)
        table.push_back(
            {0, static_cast<uint16_t>(i * 3 << 8), static_cast<uint16_t>(i * 2 << 8), static_cast<uint16_t>(i << 8)});
    bytes_of_file expected = icon_file({icon()});
    expected[22 + 20] = 160; // the size of both maps
    std::fill(expected.end() - 32, expected.end(), 0);
    ASSERT_EQ(write_picture(path("a"), 9, 2, 16, 16, pixels, {}, table), 0u);
    EXPECT_EQ(read_bytes(path("a")), expected);
    const picture p = read_picture(path("a"));
    EXPECT_TRUE(p.values == pixels && p.colors == looked_up(pixels, table) && p.bits == 4 && p.entries == 16);
    // Without a table bits are black and white, and values shades.
    bytes_of_file bits(64 * 8, 0);
    bits[1] = 0x80;
    ASSERT_EQ(write_picture(path("a"), 9, 1, 64, 64, bits), 0u);
    const picture two = read_picture(path("a"));
    EXPECT_TRUE(two.values == bits && two.colors[0] == 255 && two.colors[3] == 0 &&
                read_bytes(path("a")).size() == 22 + 48 + 1024);
    CFILE* c = rzl_open_w(path("a").c_str());
    set_fields(c, {{500, 9}});
    for (int field : {1, 2}) {
        EXPECT_EQ(refusal(c, set_field_to(c, field, 48)), RZL_BAD_FIELD_VALUE);
        set_fields(c, {{field, 32}});
    }
    EXPECT_EQ(refusal(c, set_field_to(c, 3, 29)), RZL_NOT_STANDARD);
    EXPECT_EQ(refusal(c, set_field_to(c, 6, 17)), RZL_BAD_FIELD_VALUE);
    EXPECT_EQ(refusal(c, rzl_putline3(c, "a", "b", "c")), RZL_UNSUP_ICO);
    rzl_close(c);
    EXPECT_EQ(read_bytes(path("a")).size(), 22u + 104 + 512 + 128);
}

TEST_F(Ico, RowsWithAndWithoutFilling) {
    for (int bits : {1, 4}) {
        for (bool padded : {false, true}) {
            SCOPED_TRACE(std::to_string(bits) + (padded ? " filled" : ""));
            const bytes_of_file line = bits == 1 ? bytes_of_file{0xC3, 0xA5} : NIBBLES;
            CFILE* c = open_made(icon_file({icon{bits, padded}}), rzl_open_rw);
            const picture p = read_lines(c);
            EXPECT_TRUE(p.status == 0 && last_line(p) == line && p.height == 16 && p.format == (bits == 1 ? 1 : 2));
            // The mask, and one line of the file in place.
            bytes_of_file mask(512, 0xEE);
            EXPECT_EQ(rzl_get_hdr_data(c, 630, mask.data()), 0);
            EXPECT_TRUE(mask[0] == 0x80 && mask[1] == 1 && mask[2] == 0 && mask[31] == 0 && mask[32] == 0xEE);
            mask[31] = 3;
            EXPECT_EQ(rzl_set_hdr_data(c, 630, mask.data()), 0);
            const bytes_of_file other(16, 1);
            EXPECT_TRUE(rzl_seek(c, 14) == 0 && rzl_putline(c, other.data()) == 0);
            EXPECT_EQ(rzl_finish(c), 0u);
            bytes_of_file expected = icon_file({icon{bits, padded}});
            const size_t row = bits == 4 ? 8 : (padded ? 4 : 2);
            uint8_t* at = &expected[22 + 40 + (size_t{4} << bits) + row];
            std::fill_n(at, bits == 4 ? 8 : 2, bits == 4 ? 0x11 : 0x01);
            expected[expected.size() - (padded ? 3 : 1)] = 3;
            EXPECT_EQ(read_bytes(path("made")), expected);
        }
    }
}

TEST_F(Ico, SeveralImages) {
    CFILE* c = new_file(path("a"), 9, 2, 16, 16, {{402, 3}});
    EXPECT_EQ(field_of(c, 402), 3);
    EXPECT_EQ(put_lines(c, 16, bytes_of_file(256, 5)), 0u);
    EXPECT_EQ(rzl_set_active_image(c, 1), 0);
    set_fields(c, {{3, 1}, {1, 32}, {2, 64}});
    EXPECT_EQ(put_lines(c, 64, bytes_of_file(256, 0xF0)), 0u);
    EXPECT_EQ(refusal(c, rzl_set_active_image(c, 3)), RZL_NO_SUCH_IMAGE);
    EXPECT_EQ(rzl_finish(c), 0u);
    c = opened(rzl_open_r(path("a").c_str()));
    EXPECT_EQ(field_of(c, 402), 3);
    for (auto [image, width, height, format, value] :
         {std::tuple(1, 32, 64, 1, 0xF0), {2, 32, 64, 2, 0}, {0, 16, 16, 2, 5}}) {
        EXPECT_EQ(rzl_set_active_image(c, image), 0);
        const picture p = read_lines(c);
        EXPECT_TRUE(p.width == width && p.height == height && p.format == format && p.status == 0);
        EXPECT_EQ(p.values, bytes_of_file(p.values.size(), static_cast<uint8_t>(value)));
        EXPECT_EQ(field_of(c, 402), image != 0 ? -1 : 3);
    }
    EXPECT_TRUE(rzl_set_active_image(c, -1) != 0 && rzl_set_active_image(c, 3) != 0);
    rzl_close(c);
    // An image that can't be read leaves the others.
    c = open_made(icon_file({icon(), icon{3}, icon{4, false, 16, 16, 40, 1}, icon{1, true}}));
    EXPECT_EQ(refusal(c, rzl_set_active_image(c, 2)), RZL_UNSUP_ICO);
    EXPECT_EQ(last_line(read_lines(c)), NIBBLES);
    uint8_t line[16];
    EXPECT_EQ(rzl_set_active_image(c, 1), 0);
    EXPECT_EQ(refusal(c, rzl_getline(c, line)), RZL_UNSUP_ICO);
    EXPECT_TRUE(rzl_set_active_image(c, 3) == 0 && last_line(read_lines(c)) == (bytes_of_file{0xC3, 0xA5}));
    rzl_close(c);
}

TEST_F(Ico, BadInput) {
    const bytes_of_file good = icon_file({icon(), icon{1, true}});
    expect_refused(good, {
                             {"no images", 4, {0}, RZL_READ_FAILED},
                             {"more images than entries", 4, {0xFF, 0xFF}, RZL_READ_FAILED},
                             {"8 bits", 38 + 14, {8}, RZL_UNSUP_ICO},
                             {"run codes", 38 + 16, {2}, RZL_UNSUP_ICO},
                             {"a PNG file", 38, {0x89, 'P', 'N', 'G'}, RZL_UNSUP_ICO},
                             {"another header", 38, {12}, RZL_UNSUP_ICO},
                             {"a side of 256", 6, {0}, RZL_UNSUP_ICO},
                             {"a side of 65", 7, {65}, RZL_UNSUP_ICO},
                             {"another width in the header", 38 + 4, {32}, RZL_READ_FAILED},
                             {"another height in the header", 38 + 8, {64}, RZL_READ_FAILED},
                             {"an image outside", 22 + 12, {0, 0, 0, 0x7F}, RZL_READ_FAILED},
                             {"the first image outside", 6 + 12, {0, 0, 0, 0x7F}, RZL_READ_FAILED},
                         });
    // Planes and bit count of an entry may be told, and two images may share their bytes, while there are as many.
    for (auto [at, value] : {std::pair(10, 1), {12, 4}, {22 + 12, 38}})
        EXPECT_EQ(read_changed(good, static_cast<size_t>(at), {static_cast<uint8_t>(value)}).status, 0u) << at;
    bytes_of_file shared = bytes_made().u16(0).u16(1).u16(1000).made;
    for (int i = 0; i < 1000; ++i)
        shared.insert(shared.end(), good.begin() + 6, good.begin() + 22);
    shared.insert(shared.end(), good.begin() + 38, good.end());
    for (size_t i = 0; i < 1000; ++i)
        store_u32le(&shared[6 + i * 16 + 12], 6 + 16 * 1000);
    EXPECT_EQ(read_made(shared).status, RZL_READ_FAILED);
    expect_cuts_tell(good, good.size(), good.size());
}
