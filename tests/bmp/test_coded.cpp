// JFIF and PNG files: what is written and read, files of today, bad files each beside a good one, and every failure.
#include "formats_fixture.h"

namespace {

constexpr int JFIF = RZL_STANDARD_JFIF;
constexpr int PNG = RZL_STANDARD_PNG;

class Coded : public FormatTest {
protected:
    bytes_of_file written(int standard, int format, int width, int height, const bytes_of_file& pixels,
                          const color_table& table = {}) const {
        EXPECT_EQ(write_picture(path("made"), standard, format, width, height, pixels, {}, table), 0u);
        return read_bytes(path("made"));
    }
    // Cut anywhere the file is refused, or is damaged and gives lines of which the first are right.
    void expect_cut_seen(const bytes_of_file& good, size_t least, size_t end) const {
        for (size_t size = 0; size < end; ++size) {
            SCOPED_TRACE(size);
            write_bytes(path("cut"), bytes_of_file(good.begin(), good.begin() + static_cast<long>(size)));
            const picture p = read_picture(path("cut"));
            EXPECT_TRUE(p.status == RZL_READ_FAILED || (size >= least && p.status == 0 && p.damaged))
                << rzl_status_name(p.status);
        }
    }
};

// Builds without one of the libraries have nothing to test here.
class Jfif : public Coded {
    void SetUp() override {
        if (!is_built(JFIF)) GTEST_SKIP() << "built without JFIF";
    }
};
class Png : public Coded {
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

void put_big(bytes_made* to, uint32_t value) {
    to->number(value >> 24, 1).number(value >> 16 & 255, 1).number(value >> 8 & 255, 1).number(value & 255, 1);
}

bytes_of_file chunk(const std::string& name, const bytes_of_file& data) {
    bytes_made named, made;
    named.text(name).bytes(data);
    put_big(&made, static_cast<uint32_t>(data.size()));
    made.bytes(named.made);
    put_big(&made, crc_of(named.made));
    return made.made;
}

bytes_of_file header(uint32_t width, uint32_t height, int bits, int type, int interlace = 0) {
    bytes_made made;
    put_big(&made, width);
    put_big(&made, height);
    return chunk("IHDR", made.number(bits, 1).number(type, 1).fill(2).number(interlace, 1).made);
}

bytes_of_file data(const bytes_of_file& rows) {
    uint32_t a = 1, b = 0;
    for (uint8_t byte : rows) {
        a = (a + byte) % 65521;
        b = (b + a) % 65521;
    }
    bytes_made made;
    made.bytes({0x78, 1, 1}).u16(static_cast<int>(rows.size())).u16(~static_cast<int>(rows.size())).bytes(rows);
    put_big(&made, b << 16 | a);
    return chunk("IDAT", made.made);
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
    for (auto [format, kept] : {std::pair(2, 30),
                                {10, 30},
                                {29, 30},
                                {30, 30},
                                {25, 31},
                                {27, 31},
                                {28, 31},
                                {31, 31},
                                {32, 32},
                                {67, 32},
                                {69, 32},
                                {1, 2},
                                {3, 2}}) {
        CFILE* c = new_file(path("a"), JFIF, format, 3, 2);
        ASSERT_NE(c, nullptr);
        EXPECT_EQ(field_of(c, 3), kept) << format;
        const int32_t bits = 5;
        EXPECT_EQ(rzl_set_hdr_data(c, 507, &bits), 0);
        const bool four = kept == 32;
        EXPECT_EQ(rzl_write_header(c), four ? 1 : 0);
        EXPECT_EQ(c->status, four ? RZL_UNSUP_JFIF : 0u);
        EXPECT_TRUE(four || field_of(c, 507) == 8);
        rzl_close(c);
    }
    EXPECT_EQ(new_file(path("a"), JFIF, 2, 1, 1, {}, rzl_open_wr), nullptr);
    EXPECT_EQ(last_status(), RZL_CANNOT_OPEN);
    for (auto [width, height] : {std::pair(0, 1), {1, 0}, {65501, 1}, {1, 65501}}) {
        CFILE* c = new_file(path("a"), JFIF, 2, width, height);
        EXPECT_TRUE(rzl_write_header(c) == 1 && c->status == RZL_BAD_IMAGE_SIZE) << width;
        rzl_close(c);
    }
}

TEST_F(Jfif, FieldsAndLinesOfAFile) {
    const bytes_of_file colors = soft_colors(33, 17);
    const bytes_of_file file = written(JFIF, 28, 33, 17, colors);
    EXPECT_EQ(bytes_of_file(file.begin(), file.begin() + 11),
              (bytes_of_file{0xFF, 0xD8, 0xFF, 0xE0, 0, 16, 'J', 'F', 'I', 'F', 0}));
    CFILE* c = rzl_open_r(path("made").c_str());
    ASSERT_NE(c, nullptr);
    const std::pair<int, int> fields[] = {{1, 33}, {2, 17},  {3, 31},  {5, 0},   {6, 0},
                                          {9, 4},  {500, 6}, {503, 1}, {506, 3}, {507, 8}};
    for (auto [field, value] : fields)
        EXPECT_EQ(field_of(c, field), value) << field;
    double aspect = 0;
    EXPECT_TRUE(rzl_get_hdr_data(c, 26, &aspect) == 0 && aspect == 1.0);
    rzl_vlt_entry table[256];
    EXPECT_TRUE(rzl_get_vlt(c, table) == 1 && c->status == RZL_NO_VLT);
    EXPECT_TRUE(rzl_set_active_image(c, 1) == 1);
    bytes_of_file line(33);
    void* one[1] = {line.data()};
    EXPECT_TRUE(rzl_getline_channels(c, 1, one) == 1 && c->status == RZL_UNSUP_JFIF && c->line == 1);
    const picture p = (rzl_rewind(c), read_lines(c));
    int most = 0;
    for (size_t i = 0; i < colors.size(); ++i)
        most = std::max(most, std::abs(int{colors[i]} - int{p.colors[i]}));
    EXPECT_LT(most, 40) << "the picture is another";
    rzl_close(c);
    expect_seeks(path("made"));
    c = rzl_open_rw(path("made").c_str());
    EXPECT_TRUE(rzl_putline3(c, line.data(), line.data(), line.data()) == 1 && c->status == RZL_MODIFY_COMPRESSED);
    EXPECT_EQ(rzl_finish(c), 0u);
    EXPECT_EQ(read_bytes(path("made")), file);
}

// Lines count as they come; one too many is passed over, and those that don't come are black.
TEST_F(Jfif, LinesPutAreCountedAsTheyCome) {
    CFILE* c = new_file(path("a"), JFIF, 2, 16, 24);
    const bytes_of_file white(16, 255);
    EXPECT_EQ(rzl_write_header(c), 0);
    EXPECT_TRUE(rzl_putline3(c, white.data(), white.data(), white.data()) == 1 && c->status == RZL_UNSUP_JFIF);
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
    const bytes_of_file plain = written(JFIF, 28, W, H, soft_colors(W, H));
    const picture upright = read_picture(path("made"));
    write_bytes(path("turned"), with_exif(plain, 6, true));
    EXPECT_EQ(read_picture(path("turned")).status, RZL_READ_FAILED) << "not asked for";
    extended_guard extended(true);
    for (int turn = 0; turn <= 9; ++turn) {
        SCOPED_TRACE(turn);
        write_bytes(path("turned"), with_exif(plain, turn, turn % 2 == 0));
        const picture p = read_picture(path("turned"));
        const bool sideways = turn >= 5 && turn <= 8;
        ASSERT_TRUE(p.status == 0 && p.width == (sideways ? H : W) && p.height == (sideways ? W : H));
        const int orientations[] = {4, 4, 5, 7, 6, 4, 5, 7, 6, 4};
        EXPECT_EQ(p.orientation, orientations[turn]);
        for (int y = 0; y < p.height; ++y)
            for (int x = 0; x < p.width; ++x) {
                const auto there = static_cast<size_t>(sideways ? x * W + y : y * W + x) * 3;
                ASSERT_EQ(p.colors[static_cast<size_t>(y * p.width + x) * 3], upright.colors[there]);
            }
        expect_seeks(path("turned"));
    }
}

TEST_F(Jfif, BadFilesBesideAGoodOne) {
    const bytes_of_file good = written(JFIF, 28, 40, 24, soft_colors(40, 24));
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
    expect_cut_seen(good, sof, good.size() - 4);
    // Sizes that the file does not hold: lines are had as far as they are asked for, the whole of them is not kept.
    bytes_of_file large = good;
    large[sof + 5] = large[sof + 7] = 0xFF;
    write_bytes(path("large"), large);
    CFILE* c = rzl_open_r(path("large").c_str());
    ASSERT_NE(c, nullptr);
    EXPECT_LT(rzl_lines_held(c), 2000);
    bytes_of_file planes[3];
    for (auto& plane : planes)
        plane.resize(65536);
    EXPECT_EQ(rzl_getline3(c, planes[0].data(), planes[1].data(), planes[2].data()), 0);
    EXPECT_EQ(rzl_randomize(c), 0);
    EXPECT_TRUE(rzl_getline3(c, planes[0].data(), planes[1].data(), planes[2].data()) == 1 &&
                c->status == RZL_READ_FAILED);
    rzl_close(c);
}

TEST_F(Jfif, EveryFailureHasItsStatus) {
    expect_sweeps(JFIF, 29, 50, 9, some_samples(450, 200, 3));
    expect_sweeps(JFIF, 27, 50, 9, some_samples(1350, 256, 3));
}

// ---- PNG

TEST_F(Png, KindsAreReadAsWhatTheyAre) {
    const bytes_of_file palette = chunk("PLTE", {1, 2, 3, 250, 100, 50, 7, 8, 9});
    const struct {
        const char* what;
        bytes_of_file file;
        int format, bits, entries;
        bytes_of_file colors;
    } cases[] = {
        {"bits", png({header(3, 1, 1, 0), data({0, 0x40})}), 1, 1, 0, {0, 0, 0, 255, 255, 255, 0, 0, 0}},
        {"grey of 2 bits",
         png({header(4, 1, 2, 0), data({0, 0x1B})}),
         2,
         8,
         0,
         {0, 0, 0, 85, 85, 85, 170, 170, 170, 255, 255, 255}},
        {"grey of 16 bits",
         png({header(2, 1, 16, 0), data({0, 0x12, 0xFF, 0xFF, 0xFE})}),
         2,
         8,
         0,
         {0x13, 0x13, 0x13, 255, 255, 255}},
        {"two colours", png({header(2, 1, 1, 3), palette, data({0, 0x40})}), 1, 1, 2, {1, 2, 3, 250, 100, 50}},
        {"a palette of 4 bits", png({header(2, 1, 4, 3), palette, data({0, 0x21})}), 2, 4, 3, {7, 8, 9, 250, 100, 50}},
        {"its colours on a background",
         png({header(2, 1, 8, 3), palette, chunk("tRNS", {0, 127}), chunk("bKGD", {2}), data({0, 0, 1})}),
         2,
         8,
         3,
         {7, 8, 9, 128, 54, 29}},
        {"transparent without a background",
         png({header(2, 1, 8, 3), palette, chunk("tRNS", {0}), data({0, 0, 1})}),
         2,
         8,
         3,
         {1, 2, 3, 250, 100, 50}},
        {"grey with alpha", png({header(2, 1, 8, 4), data({0, 9, 0, 200, 255})}), 2, 8, 0, {9, 9, 9, 200, 200, 200}},
        {"the same on a background",
         png({header(2, 1, 8, 4), chunk("bKGD", {0, 50}), data({0, 9, 0, 200, 102})}),
         2,
         8,
         0,
         {50, 50, 50, 110, 110, 110}},
        {"a grey that is seen through",
         png({header(2, 1, 8, 0), chunk("tRNS", {0, 9}), chunk("bKGD", {0, 50}), data({0, 9, 10})}),
         2,
         8,
         0,
         {50, 50, 50, 10, 10, 10}},
        {"colours with alpha on a background",
         png({header(1, 1, 8, 6), chunk("bKGD", {0, 50, 0, 60, 0, 70}), data({0, 200, 100, 0, 102})}),
         28,
         8,
         0,
         {110, 76, 42}},
        {"gamma, which is left alone",
         png({header(1, 1, 8, 6), chunk("gAMA", {0, 0, 0xB1, 0x8F}), chunk("bKGD", {0, 50, 0, 60, 0, 70}),
              data({0, 200, 100, 0, 102})}),
         28,
         8,
         0,
         {110, 76, 42}},
        {"rows of two passes",
         png({header(2, 2, 8, 2, 1), data({0, 1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 9, 10, 11, 12})}),
         28,
         8,
         0,
         {1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11, 12}},
    };
    for (const auto& k : cases) {
        SCOPED_TRACE(k.what);
        write_bytes(path("a"), k.file);
        const picture p = read_picture(path("a"));
        EXPECT_EQ(p.status, 0u) << rzl_status_name(p.status) << rzl_status_detail();
        EXPECT_TRUE(p.format == k.format && p.bits == k.bits && p.entries == k.entries)
            << p.format << " " << p.bits << " " << p.entries;
        EXPECT_EQ(p.colors, k.colors);
    }
}

TEST_F(Png, BadFilesBesideAGoodOne) {
    const bytes_of_file palette = chunk("PLTE", {1, 2, 3});
    const bytes_of_file rows = data({0, 1, 2, 3, 0, 4, 5, 6});
    write_bytes(path("good"), png({header(1, 2, 8, 2), rows}));
    EXPECT_EQ(read_picture(path("good")).status, 0u);
    bytes_of_file lying = png({header(1, 2, 8, 2), rows});
    lying[33] = 0x7F; // the length of the rows' chunk
    bytes_of_file crc = png({header(1, 2, 8, 2), rows});
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
        write_bytes(path("bad"), k.file);
        EXPECT_EQ(read_picture(path("bad")).status, RZL_READ_FAILED);
    }
    write_bytes(path("one"), png({header(2, 1, 8, 3), palette, data({0, 0, 1})}));
    EXPECT_EQ(read_picture(path("one")).colors, (bytes_of_file{1, 2, 3, 0, 0, 0})) << "an index past the palette";
    const bytes_of_file good = png({header(1, 2, 8, 2), rows});
    expect_cut_seen(good, good.size(), good.size() - 24);
}

TEST_F(Png, WritingIsRefusedAndFilled) {
    EXPECT_EQ(new_file(path("a"), PNG, 69, 1, 1), nullptr);
    EXPECT_EQ(last_status(), RZL_UNSUPPORTED);
    EXPECT_EQ(new_file(path("a"), PNG, 2, 1, 1, {{501, 10}}), nullptr);
    EXPECT_EQ(last_status(), RZL_BAD_FIELD_VALUE);
    EXPECT_EQ(new_file(path("a"), PNG, 2, 1, 1, {}, rzl_open_wr), nullptr);
    EXPECT_EQ(last_status(), RZL_CANNOT_OPEN);
    CFILE* c = new_file(path("a"), PNG, 27, 2, 3, {{8, -300}});
    EXPECT_EQ(rzl_write_header(c), 0);
    EXPECT_TRUE(rzl_putline(c, "ab") == 1 && c->status == RZL_UNSUPPORTED);
    EXPECT_TRUE(rzl_seek(c, 1) == 0 && rzl_putline3(c, "ab", "cd", "ef") == 1 && c->status == RZL_MODIFY_COMPRESSED);
    EXPECT_TRUE(rzl_seek(c, 0) == 0 && rzl_putline3(c, "ab", nullptr, "ef") == 0);
    EXPECT_EQ(rzl_finish(c), 0u);
    c = rzl_open_r(path("a").c_str());
    ASSERT_NE(c, nullptr);
    EXPECT_EQ(field_of(c, 8), -300);
    EXPECT_EQ(read_lines(c).colors, (bytes_of_file{'a', 0, 'e', 'b', 0, 'f', 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0, 0}));
    rzl_close(c);
}

TEST_F(Png, EveryFailureHasItsStatusAndLinesAnyOrder) {
    expect_sweeps(PNG, 29, 50, 9, some_samples(450, 200, 3), some_table(256));
    expect_sweeps(PNG, 27, 50, 9, some_samples(1350, 256, 3));
    expect_seeks(path("swept"));
    write_bytes(path("passes"), png({header(2, 2, 8, 2, 1), data({0, 1, 2, 3, 0, 4, 5, 6, 0, 7, 8, 9, 10, 11, 12})}));
    expect_seeks(path("passes"));
}
