// What becomes of fields that are set late, or that no file can keep: heights that are set after lines were put, bits
// and samples, sizes that the format has no offsets for; and what a file leaves out.
#include "tiff_fixture.h"

class Changes : public TiffTest {
protected:
    std::string file() const { return path("a.tif"); }
    static picture first_lines(const picture& p, int height) {
        picture cut = p;
        cut.height = height;
        cut.values.resize(static_cast<size_t>(p.width) * static_cast<size_t>(height) * static_cast<size_t>(p.samples));
        return cut;
    }
    // A file with that many lines put, or one with all of them that is opened again.
    CFILE* begin(uint32_t mode, const picture& p, const field_values& fields, int lines) {
        if (mode == MODE_UPDATE) {
            EXPECT_EQ(write_library(file(), p, fields), 0u);
            return rzl_open_rw(file().c_str());
        }
        CFILE* c = new_tiff(file(), p, fields, mode == MODE_WRITE_READ);
        EXPECT_EQ(put_lines(c, p, 0, lines), lines);
        return c;
    }
};

// A way to lay out a picture's file.
struct layout_case {
    int samples, bits, coding, planar, tile;
};
static std::ostream& operator<<(std::ostream& out, const layout_case& l) {
    return out << l.samples << " samples, " << l.bits << " bits, coding " << l.coding << ", planar " << l.planar
               << ", tile " << l.tile;
}
static const layout_case LAYOUTS[] = {
    {1, 8, 1, 1, 0},     {1, 8, 5, 1, 0},  {1, 8, 32773, 1, 0}, {3, 8, 1, 1, 0},      {3, 8, 5, 1, 0},
    {3, 8, 32773, 2, 0}, {3, 8, 1, 2, 0},  {3, 8, 5, 2, 0},     {1, 1, 1, 1, 0},      {1, 1, 2, 1, 0},
    {1, 1, 3, 1, 0},     {1, 1, 4, 1, 0},  {1, 16, 5, 1, 0},    {1, 8, 1, 1, 32},     {3, 8, 5, 1, 32},
    {3, 8, 1, 2, 32},    {1, 1, 4, 1, 32}, {3, 8, 1, 1, 16},    {3, 8, 32773, 2, 16}, {1, 8, 1, 1, 64},
};

// A picture whose height was a guess is closed with the lines that came, or fewer.
TEST_F(Changes, AHeightThatIsSetSmallerCutsThePicture) {
    for (const layout_case& l : LAYOUTS)
        for (uint32_t mode : {MODE_WRITE, MODE_WRITE_READ, MODE_UPDATE})
            for (auto [put, height] : {std::pair{33, 33}, {33, 30}, {35, 35}, {21, 21}, {40, 2}, {3, 3}, {3, 14}}) {
                SCOPED_TRACE(testing::Message() << l << ", mode " << mode << ", " << put << " lines, then " << height);
                picture p = make_picture(45, 40, l.samples, l.bits);
                CFILE* c = begin(mode, p, {{501, l.coding}, {503, l.planar}, {505, 7}, {100, l.tile}}, put);
                ASSERT_NE(c, nullptr);
                ASSERT_EQ(set_field_to(c, 2, height), 0);
                EXPECT_EQ(field_of(c, 2), height);
                int more = mode == MODE_UPDATE ? 0 : std::max(height - put, 0);
                EXPECT_EQ(put_lines(c, p, put, put + more), more);
                EXPECT_EQ(rzl_finish(c), 0u);
                EXPECT_TRUE(read_library(file()) == first_lines(p, height));
                bool judged = put != 33 || height != 30 || (run("tiffinfo -D a.tif >/dev/null") && said.empty());
                EXPECT_TRUE(judged) << said;
                if (HasFailure()) return;
            }
}

TEST_F(Changes, AHeightGrowsWhereTheLastStripCanTakeTheLines) {
    for (const layout_case& l : LAYOUTS) {
        // One line more than a whole strip waits, or is streamed.
        SCOPED_TRACE(testing::Message() << l);
        picture p = make_picture(45, 24, l.samples, l.bits);
        CFILE* c = new_tiff(file(), first_lines(p, 8), {{501, l.coding}, {503, l.planar}, {505, 7}, {100, l.tile}});
        EXPECT_EQ(put_lines(c, p, 0, 7), 7);
        EXPECT_EQ(set_field_to(c, 2, 24), l.tile != 0);
        EXPECT_EQ(status_of(c), l.tile != 0 ? RZL_BAD_FIELD_ID : 0);
        EXPECT_EQ(field_of(c, 2), l.tile != 0 ? 8 : 24);
        EXPECT_EQ(put_lines(c, p, 7, field_of(c, 2)), field_of(c, 2) - 7);
        int height = field_of(c, 2);
        EXPECT_EQ(rzl_finish(c), 0u);
        EXPECT_TRUE(read_library(file()) == first_lines(p, height));
        // A strip that is stored short of the lines can't take them, and nothing is said to be there that isn't.
        c = opened(rzl_open_rw(file().c_str()));
        EXPECT_EQ(set_field_to(c, 2, 30), 1);
        EXPECT_EQ(refusal(c, set_field_to(c, 2, 0)), RZL_BAD_FIELD_VALUE);
        EXPECT_EQ(rzl_finish(c), 0u);
        EXPECT_TRUE(read_library(file()) == first_lines(p, height));
    }
}

// Bits and samples that are set beside the data format are in the file, or the header is refused.
TEST_F(Changes, BitsAndSamplesAreKeptOrRefused) {
    const struct {
        int32_t format, field, value, format_in_file;
        uint32_t status;
    } rows[] = {{2, 507, 1, 1, 0},
                {2, 507, 12, 3, 0},
                {2, 507, 16, 3, 0},
                {2, 507, 32, 4, 0},
                {29, 507, 4, 29, 0},
                {29, 507, 1, 9, 0},
                {3, 507, 8, 2, 0},
                {28, 507, 16, 28, 0},
                {2, 506, 3, 28, 0},
                {29, 506, 4, 67, 0},
                {28, 506, 1, 2, 0},
                {2, 506, 2, 0, RZL_UNSUP_TIFF},
                {2, 506, 5, 0, RZL_UNSUP_TIFF},
                {2, 507, 33, 0, RZL_UNSUP_TIFF},
                {24, 507, 8, 0, RZL_UNSUP_TIFF},
                {28, 507, 17, 0, RZL_UNSUP_TIFF}};
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.format << ": " << row.field << "=" << row.value);
        CFILE* c = rzl_open_w(file().c_str());
        set_fields(c, {{500, 1}, {3, row.format}, {1, 20}, {2, 3}, {row.field, row.value}});
        EXPECT_EQ(rzl_write_header(c), row.status == 0 ? 0 : 1);
        EXPECT_EQ(status_of(c), row.status);
        rzl_close(c);
        if (row.status != 0) continue;
        c = opened(rzl_open_r(file().c_str()));
        EXPECT_EQ(field_of(c, row.field), row.value);
        EXPECT_EQ(field_of(c, 3), row.format_in_file);
        rzl_close(c);
    }
}

// A record sets a file up in one go, coding and tiles and all.
TEST_F(Changes, ARecordOfCharacteristicsIsTaken) {
    for (auto [compression, format, in_file] : {std::array{0, 27, 28}, {5, 28, 27}, {32773, 27, 27}, {4, 1, 24}}) {
        rzl_stat stat = {}, back = {};
        stat.xsize = stat.ysize = 40;
        stat.format = format;
        stat.compression = compression;
        stat.device_resolution = -100;
        stat.aspect_ratio = 2;
        stat.scan_orientation = 6;
        stat.tile_size = 16;
        stat.matrix[2] = 7;
        CFILE* c = opened(rzl_open_w(file().c_str()));
        EXPECT_EQ(set_field_to(c, 500, 1) | rzl_set_stat(c, &stat) | rzl_write_header(c), 0);
        EXPECT_EQ(rzl_finish(c), 0u);
        c = opened(rzl_open_r(file().c_str()));
        EXPECT_EQ(rzl_get_stat(c, &back), 0);
        EXPECT_TRUE(back.format == in_file && back.compression == std::max(compression, 1)) << compression;
        EXPECT_TRUE(back.xsize == 40 && back.tile_size == 16 && back.device_resolution == -100 && back.matrix[2] == 7);
        EXPECT_TRUE(back.scan_orientation == 6 && tif_image_of(c)->y_resolution[0] == 200);
        rzl_close(c);
    }
}

TEST_F(Changes, NothingIsWrittenOfAFileThatPassesItsOffsets) {
    const struct {
        field_values fields;
        bool fits;
    } rows[] = {{{{3, 2}, {1, 65536}, {2, 65535}, {505, -1}}, true},
                {{{3, 2}, {1, 65536}, {2, 65536}}, false},
                {{{3, 28}, {1, 40000}, {2, 40000}}, false},
                {{{3, 2}, {1, 1}, {2, 600000000}, {505, 1}}, false},
                {{{3, 2}, {1, 65500}, {2, 65500}, {100, 4096}}, false},
                {{{3, 29}, {1, 65536}, {2, 100000}}, true},
                {{{3, 28}, {1, 40000}, {2, 40000}, {503, 2}}, false}};
    for (const auto& row : rows) {
        CFILE* c = rzl_open_w(file().c_str());
        EXPECT_EQ(set_field_to(c, 500, 1), 0);
        set_fields(c, row.fields);
        EXPECT_EQ(rzl_write_header(c) == 0, row.fits) << row.fields[0].second;
        EXPECT_EQ(status_of(c), row.fits ? 0 : RZL_BAD_IMAGE_SIZE);
        if (!row.fits) {
            bytes_of_file line(200000);
            EXPECT_EQ(rzl_putline(c, line.data()), 1);
        }
        rzl_close(c);
        EXPECT_EQ(std::filesystem::file_size(file()) == 0, !row.fits);
    }
}

TEST_F(Changes, AFileInMemoryTellsItsSizeAndItsPixels) {
    picture p = make_picture(50, 30, 1, 8);
    for (int coding : {1, 5})
        for (bool readback : {false, true}) {
            bytes_of_file block(8000);
            rzl_memfile record = {block.data(), int32_t(block.size()), 0, 0, 0, 0};
            char name[40];
            ASSERT_EQ(rzl_memfile_name(&record, name, sizeof name), 0);
            CFILE* c = new_tiff(name, p, {{501, coding}, {505, 10}}, readback);
            EXPECT_EQ(put_lines(c, p, 0, 30), 30);
            EXPECT_EQ(rzl_finish(c), 0u);
            auto size = static_cast<size_t>(record.position);
            write_bytes(file(), bytes_of_file(block.begin(), block.begin() + record.position));
            EXPECT_TRUE(read_library(file()) == p);
            CFILE* r = opened(rzl_open_r(file().c_str()));
            const tif_image* image = tif_image_of(r);
            EXPECT_EQ(record.data_start, int32_t(image->strip_offsets[0]));
            EXPECT_EQ(size, image->strip_offsets[2] + image->strip_byte_counts[2]);
            rzl_close(r);
        }
}

// Strips and tiles that are not stored, which other programs leave out where a picture is blank.
TEST_F(Changes, SegmentsThatAreLeftOutAreZero) {
    for (const layout_case& l : LAYOUTS) {
        SCOPED_TRACE(testing::Message() << l);
        picture p = make_picture(45, 64, l.samples, l.bits);
        field_values fields = {{501, l.coding}, {503, l.planar}, {505, 32}, {100, l.tile}};
        ASSERT_EQ(write_library(file(), p, fields), 0u);
        CFILE* c = opened(rzl_open_rw(file().c_str()));
        tif_image* image = tif_image_of(c);
        // The upper half, of all planes.
        uint32_t segments = tif_segments(image);
        for (uint32_t i = 0; i < image->strip_count; ++i)
            if (i % segments < segments / 2 || segments == 1) image->strip_offsets[i] = image->strip_byte_counts[i] = 0;
        image->flags |= TIF_ARRAYS_CHANGED;
        EXPECT_EQ(rzl_finish(c), 0u);
        std::fill_n(p.values.begin(), segments == 1 ? p.values.size() : p.values.size() / 2, 0u);
        EXPECT_TRUE(read_library(file()) == p);
        EXPECT_TRUE(l.samples == 1 || read_library(file(), true) == p);
        c = opened(rzl_open_r(file().c_str()));
        (void)read_active(c);
        EXPECT_EQ(rzl_is_damaged(c), 0);
        rzl_close(c);
    }
}

// The planes of a colour are bytes, also those of deeper samples: they can be resampled.
TEST_F(Changes, SixteenBitsOfColourAreResampled) {
    picture p = make_picture(40, 30, 3, 16);
    ASSERT_EQ(write_library(file(), p, {{501, 5}}), 0u);
    CFILE* c = opened(rzl_open_r(file().c_str()));
    std::vector<bytes_of_file> all(30, bytes_of_file(120));
    for (bytes_of_file& line : all)
        EXPECT_EQ(rzl_getline_interleaved(c, line.data()), 0);
    EXPECT_EQ(rzl_set_squetch(c, 20, 15, 0), 0);
    for (int y : {0, 1, 9, 14}) {
        bytes_of_file line(60), planes[3] = {bytes_of_file(20), bytes_of_file(20), bytes_of_file(20)};
        EXPECT_EQ(rzl_seek(c, y), 0);
        EXPECT_EQ(rzl_getline_interleaved(c, line.data()), 0);
        EXPECT_EQ(rzl_seek(c, y), 0);
        EXPECT_EQ(rzl_getline3(c, planes[0].data(), planes[1].data(), planes[2].data()), 0);
        for (size_t i = 0; i < 60; ++i) {
            EXPECT_EQ(line[i], all[size_t(2 * y)][i / 3 * 6 + i % 3]) << y << "," << i;
            EXPECT_EQ(planes[i % 3][i / 3], line[i]);
        }
    }
    rzl_close(c);
}

// Red, green, blue and something else: the planes are the three, the pixels are all four.
TEST_F(Changes, AFourthSampleOfRedGreenBlueIsNoPlane) {
    hand_file f(true);
    uint32_t at = f.add({1, 2, 3, 200, 4, 5, 6, 201});
    auto entries = grey_entries(2, 1, 8, 1, at, 8);
    entries[2].values = {8, 8, 8, 8};
    entries[4].values = {2};
    entries.push_back({277, 3, {4}});
    f.add_directory(entries);
    write_bytes(file(), f.bytes);
    CFILE* c = opened(rzl_open_r(file().c_str()));
    bytes_of_file planes[4] = {bytes_of_file(2), bytes_of_file(2), bytes_of_file(2), bytes_of_file(2, 9)};
    void* all[4] = {planes[0].data(), planes[1].data(), planes[2].data(), planes[3].data()};
    EXPECT_EQ(rzl_getline_channels(c, 4, all), 0);
    EXPECT_EQ(planes[2], (bytes_of_file{3, 6}));
    EXPECT_EQ(planes[3], (bytes_of_file{0, 0}));
    bytes_of_file pixels(8);
    EXPECT_EQ(rzl_rewind(c), 0);
    EXPECT_EQ(rzl_getline_interleaved(c, pixels.data()), 0);
    EXPECT_EQ(pixels, (bytes_of_file{1, 2, 3, 200, 4, 5, 6, 201}));
    rzl_close(c);
}
