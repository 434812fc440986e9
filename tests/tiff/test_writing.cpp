// TIFF files as they are written and changed: structure, plan of strips, tags and packets, overviews and images, lines
// in place, runs, copies of coded data.
#include "raster/sweep.h"
#include "tiff_fixture.h"

class Writing : public TiffTest {
protected:
    std::string file() const { return path("a.tif"); }
    // Tags of the directory at `at` in the order of the file.
    static std::vector<int> tags_at(const bytes_of_file& b, size_t at) {
        std::vector<int> tags;
        tags.reserve(load_u16le(&b[at]));
        for (int i = 0; i < load_u16le(&b[at]); ++i)
            tags.push_back(load_u16le(&b[at + 2 + static_cast<size_t>(i) * 12]));
        return tags;
    }
    // Rows per strip that a new file of 5000 lines gets, by itself or with some asked for.
    int32_t planned_rows(int samples, int bits, int width, int planar, int asked = 0) {
        picture p{width, 5000, samples, bits, {}};
        CFILE* c = new_tiff(file(), p, {{503, planar}, {505, asked}});
        EXPECT_EQ(rzl_write_header(c), 0);
        int32_t rows = field_of(c, 505);
        EXPECT_EQ(tif_image_of(c)->strip_count,
                  static_cast<uint32_t>((5000 + rows - 1) / rows * (planar == 2 ? samples : 1)));
        rzl_close(c);
        return rows;
    }
};

TEST_F(Writing, StructureAndPlan) {
    EXPECT_EQ(planned_rows(1, 1, 100, 1), 630);
    EXPECT_EQ(planned_rows(1, 1, 8192, 1), 8);
    EXPECT_EQ(planned_rows(3, 8, 1536, 1), 2);
    EXPECT_EQ(planned_rows(3, 8, 4000, 1), 1);
    EXPECT_EQ(planned_rows(3, 8, 4000, 2), 2);
    EXPECT_EQ(planned_rows(4, 8, 100, 1), 20);
    EXPECT_EQ(planned_rows(1, 16, 4096, 1), 2);
    for (auto [asked, rows] : {std::pair{7, 7}, {5000, 5000}, {5001, 2}, {-1, 5000}})
        EXPECT_TRUE(planned_rows(3, 8, 1536, 1, asked) == rows && planned_rows(1, 8, 4096, 1, asked) == rows) << asked;

    picture p = make_picture(30, 20, 3, 8);
    CFILE* c = new_tiff(file(), p, {{505, 7}, {502, 2}, {9, 6}, {8, -300}});
    rzl_user_tag tag = {65000, 4, 3, {}};
    const uint32_t numbers[3] = {1, 2, 0x80000000};
    tag.data.pointer = const_cast<uint32_t*>(numbers);
    EXPECT_EQ(rzl_set_hdr_data(c, 509, &tag), 0);
    tag = {283, 5, 1, {}}; // one side's resolution, which field 8 has for both
    const uint32_t ratio[2] = {599, 2};
    tag.data.pointer = const_cast<uint32_t*>(ratio);
    EXPECT_EQ(rzl_set_hdr_data(c, 509, &tag), 0);
    tag = {200, 3, 1, {}};
    tag.data.bytes[0] = 42;
    EXPECT_EQ(rzl_set_hdr_data(c, 509, &tag), 0);
    for (uint16_t own : std::initializer_list<uint16_t>{256, 258, 259, 273, 278, 320, 325}) {
        tag = {own, 3, 1, {}};
        EXPECT_EQ(refusal(c, rzl_set_hdr_data(c, 509, &tag)), RZL_NO_SUCH_TAG) << own;
    }
    EXPECT_EQ(put_lines(c, p, 0, 20), 20);
    EXPECT_EQ(rzl_finish(c), 0u);
    bytes_of_file b = read_bytes(file());
    EXPECT_EQ(load_u32le(&b[0]), 0x002A4949u);
    uint32_t ifd = load_u32le(&b[4]);
    EXPECT_EQ(tags_at(b, ifd), (std::vector<int>{200, 254, 256, 257, 258, 259, 262, 273, 274, 277, 278, 279, 282, 283,
                                                 284, 296, 65000}));
    // Values, directory, data.
    EXPECT_EQ(ifd, 8u + 6 + 12 + 12 + 8 + 8 + 12);
    EXPECT_EQ(b.size(), ifd + 2 + 17 * 12 + 4 + 30 * 20 * 3);
    c = opened(rzl_open_r(file().c_str()));
    expect_fields(c, {{9, 6}, {8, -300}});
    EXPECT_EQ(field_of(c, 502), 1) << "no differences without LZW";
    tag = {200, 0, 0, {}};
    EXPECT_EQ(rzl_get_hdr_data(c, 509, &tag), 0);
    EXPECT_EQ(tag.data.bytes[0], 42);
    uint32_t got[3] = {};
    tag = {65000, 0, 0, {}};
    tag.data.pointer = got;
    EXPECT_EQ(rzl_get_hdr_data(c, 509, &tag), 0);
    EXPECT_EQ(got[2], numbers[2]);
    tag = {283, 0, 0, {}};
    tag.data.pointer = got;
    EXPECT_EQ(rzl_get_hdr_data(c, 509, &tag), 0);
    EXPECT_TRUE(got[0] == 599 && got[1] == 2);
    rzl_close(c);
}

TEST_F(Writing, RefusedFields) {
    picture p = make_picture(30, 20, 1, 8);
    const struct {
        int32_t field, value;
        uint32_t status;
    } rows[] = {{501, 7, RZL_UNSUP_TIFF},         {502, 3, RZL_BAD_FIELD_VALUE},   {503, 3, RZL_BAD_FIELD_VALUE},
                {100, 33, RZL_BAD_TILE_SIZE},     {100, 65536, RZL_BAD_TILE_SIZE}, {5, 3, RZL_BAD_FIELD_ID},
                {6, 257, RZL_BAD_FIELD_VALUE},    {7, -1, RZL_BAD_FIELD_VALUE},    {200, -1, RZL_BAD_FIELD_VALUE},
                {200, 65536, RZL_BAD_FIELD_VALUE}};
    CFILE* c = new_tiff(file(), p);
    for (const auto& row : rows) {
        EXPECT_EQ(set_field_to(c, row.field, row.value), 1) << row.field;
        EXPECT_EQ(status_of(c), row.status) << row.field;
    }
    // What can't be stored is told by the header.
    for (const field_values& fields :
         std::vector<field_values>{{{501, 4}}, {{3, 28}, {501, 3}}, {{3, 3}, {5, 2}, {6, 9}}}) {
        set_fields(c, fields);
        EXPECT_EQ(refusal(c, rzl_write_header(c)), RZL_UNSUP_TIFF);
        EXPECT_EQ(set_field_to(c, 3, 2), 0);
    }
    EXPECT_EQ(set_field_to(c, 5, 0), 0);
    EXPECT_EQ(rzl_write_header(c), 0);
    EXPECT_EQ(refusal(c, set_field_to(c, 501, 5)), RZL_BAD_FIELD_ID);
    bytes_of_file line(30);
    EXPECT_EQ(refusal(c, rzl_putline(c, nullptr)), RZL_NO_OUTPUT_BUFFER);
    EXPECT_EQ(refusal(c, rzl_getline(c, line.data())), RZL_NEEDS_READ);
    rzl_close(c);
    c = new_tiff(file(), {0, 0, 1, 8, {}});
    EXPECT_EQ(refusal(c, rzl_putline(c, line.data())), RZL_BAD_IMAGE_SIZE);
    rzl_close(c);
    // Planes of tiles in LZW have no place.
    c = new_tiff(file(), make_picture(32, 32, 3, 8), {{501, 5}, {503, 2}, {100, 32}});
    bytes_of_file tile(32 * 32);
    const void* planes[3] = {tile.data(), tile.data(), tile.data()};
    EXPECT_EQ(refusal(c, rzl_puttile(c, 3, planes)), RZL_UNSUP_TIFF);
    rzl_close(c);
}

TEST_F(Writing, TilesOneByOne) {
    // A picture of two by two tiles from calls for tiles, some of one colour, and back.
    for (int coding : {1, 5, 32773}) {
        picture p = make_picture(48, 40, 3, 8);
        CFILE* c = new_tiff(file(), p, {{100, 32}, {501, coding}});
        int32_t words[4] = {1, 1, 1, 1};
        EXPECT_EQ(rzl_get_hdr_data(c, RZL_FIELD_TILE_DIRECTORY, words), 0);
        EXPECT_EQ(words[3], 0) << "also before the header";
        EXPECT_EQ(rzl_write_header(c), 0);
        EXPECT_EQ(field_of(c, 101) * field_of(c, 102), 4);
        std::vector<bytes_of_file> planes(3, bytes_of_file(32 * 32));
        for (int tile = 0; tile < 4; ++tile) {
            for (int i = 0; i < 32 * 32 * 3; ++i) {
                int x = std::min(tile % 2 * 32 + i / 3 % 32, 47);
                int y = std::min(tile / 2 * 32 + i / 96, 39);
                planes[size_t(i % 3)][size_t(i / 3)] = static_cast<uint8_t>(p.at(x, y, i % 3));
            }
            const void* all[3] = {planes[0].data(), planes[1].data(), planes[2].data()};
            EXPECT_EQ(rzl_puttile(c, 3, all), 0);
        }
        const void* none[3] = {};
        EXPECT_EQ(refusal(c, rzl_puttile(c, 3, none)), RZL_PAST_END);
        EXPECT_EQ(rzl_finish(c), 0u);
        EXPECT_TRUE(read_library(file()) == p) << coding;
        c = opened(rzl_open_rw(file().c_str()));
        EXPECT_EQ(rzl_seek(c, 3), 0);
        void* all[3] = {planes[0].data(), nullptr, planes[2].data()};
        EXPECT_EQ(rzl_gettile(c, 3, all, nullptr), 0);
        EXPECT_EQ(planes[0][33], p.at(33, 33, 0));
        EXPECT_EQ(planes[2][33], p.at(33, 33, 2));
        // The slot takes a colour for planes that are not given.
        uint32_t colour = 0x102030;
        const uint8_t* slot[3] = {};
        c->line = 0;
        EXPECT_EQ(tif_put_tile(c, 3, slot, nullptr), 0);
        EXPECT_EQ(c->status, RZL_NO_OUTPUT_BUFFER);
        c->status = 0;
        EXPECT_EQ(tif_put_tile(c, 3, slot, &colour), 1);
        EXPECT_EQ(rzl_finish(c), 0u);
        for (int i = 0; i < 32 * 32 * 3; ++i)
            p.at(i / 3 % 32, i / 96, i % 3) = colour >> (16 - 8 * (i % 3)) & 0xFF;
        EXPECT_TRUE(read_library(file()) == p) << coding;
    }
}

TEST_F(Writing, PacketsAndTransform) {
    picture p = make_picture(8, 8, 1, 8);
    double matrix[16] = {1.5, 0, 0, -7};
    // Two packets, one of which is a transformation that the file's own replaces.
    std::vector<uint16_t> words = {3, 4, 2, 0, 111, 222, 2, 10, 1, 0, 9};
    CFILE* c = new_tiff(file(), p, {{7, 6}, {7, 5}});
    EXPECT_EQ(rzl_set_hdr_data(c, 4, matrix), 0);
    EXPECT_EQ(rzl_put_packet(c, words.data()), 0);
    EXPECT_EQ(put_lines(c, p, 0, 8), 8);
    EXPECT_EQ(rzl_finish(c), 0u);
    auto check = [&](double first) {
        CFILE* r = opened(rzl_open_r(file().c_str()));
        ASSERT_EQ(field_of(r, 7), 68 + 6);
        double got[16] = {};
        EXPECT_EQ(rzl_get_hdr_data(r, 4, got), 0);
        EXPECT_EQ(got[0], first);
        EXPECT_EQ(got[3], -7);
        std::vector<uint16_t> back(74);
        EXPECT_EQ(rzl_get_packet(r, back.data()), 0);
        EXPECT_EQ((std::vector<uint16_t>(back.begin(), back.begin() + 4)), (std::vector<uint16_t>{2, 10, 64, 0}));
        EXPECT_TRUE(std::equal(back.begin() + 68, back.end(), words.begin()));
        rzl_stat stat = {};
        EXPECT_EQ(rzl_get_stat(r, &stat), 0);
        EXPECT_EQ(stat.packet_words, 74);
        EXPECT_EQ(stat.matrix[0], first);
        EXPECT_EQ(stat.planar, 1);
        rzl_close(r);
    };
    check(1.5);
    // A new transformation leaves the packets.
    c = opened(rzl_open_rw(file().c_str()));
    matrix[0] = 2.5;
    EXPECT_EQ(rzl_set_hdr_data(c, 4, matrix), 0);
    EXPECT_EQ(rzl_write_header(c), 0);
    EXPECT_EQ(rzl_finish(c), 0u);
    check(2.5);
    // A packet that claims more words than the tag has.
    bytes_of_file b = read_bytes(file());
    uint32_t at = 0;
    for (size_t entry = load_u32le(&b[4]) + 2; at == 0; entry += 12)
        if (load_u16le(&b[entry]) == 33918) at = load_u32le(&b[entry + 8]);
    store_u16le(&b[at + 68 * 2 + 4], 3);
    write_bytes(file(), b);
    c = opened(rzl_open_r(file().c_str()));
    std::vector<uint16_t> back(74);
    EXPECT_EQ(refusal(c, rzl_get_packet(c, back.data())), RZL_READ_FAILED);
    rzl_close(c);
}

TEST_F(Writing, PlainRowsThatComeOutOfOrder) {
    // Rows of a new file are streamed, those of one that is read back are gathered: the files are the same.
    const std::vector<std::pair<int, int>> orders[] = {
        {{0, 30}},
        {{3, 5}, {0, 1}, {6, 8}, {16, 17}, {2, 3}, {13, 14}, {29, 30}, {22, 24}}, // some passed over, some put later
        {{29, 30}, {20, 23}, {9, 10}, {1, 2}, {1, 3}},
    };
    for (const picture& p : {make_picture(31, 30, 1, 8), make_picture(31, 30, 3, 8), make_picture(31, 30, 1, 12)})
        for (const auto& order : orders)
            for (bool interleaved : {false, true}) {
                if (interleaved && p.samples == 1) continue;
                picture wanted = p;
                wanted.values.assign(p.values.size(), 0);
                std::ptrdiff_t row_values = std::ptrdiff_t{p.width} * p.samples;
                for (bool readback : {false, true}) {
                    CFILE* c = new_tiff(path(readback ? "gathered" : "streamed"), p, {{505, 7}}, readback);
                    EXPECT_EQ(rzl_write_header(c), 0);
                    for (auto [first, end] : order) {
                        EXPECT_EQ(rzl_seek(c, first), 0);
                        EXPECT_EQ(put_lines(c, p, first, end, interleaved), end - first);
                        auto at = row_values * first;
                        std::copy(p.values.begin() + at, p.values.begin() + row_values * end,
                                  wanted.values.begin() + at);
                    }
                    EXPECT_EQ(rzl_finish(c), 0u);
                }
                EXPECT_TRUE(read_bytes(path("streamed")) == read_bytes(path("gathered"))) << p.bits;
                EXPECT_TRUE(read_library(path("streamed")) == wanted)
                    << p.bits << ' ' << p.samples << ' ' << order.size();
            }
    // What is appended in the middle of a strip ends it, and its other rows still find their places.
    picture p = make_picture(31, 30, 1, 8);
    CFILE* c = new_tiff(file(), p, {{505, 7}});
    EXPECT_EQ(put_lines(c, p, 0, 3), 3);
    uint32_t at = 0;
    EXPECT_TRUE(tif_append(c, "between", 7, &at));
    EXPECT_EQ(put_lines(c, p, 3, 30), 27);
    EXPECT_EQ(rzl_finish(c), 0u);
    EXPECT_TRUE(read_library(file()) == p);
}

TEST_F(Writing, LinesOfTilesThatArePassedOver) {
    // They are zero, and show nothing of the row of tiles above. What was put stays when the line goes back.
    for (int coding : {1, 5, 32773})
        for (int samples : {1, 3}) {
            picture p = make_picture(40, 40, samples, samples == 1 ? 4 : 8);
            for (uint32_t& v : p.values)
                v |= 1;
            CFILE* c = new_tiff(file(), p, {{100, 16}, {501, coding}});
            EXPECT_EQ(put_lines(c, p, 0, 16, samples == 3), 16);
            for (auto [first, end] : {std::pair{20, 24}, {18, 19}, {30, 33}, {36, 37}}) {
                EXPECT_EQ(rzl_seek(c, first), 0);
                EXPECT_EQ(put_lines(c, p, first, end, samples == 3), end - first);
            }
            set_fields(c, {{701, 1}}); // for lines that come later
            EXPECT_EQ(rzl_finish(c), 0u);
            for (int y = 0; y < 40; ++y) {
                bool put = y < 16 || y == 18 || (y >= 20 && y < 24) || (y >= 30 && y < 33) || y == 36;
                for (int i = 0; !put && i < 40 * samples; ++i)
                    p.at(i / samples, y, i % samples) = 0;
            }
            EXPECT_TRUE(read_library(file()) == p) << coding << ' ' << samples;
        }
}

TEST_F(Writing, AFileThatIsCutWhileItIsReadFailsAndGivesNoZeros) {
    picture p = make_picture(3000, 300, 1, 8);
    for (uint32_t& v : p.values)
        v |= 1;
    for (int coding : {1, 32773}) {
        write_library(file(), p, {{501, coding}, {505, 300}});
        CFILE* c = opened(rzl_open_r(file().c_str()));
        std::vector<uint8_t> line(3000);
        EXPECT_EQ(rzl_getline(c, line.data()), 0);
        std::filesystem::resize_file(file(), 0x20000);
        int whole = 1;
        while (whole < 300 && rzl_getline(c, line.data()) == 0) {
            for (int x = 0; x < 3000; ++x)
                ASSERT_EQ(line[static_cast<size_t>(x)], p.at(x, whole, 0)) << coding << ' ' << whole;
            ++whole;
        }
        EXPECT_EQ(status_of(c), RZL_READ_FAILED) << coding;
        EXPECT_GT(whole, 30) << coding;
        EXPECT_LT(whole, 120) << coding;
        EXPECT_EQ(rzl_getline(c, line.data()), 1) << "and goes on failing";
        rzl_close(c);
    }
}

TEST_F(Writing, ColourTables) {
    for (auto [bits, coding] : {std::pair{8, 1}, {4, 5}, {2, 32773}}) {
        picture p = make_picture(21, 9, 1, bits);
        std::vector<rzl_vlt_entry> vlt;
        vlt.reserve(300);
        for (int i = 0; i < 1 << bits; ++i)
            vlt.push_back({uint16_t(i), uint16_t(i << 8), uint16_t(0xFF00 - (i << 8)), 0x1200});
        vlt.push_back({999, 1, 1, 1}); // no place for it
        CFILE* c =
            new_tiff(file(), p, {{5, 2}, {6, int32_t(vlt.size()) <= 256 ? int32_t(vlt.size()) : 256}, {501, coding}});
        EXPECT_EQ(rzl_put_vlt(c, vlt.data()), 0);
        bytes_of_file line(40);
        for (int y = 0; y < p.height; ++y) {
            for (int x = 0; x < p.width; ++x)
                line[size_t(x)] = static_cast<uint8_t>(p.at(x, y)); // an index as it is
            EXPECT_EQ(rzl_putline(c, line.data()), 0);
        }
        EXPECT_EQ(rzl_finish(c), 0u);
        c = opened(rzl_open_r(file().c_str()));
        EXPECT_EQ(field_of(c, 504), 3);
        bytes_of_file rgb(40 * 3), index(40);
        for (int y = 0; y < p.height; ++y) {
            EXPECT_EQ(rzl_seek(c, y), 0);
            EXPECT_EQ(rzl_getline(c, index.data()), 0);
            EXPECT_EQ(rzl_seek(c, y), 0);
            EXPECT_EQ(rzl_getline_interleaved(c, rgb.data()), 0);
            for (int x = 0; x < p.width; ++x) {
                EXPECT_EQ(index[size_t(x)], p.at(x, y));
                EXPECT_EQ(rgb[size_t(3 * x)], p.at(x, y));
                EXPECT_EQ(rgb[size_t(3 * x + 1)], 255 - p.at(x, y));
            }
        }
        rzl_close(c);
    }
}

TEST_F(Writing, OverviewsAndImages) {
    picture p = make_picture(40, 30, 1, 8), half = make_picture(20, 15, 1, 8), quarter = make_picture(10, 8, 1, 8);
    for (bool readback : {false, true}) {
        CFILE* c = new_tiff(file(), p, {{200, 2}, {501, 5}, {505, 4}}, readback);
        EXPECT_EQ(put_lines(c, p, 0, 30), 30);
        for (auto [number, reduced] : {std::pair{0, half}, {1, quarter}}) {
            EXPECT_EQ(rzl_set_active_overview(c, number), 0);
            set_fields(c, {{1, reduced.width}, {2, reduced.height}, {201, number + 1}});
            EXPECT_EQ(set_field_to(c, 501, 1), 1) << "no field of an overview";
            EXPECT_EQ(put_lines(c, reduced, 0, reduced.height), reduced.height);
        }
        if (readback) {
            EXPECT_EQ(rzl_set_active_overview(c, 0), 0);
            EXPECT_TRUE(read_active(c) == half);
        }
        EXPECT_EQ(rzl_finish(c), 0u);
        c = opened(rzl_open_rw(file().c_str()));
        EXPECT_EQ(field_of(c, 200), 2);
        EXPECT_TRUE(read_active(c) == p);
        EXPECT_EQ(rzl_set_active_overview(c, 1), 0);
        EXPECT_EQ(field_of(c, 201), 2);
        EXPECT_TRUE(read_active(c) == quarter);
        // The register is changed where it is.
        auto size = std::filesystem::file_size(file());
        EXPECT_EQ(set_field_to(c, 201, 3), 0);
        EXPECT_EQ(rzl_set_active_overview(c, 0), 0);
        EXPECT_EQ(field_of(c, 201), 1);
        EXPECT_TRUE(read_active(c) == half);
        EXPECT_EQ(rzl_finish(c), 0u);
        EXPECT_EQ(std::filesystem::file_size(file()), size);
        if (run("command -v tiffinfo")) {
            // The private tag is the one thing that the tools don't know.
            EXPECT_TRUE(run("tiffinfo -D a.tif 2>&1 >/dev/null | grep -v 'Unknown field with tag 33919' | grep . && "
                            "exit 1 || exit 0"));
        }
    }
    // Further images, one of another kind, appended to a file that exists.
    picture bits = make_picture(50, 7, 1, 1);
    ASSERT_EQ(write_library(file(), p), 0u);
    CFILE* c = opened(rzl_open_rw(file().c_str()));
    EXPECT_EQ(refusal(c, rzl_set_active_image(c, 2)), RZL_NO_SUCH_IMAGE);
    EXPECT_EQ(rzl_set_active_image(c, 1), 0);
    set_fields(c, {{3, 24}, {1, 50}, {2, 7}});
    EXPECT_EQ(put_lines(c, bits, 0, 7), 7);
    EXPECT_EQ(rzl_set_active_image(c, 2), 0);
    EXPECT_EQ(put_lines(c, bits, 0, 3), 3) << "a strip that is left unfinished";
    EXPECT_EQ(rzl_finish(c), 0u);
    c = opened(rzl_open_r(file().c_str()));
    EXPECT_EQ(field_of(c, 402), 3);
    EXPECT_TRUE(read_active(c) == p);
    EXPECT_EQ(rzl_set_active_image(c, 2), 0);
    picture cut = read_active(c);
    EXPECT_TRUE(std::equal(cut.values.begin(), cut.values.begin() + 150, bits.values.begin()));
    EXPECT_EQ(std::count(cut.values.begin() + 150, cut.values.end(), 0u), 200);
    EXPECT_EQ(rzl_set_active_image(c, 1), 0);
    EXPECT_TRUE(read_active(c) == bits);
    rzl_close(c);
}

TEST_F(Writing, PlanesThatAreNotGivenStay) {
    for (auto [bits, planar, tile] : {std::array{8, 1, 0}, {8, 2, 0}, {8, 1, 16}, {8, 2, 16}, {4, 1, 0}, {16, 1, 0}}) {
        SCOPED_TRACE(testing::Message() << bits << ", " << planar << ", " << tile);
        const picture p = make_picture(45, 40, 4, bits);
        picture colours = p; // of which three planes are put
        std::reverse(colours.values.begin(), colours.values.end());
        ASSERT_EQ(write_library(file(), p, {{100, tile}, {503, planar}, {505, 5}}), 0u);
        CFILE* c = opened(rzl_open_rw(file().c_str()));
        picture wanted = read_active(c);
        bytes_of_file planes[4] = {bytes_of_file(45), bytes_of_file(45), bytes_of_file(45), bytes_of_file(45)};
        for (int y : {3, 4, 4, 33, 17}) {
            for (int x = 0; x < 45; ++x)
                for (int s = 0; s < 4; ++s)
                    planes[s][static_cast<size_t>(x)] =
                        static_cast<uint8_t>(colours.at(x, y, s) << (bits < 8 ? 8 - bits : 0));
            bytes_of_file line(60);
            EXPECT_TRUE(rzl_seek(c, y) == 0 && rzl_getline(c, line.data()) == 0 && rzl_seek(c, y) == 0);
            const void* last[4] = {nullptr, nullptr, nullptr, planes[3].data()};
            const bool whole = y == 33; // or the last plane alone
            const uint32_t put =
                refusal(c, whole ? rzl_putline_channels(c, 4, last)
                                 : rzl_putline3(c, planes[0].data(), planes[1].data(), planes[2].data()));
            EXPECT_EQ(put, bits > 8 ? RZL_UNSUP_TIFF : 0);
            for (int x = 0; x < 45 && bits <= 8; ++x)
                for (int s = 0; s < 4; ++s)
                    if ((s == 3) == whole) wanted.at(x, y, s) = colours.at(x, y, s);
        }
        EXPECT_EQ(rzl_finish(c), 0u);
        EXPECT_TRUE(read_library(file()) == wanted);
    }
    const auto update = [&] {
        CFILE* c = rzl_open_rw(file().c_str());
        if (c == nullptr) return library_status();
        const bytes_of_file line(45, 9);
        const uint32_t put = refusal(c, rzl_putline3(c, line.data(), line.data(), line.data()));
        const uint32_t closed = rzl_finish(c);
        return put != 0 ? put : closed;
    };
    ASSERT_EQ(write_library(file(), make_picture(45, 40, 4, 8)), 0u);
    sweep(update);
}

TEST_F(Writing, PlainLinesInPlace) {
    for (auto [samples, bits, planar] : {std::array{1, 8, 1}, {3, 8, 1}, {3, 8, 2}, {1, 1, 1}, {1, 4, 1}, {3, 16, 1}})
        for (int tile : {0, 16}) {
            SCOPED_TRACE(testing::Message() << samples << ", " << bits << ", " << planar << ", " << tile);
            picture p = make_picture(45, 40, samples, bits), other = p;
            std::reverse(other.values.begin(), other.values.end());
            ASSERT_EQ(write_library(file(), p, {{100, tile}, {503, planar}, {505, 5}}), 0u);
            const bytes_of_file before = read_bytes(file());
            CFILE* c = opened(rzl_open_rw(file().c_str()));
            picture wanted = read_active(c);
            EXPECT_EQ(tile != 0 ? rzl_seek(c, 3) | put_lines(c, other, 3, 4) : 0, 0) << "the last row is in hand";
            EXPECT_EQ(status_of(c), tile != 0 ? RZL_LINES_OUT_OF_ORDER : 0);
            std::vector<uint8_t> line(45 * 4), same(45 * 4);
            const std::ptrdiff_t values = std::ptrdiff_t{45} * samples;
            size_t put = 0;
            for (auto [first, end] : {std::pair{33, 34}, {3, 5}, {9, 10}, {4, 6}, {1, 2}, {16, 17}, {20, 23}}) {
                EXPECT_EQ(rzl_seek(c, first), 0);
                EXPECT_EQ(rzl_getline(c, line.data()), 0); // makes this row of tiles the one in hand
                EXPECT_EQ(rzl_seek(c, first), 0);
                EXPECT_EQ(put_lines(c, other, first, end), end - first);
                auto at = values * first;
                std::copy(other.values.begin() + at, other.values.begin() + values * end, wanted.values.begin() + at);
                put += static_cast<size_t>(end - first);
            }
            // A line above one that waits is what the file has.
            CFILE* r = opened(rzl_open_r(file().c_str()));
            EXPECT_EQ(rzl_seek(c, 19) | rzl_getline(c, line.data()) | rzl_seek(r, 19) | rzl_getline(r, same.data()), 0);
            EXPECT_EQ(line, same);
            rzl_close(r);
            EXPECT_EQ(rzl_finish(c), 0u);
            EXPECT_TRUE(bits == 16 || read_library(file()) == wanted);
            // Other lines stay to the last bit, also those whose samples a line shows in part.
            const bytes_of_file after = read_bytes(file());
            ASSERT_EQ(after.size(), before.size());
            size_t changed = 0;
            for (size_t i = 0; i < after.size(); ++i)
                changed += after[i] != before[i] ? 1u : 0u;
            EXPECT_TRUE(changed > 0 && changed <= put * 48 * static_cast<size_t>(samples * bits) / 8) << changed;
        }
}

// Tags that this module knows nothing of.
TEST_F(Writing, ANewDirectoryKeepsTheTagsOfTheOld) {
    hand_file f(true);
    f.bytes.resize(16, 7);
    auto entries = grey_entries(4, 2, 8, 1, 8, 8);
    entries.push_back({270, 2, {'t', 'e', 'x', 't', ' ', 'a', 0}});
    f.add_directory(entries);
    write_bytes(file(), f.bytes);
    CFILE* c = opened(rzl_open_rw(file().c_str()));
    EXPECT_EQ(set_field_to(c, 9, 6), 0);
    EXPECT_EQ(rzl_write_header(c), 0);
    EXPECT_EQ(rzl_finish(c), 0u);
    c = opened(rzl_open_r(file().c_str()));
    EXPECT_EQ(field_of(c, 9), 6);
    char text[7] = {};
    rzl_user_tag tag = {270, 0, 0, {}};
    tag.data.pointer = text;
    EXPECT_EQ(rzl_get_hdr_data(c, 509, &tag), 0);
    EXPECT_STREQ(text, "text a");
    bytes_of_file line(4);
    EXPECT_EQ(rzl_getline(c, line.data()), 0);
    EXPECT_EQ(line, bytes_of_file(4, 7));
    rzl_close(c);
}

TEST_F(Writing, RunsOfLines) {
    picture p = make_picture(77, 12, 1, 1);
    std::vector<std::vector<uint16_t>> lines;
    for (int y = 0; y < p.height; ++y) {
        std::vector<uint16_t> runs = {0};
        for (int x = 0; x < p.width; ++x) {
            if (p.at(x, y) == runs.size() % 2) runs.push_back(0);
            ++runs.back();
        }
        if (runs.size() % 2 == 0) runs.push_back(0);
        lines.push_back(runs);
    }
    for (int coding : {1, 2, 4, 32773})
        for (int tile : {0, 32}) {
            CFILE* c = new_tiff(file(), p, {{501, coding}, {505, 5}, {100, tile}});
            if (tile != 0) {
                EXPECT_EQ(put_lines(c, p, 0, 12), 12);
            } else {
                EXPECT_EQ(rzl_put_rle_line(c, lines[1].data(), 2), 1) << "no whole line";
                EXPECT_EQ(rzl_seek(c, 0), 0);
                for (const auto& runs : lines)
                    EXPECT_EQ(rzl_put_rle_line(c, runs.data(), int32_t(runs.size() * 2)), 0);
            }
            EXPECT_EQ(rzl_finish(c), 0u);
            EXPECT_TRUE(read_library(file()) == p) << coding;
            c = opened(rzl_open_r(file().c_str()));
            for (const auto& runs : lines) {
                std::vector<uint16_t> got(200);
                int32_t size = 2;
                EXPECT_EQ(refusal(c, rzl_get_rle_line(c, got.data(), &size)), RZL_RLE_BUFFER_SMALL);
                EXPECT_GE(size, int32_t(runs.size() * 2));
                size = 400;
                EXPECT_EQ(rzl_get_rle_line(c, got.data(), &size), 0);
                got.resize(static_cast<size_t>(size) / 2);
                EXPECT_EQ(got, runs) << coding << " " << tile;
            }
            int32_t size = 400;
            int32_t uniform = 0;
            std::vector<uint16_t> got(200);
            EXPECT_EQ(rzl_seek(c, 0), 0);
            EXPECT_EQ(rzl_get_rle_tile(c, got.data(), &size, &uniform), tile == 0);
            int sum = 0;
            for (size_t i = 0; tile != 0 && i < static_cast<size_t>(size) / 2; ++i)
                sum += got[i];
            EXPECT_EQ(sum, tile != 0 ? 32 * 12 : 0);
            rzl_close(c);
        }
}

TEST_F(Writing, CodedDataIsCopied) {
    struct source {
        picture p;
        field_values fields;
    };
    const source sources[] = {{make_picture(60, 40, 1, 1), {{501, 4}, {505, 9}}},
                              {make_picture(60, 40, 3, 8), {{501, 5}, {502, 2}, {505, 9}}},
                              {make_picture(60, 40, 3, 8), {{501, 32773}, {503, 2}, {505, 9}}},
                              {make_picture(60, 40, 1, 16), {{501, 5}, {100, 16}}}};
    for (const source& s : sources) {
        ASSERT_EQ(write_library(path("from.tif"), s.p, s.fields), 0u);
        if (s.p.bits == 16) run("tiffcp -B from.tif big.tif && mv big.tif from.tif");
        CFILE* from = rzl_open_r(path("from.tif").c_str());
        CFILE* to = opened(rzl_open_w(file().c_str()));
        EXPECT_EQ(set_field_to(to, 500, 1), 0);
        EXPECT_EQ(rzl_init_header_from(from, to), 0);
        EXPECT_EQ(rzl_init_overviews_from(from, to), 0);
        EXPECT_EQ(rzl_copy_data(from, to), 0);
        rzl_close(from);
        EXPECT_EQ(rzl_finish(to), 0u);
        EXPECT_TRUE(read_library(file()) == s.p) << s.p.bits;
    }
    CFILE* from = opened(rzl_open_wr(path("from.tif").c_str()));
    CFILE* to = opened(rzl_open_w(file().c_str()));
    for (CFILE* c : {from, to})
        set_fields(c, {{500, 1}, {1, 5}, {2, 6}, {507, 32}});
    EXPECT_EQ(rzl_line_size(to), 20u) << "as it is when the header stands";
    uint8_t line[20];
    EXPECT_EQ(refusal(from, rzl_getline(from, line)), RZL_READ_FAILED);
    EXPECT_EQ(rzl_copy_data(from, to), 1);
    EXPECT_EQ(status_of(from), RZL_READ_FAILED) << "no header, no strips";
    set_fields(to, {{200, 2}});
    EXPECT_EQ(rzl_write_header(to), 0);
    set_fields(to, {{402, 7}});
    EXPECT_EQ(rzl_set_active_overview(to, 0), 0);
    EXPECT_EQ(refusal(to, rzl_set_active_overview(to, 1)), RZL_NO_SUCH_OVERVIEW) << "of the image that is active";
    rzl_close(from);
    rzl_close(to);

    // A colour map on its way to a file that was meant for more bits than a map can have.
    from = opened(rzl_open_wr(path("from.tif").c_str()));
    to = opened(rzl_open_w(file().c_str()));
    set_fields(from, {{500, 1}, {3, 2}, {1, 5}, {2, 6}, {5, 2}, {6, 256}});
    EXPECT_EQ(rzl_write_header(from), 0);
    set_fields(to, {{500, 1}, {3, 3}});
    EXPECT_EQ(rzl_init_header_from(from, to), 0);
    EXPECT_EQ(field_of(to, 507), 8);
    rzl_close(from);
    rzl_close(to);
}
