// JFIF and PNG files: what is written and read, files of today, bad files each beside a good one, and every failure.
#include "raster/formats_fixture.h"

namespace {

constexpr int JFIF = RZL_STANDARD_JFIF;
constexpr int PNG = RZL_STANDARD_PNG;

// Builds without one of the libraries have nothing to test here.
class Jfif : public FormatTest {
protected:
    bytes_of_file written(int width, int height, const bytes_of_file& pixels) const {
        EXPECT_EQ(write_picture(path("made"), JFIF, 28, width, height, pixels), 0u);
        return read_bytes(path("made"));
    }
    void SetUp() override {
        if (!is_built(JFIF)) GTEST_SKIP() << "built without JFIF";
    }
};
class Png : public FormatTest {
    void SetUp() override {
        if (!is_built(PNG)) GTEST_SKIP() << "built without PNG";
    }
};

// Areas of 8 by 8 that the coding keeps nearly as they are.
bytes_of_file soft_colors(int width, int height) {
    bytes_of_file out;
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x)
            for (int p = 0; p < 3; ++p)
                out.push_back(static_cast<uint8_t>(x * 5 + y * (2 + p)));
    return out;
}

// A JPEG file with an Exif marker in the place of its own, which tells an orientation.
bytes_of_file with_exif(const bytes_of_file& jfif, int turn, bool big) {
    bytes_made tiff;
    auto word = [&](int value, int size) {
        for (int i = 0; i < size; ++i)
            tiff.number(value >> 8 * (big ? size - 1 - i : i), 1);
    };
    tiff.text(big ? "MM" : "II");
    word(42, 2), word(8, 4), word(2, 2);
    word(271, 2), word(2, 2), word(2, 4), word(0, 4);
    word(274, 2), word(3, 2), word(1, 4), word(turn, 2), word(0, 2);
    bytes_made file;
    file.bytes({0xFF, 0xD8, 0xFF, 0xE1, 0, static_cast<uint8_t>(8 + tiff.made.size())}).text("Exif").fill(2);
    return file.bytes(tiff.made).bytes({jfif.begin() + 20, jfif.end()}).made;
}

// ---- PNG files by hand: rows in stored blocks

uint32_t crc_of(const bytes_of_file& bytes) {
    uint32_t crc = ~0u;
    for (uint8_t byte : bytes) {
        crc ^= byte;
        for (int i = 0; i < 8; ++i)
            crc = crc >> 1 ^ ((crc & 1) != 0 ? 0xEDB88320u : 0);
    }
    return ~crc;
}

bytes_of_file chunk(const std::string& name, const bytes_of_file& data) {
    const bytes_of_file named = joined(bytes_of(name), data);
    return bytes_made().u32big(static_cast<int64_t>(data.size())).bytes(named).u32big(crc_of(named)).made;
}

bytes_of_file header(uint32_t width, uint32_t height, int bits, int type, int interlace = 0) {
    bytes_made made;
    made.u32big(width).u32big(height).number(bits, 1).number(type, 1).fill(2).number(interlace, 1);
    return chunk("IHDR", made.made);
}

bytes_of_file data(const bytes_of_file& rows) {
    uint32_t a = 1, b = 0;
    for (uint8_t byte : rows) {
        a = (a + byte) % 65521;
        b = (b + a) % 65521;
    }
    bytes_made made;
    made.bytes({0x78, 1, 1}).u16(static_cast<int>(rows.size())).u16(~static_cast<int>(rows.size())).bytes(rows);
    return chunk("IDAT", made.u32big(b << 16 | a).made);
}

bytes_of_file png(const std::vector<bytes_of_file>& chunks) {
    bytes_made made;
    made.bytes({0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'});
    for (const bytes_of_file& c : chunks)
        made.bytes(c);
    return made.bytes(chunk("IEND", {})).made;
}

} // namespace

// ---- JFIF

TEST_F(Jfif, NewFilesAreWhatTheirFormatMakes) {
    const field_values kinds = {{2, 30},  {10, 30}, {29, 30}, {30, 30}, {25, 31}, {27, 31}, {28, 31},
                                {31, 31}, {32, 32}, {67, 32}, {69, 32}, {1, 2},   {3, 2}};
    for (auto [format, kept] : kinds) {
        CFILE* c = opened(new_file(path("a"), JFIF, format, 3, 2));
        EXPECT_EQ(field_of(c, 3), kept) << format;
        set_fields(c, {{507, 5}});
        const bool four = kept == 32;
        EXPECT_EQ(refusal(c, rzl_write_header(c)), four ? RZL_UNSUP_JFIF : 0u);
        EXPECT_TRUE(four || field_of(c, 507) == 8);
        rzl_close(c);
    }
    EXPECT_EQ(refused(new_file(path("a"), JFIF, 2, 1, 1, {}, rzl_open_wr)), RZL_CANNOT_OPEN);
}

TEST_F(Jfif, FieldsAndLinesOfAFile) {
    const bytes_of_file colors = soft_colors(33, 17);
    const bytes_of_file file = written(33, 17, colors);
    EXPECT_EQ(part(file, 0, 11), hex("FFD8 FFE0 0010 4A46494600"));
    CFILE* c = opened(rzl_open_r(path("made").c_str()));
    expect_fields(c, {{1, 33}, {2, 17}, {3, 31}, {5, 0}, {6, 0}, {9, 4}, {500, 6}, {503, 1}, {506, 3}, {507, 8}});
    EXPECT_EQ(number_of(c, 26), 1.0);
    rzl_vlt_entry table[256];
    EXPECT_EQ(refusal(c, rzl_get_vlt(c, table)), RZL_NO_VLT);
    EXPECT_TRUE(rzl_set_active_image(c, 1) == 1);
    bytes_of_file line(33);
    void* one[1] = {line.data()};
    EXPECT_EQ(refusal(c, rzl_getline_channels(c, 1, one)), RZL_UNSUP_JFIF);
    EXPECT_EQ(c->line, 1);
    const picture p = (rzl_rewind(c), read_lines(c));
    int most = 0;
    for (size_t i = 0; i < colors.size(); ++i)
        most = std::max(most, std::abs(int{colors[i]} - int{p.colors[i]}));
    EXPECT_LT(most, 40) << "the picture is another";
    rzl_close(c);
}

// Lines count as they come; one too many is passed over, and those that don't come are black.
TEST_F(Jfif, LinesPutAreCountedAsTheyCome) {
    CFILE* c = new_file(path("a"), JFIF, 2, 16, 24);
    const bytes_of_file white(16, 255);
    EXPECT_EQ(rzl_write_header(c), 0);
    EXPECT_EQ(refusal(c, rzl_putline3(c, white.data(), white.data(), white.data())), RZL_UNSUP_JFIF);
    for (int i = 0; i < 8; ++i)
        EXPECT_TRUE(rzl_seek(c, 20) == 0 && rzl_putline(c, white.data()) == 0);
    EXPECT_EQ(rzl_finish(c), 0u);
    const picture p = read_picture(path("a"));
    ASSERT_EQ(p.values.size(), 16u * 24);
    EXPECT_TRUE(p.values[16 * 7] > 250 && p.values[16 * 8] < 5 && p.values.back() < 5);
    c = new_file(path("a"), JFIF, 2, 16, 2);
    for (int i = 0; i < 3; ++i)
        EXPECT_TRUE(rzl_seek(c, 0) == 0 && rzl_putline(c, white.data()) == 0) << i;
    EXPECT_EQ(rzl_finish(c), 0u);
    EXPECT_GT(read_picture(path("a")).values.back(), 250);
}

// What stands where is told by the place of each pixel in the file that lies upright.
TEST_F(Jfif, FilesOfTodayLieAsExifTells) {
    constexpr int W = 24, H = 16;
    const bytes_of_file plain = written(W, H, soft_colors(W, H));
    const picture upright = read_picture(path("made"));
    EXPECT_EQ(read_made(with_exif(plain, 6, true)).status, RZL_READ_FAILED) << "not asked for";
    extended_guard extended(true);
    for (int turn = 0; turn <= 9; ++turn) {
        SCOPED_TRACE(turn);
        const picture p = read_made(with_exif(plain, turn, turn % 2 == 0));
        const bool sideways = turn >= 5 && turn <= 8;
        ASSERT_TRUE(p.status == 0 && p.width == (sideways ? H : W) && p.height == (sideways ? W : H));
        const int orientations[] = {4, 4, 5, 7, 6, 4, 5, 7, 6, 4};
        EXPECT_EQ(p.orientation, orientations[turn]);
        for (int y = 0; y < p.height; ++y)
            for (int x = 0; x < p.width; ++x) {
                const auto there = static_cast<size_t>(sideways ? x * W + y : y * W + x) * 3;
                ASSERT_EQ(p.colors[static_cast<size_t>(y * p.width + x) * 3], upright.colors[there]);
            }
        expect_seeks(path("made"));
    }
}

TEST_F(Jfif, BadFilesBesideAGoodOne) {
    const bytes_of_file good = written(40, 24, soft_colors(40, 24));
    size_t sof = 0;
    while (good[sof] != 0xFF || good[sof + 1] != 0xC0)
        ++sof;
    expect_refused(good, {{"no such frame", sof + 1, {0xC3}, RZL_UNSUP_JFIF},
                          {"12 bits", sof + 4, {12}, RZL_UNSUP_JFIF},
                          {"no height", sof + 5, {0, 0}, RZL_READ_FAILED},
                          {"no width", sof + 7, {0, 0}, RZL_READ_FAILED},
                          {"two components", sof + 9, {2}, RZL_READ_FAILED},
                          {"a length that reaches behind the file", sof + 2, {0xFF, 0xFF}, RZL_READ_FAILED},
                          {"a length of less than itself", sof + 2, {0, 1}, RZL_READ_FAILED},
                          {"a table that is not there", sof + 12, {3}, RZL_READ_FAILED}});
    expect_cuts_tell(good, sof, good.size() - 4, 1, true);
    // Sizes that the file does not hold: lines are had as far as they are asked for, the whole of them is not kept.
    bytes_of_file large = good;
    large[sof + 5] = large[sof + 7] = 0xFF;
    CFILE* c = open_made(large);
    EXPECT_LT(rzl_lines_held(c), 2000);
    bytes_of_file plane(65536);
    EXPECT_EQ(rzl_getline3(c, plane.data(), plane.data(), plane.data()), 0);
    EXPECT_EQ(rzl_randomize(c), 0);
    EXPECT_EQ(refusal(c, rzl_getline3(c, plane.data(), plane.data(), plane.data())), RZL_READ_FAILED);
    rzl_close(c);
}

// ---- PNG

TEST_F(Png, KindsAreReadAsWhatTheyAre) {
    const bytes_of_file palette = chunk("PLTE", hex("010203 FA6432 070809"));
    const bytes_of_file grey_9 = chunk("tRNS", {0, 9}), grey_50 = chunk("bKGD", {0, 50});
    const bytes_of_file rgb = chunk("bKGD", hex("0032 003C 0046")), gamma = chunk("gAMA", hex("0000B18F"));
    // Chunks behind a header, and rows.
    const auto file = [](uint32_t width, int bits, int type, std::vector<bytes_of_file> chunks, const char* rows) {
        chunks.insert(chunks.begin(), header(width, 1, bits, type));
        chunks.push_back(data(hex(rows)));
        return png(chunks);
    };
    const struct {
        const char* what;
        bytes_of_file file;
        int format, bits, entries;
        const char* colors;
    } cases[] = {
        {"bits", file(3, 1, 0, {}, "00 40"), 1, 1, 0, "000000 FFFFFF 000000"},
        {"grey of 2 bits", file(4, 2, 0, {}, "00 1B"), 2, 8, 0, "000000 555555 AAAAAA FFFFFF"},
        {"grey of 16 bits", file(2, 16, 0, {}, "00 12FF FFFE"), 2, 8, 0, "131313 FFFFFF"},
        {"two colours", file(2, 1, 3, {palette}, "00 40"), 1, 1, 2, "010203 FA6432"},
        {"a palette of 4 bits", file(2, 4, 3, {palette}, "00 21"), 2, 4, 3, "070809 FA6432"},
        {"its colours on a background",
         file(2, 8, 3, {palette, chunk("tRNS", {0, 127}), chunk("bKGD", {2})}, "00 0001"), 2, 8, 3, "070809 80361D"},
        {"transparent without a background", file(2, 8, 3, {palette, chunk("tRNS", {0})}, "00 0001"), 2, 8, 3,
         "010203 FA6432"},
        {"grey with alpha", file(2, 8, 4, {}, "00 0900 C8FF"), 2, 8, 0, "090909 C8C8C8"},
        {"the same on a background", file(2, 8, 4, {grey_50}, "00 0900 C866"), 2, 8, 0, "323232 6E6E6E"},
        {"a grey that is seen through", file(2, 8, 0, {grey_9, grey_50}, "00 090A"), 2, 8, 0, "323232 0A0A0A"},
        {"colours with alpha on a background", file(1, 8, 6, {rgb}, "00 C8640066"), 28, 8, 0, "6E4C2A"},
        {"gamma, which is left alone", file(1, 8, 6, {gamma, rgb}, "00 C8640066"), 28, 8, 0, "6E4C2A"},
        {"rows of two passes", png({header(2, 2, 8, 2, 1), data(hex("00 010203 00 040506 00 070809 0A0B0C"))}), 28, 8,
         0, "010203 040506 070809 0A0B0C"},
    };
    for (const auto& k : cases) {
        SCOPED_TRACE(k.what);
        const picture p = read_made(k.file);
        EXPECT_EQ(p.status, 0u) << rzl_status_name(p.status) << rzl_status_detail();
        EXPECT_TRUE(p.format == k.format && p.bits == k.bits && p.entries == k.entries)
            << p.format << " " << p.bits << " " << p.entries;
        EXPECT_EQ(p.colors, hex(k.colors));
    }
    expect_seeks(path("made"));
}

TEST_F(Png, BadFilesBesideAGoodOne) {
    const bytes_of_file palette = chunk("PLTE", {1, 2, 3});
    const bytes_of_file rows = data({0, 1, 2, 3, 0, 4, 5, 6});
    const bytes_of_file good = png({header(1, 2, 8, 2), rows});
    EXPECT_EQ(read_made(good).status, 0u);
    bytes_of_file lying = good, crc = good;
    lying[33] = 0x7F; // the length of the rows' chunk
    crc[33 + 8 + 10] ^= 1;
    const struct {
        const char* what;
        bytes_of_file file;
    } cases[] = {
        {"no width", png({header(0, 2, 8, 2), rows})},
        {"no height", png({header(1, 0, 8, 2), rows})},
        {"a negative width", png({header(0x80000001u, 2, 8, 2), rows})},
        {"three bits", png({header(1, 2, 3, 0), rows})},
        {"a kind that there is not", png({header(1, 2, 8, 5), rows})},
        {"no palette", png({header(1, 2, 8, 3), rows})},
        {"a palette behind the rows", png({header(1, 2, 8, 3), rows, palette})},
        {"no rows", png({header(1, 2, 8, 2)})},
        {"rows that are too short", png({header(1, 3, 8, 2), rows})},
        {"a length that reaches behind the file", lying},
        {"a changed byte", crc},
        {"a row that the file can't hold", png({header(0x7FFFFFFF, 1, 16, 6), rows})},
        {"rows together that it can't hold", png({header(60000, 60000, 8, 2, 1), rows})},
    };
    for (const auto& k : cases) {
        SCOPED_TRACE(k.what);
        EXPECT_EQ(read_made(k.file).status, RZL_READ_FAILED);
    }
    EXPECT_EQ(read_made(png({header(2, 1, 8, 3), palette, data({0, 0, 1})})).colors, hex("010203 000000"))
        << "an index past the palette";
    expect_cuts_tell(good, good.size(), good.size() - 24);
}

TEST_F(Png, WritingIsRefusedAndFilled) {
    EXPECT_EQ(refused(new_file(path("a"), PNG, 69, 1, 1)), RZL_UNSUPPORTED);
    EXPECT_EQ(refused(new_file(path("a"), PNG, 2, 1, 1, {{501, 10}})), RZL_BAD_FIELD_VALUE);
    EXPECT_EQ(refused(new_file(path("a"), PNG, 2, 1, 1, {}, rzl_open_wr)), RZL_CANNOT_OPEN);
    CFILE* c = new_file(path("a"), PNG, 27, 2, 3, {{8, -300}});
    EXPECT_EQ(rzl_write_header(c), 0);
    EXPECT_EQ(refusal(c, rzl_putline(c, "ab")), RZL_UNSUPPORTED);
    EXPECT_EQ(rzl_seek(c, 1), 0);
    EXPECT_EQ(refusal(c, rzl_putline3(c, "ab", "cd", "ef")), RZL_MODIFY_COMPRESSED);
    EXPECT_TRUE(rzl_seek(c, 0) == 0 && rzl_putline3(c, "ab", nullptr, "ef") == 0);
    EXPECT_EQ(rzl_finish(c), 0u);
    c = opened(rzl_open_r(path("a").c_str()));
    EXPECT_EQ(field_of(c, 8), -300);
    EXPECT_EQ(read_lines(c).colors, hex("610065 620066 000000 000000 000000 000000"));
    rzl_close(c);
}
