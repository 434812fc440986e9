// Loading rasters into planes, and appliques.
#include "common/failures.h"
#include "surface/applique.h"
#include "surface/paths.h"
#include "surface_fixture.h"

namespace {

class Load : public SurfaceFixture {
protected:
    void check_pixels(const raster_image* image, int seed) const {
        size_t at = 0;
        for (int32_t y = 0; y < image->height; ++y) {
            for (int32_t x = 0; x < image->width; ++x, ++at) {
                ASSERT_EQ(image->red[at], raster_byte(seed, x, y, 0)) << x << "," << y;
                ASSERT_EQ(image->green[at], raster_byte(seed, x, y, 1));
                ASSERT_EQ(image->blue[at], raster_byte(seed, x, y, 2));
            }
        }
    }
    void expect_size(const std::string& path, int32_t max_width, int32_t max_height, int32_t width, int32_t height) {
        raster_image* image = load_image(path.c_str(), max_width, max_height);
        ASSERT_NE(image, nullptr);
        EXPECT_EQ(image->width, width);
        EXPECT_EQ(image->height, height);
        check_pixels(image, 3);
        raster_image_free(image);
    }
};

} // namespace

TEST_F(Load, TheTopLeftCornerOrABottomUpFileWhole) {
    std::string down = write_raster("down.rgb", 20, 10, 3);
    std::string up = write_raster("up.rgb", 20, 10, 3, 6);
    expect_size(down, 100, 100, 20, 10);
    expect_size(down, 7, 4, 7, 4);
    expect_size(down, 7, 100, 7, 10);
    expect_size(up, 7, 4, 20, 10);
}

TEST_F(Load, LooksHereAndAmongTheProductsImages) {
    std::filesystem::create_directories(directory + "/images");
    write_raster("images/only.rgb", 5, 5, 3);
    raster_image* image = load_image("elsewhere/only.rgb", 8, 8);
    ASSERT_NE(image, nullptr);
    EXPECT_EQ(std::string(image->name), directory + "\\images\\only.rgb");
    raster_image_free(image);
    EXPECT_EQ(load_image("/INMEM/12345", 8, 8), nullptr);
    EXPECT_EQ(messages.back(), "load_image : failed to open \"/INMEM/12345\" for read");
}

TEST_F(Load, SixteenBitsGiveTheirHighBytes) {
    for (const char* name : {"deep.rgb", "deep.tif"}) {
        CFILE* file = rzl_open_w(path(name).c_str());
        ASSERT_NE(file, nullptr);
        int32_t standard = name[5] == 't' ? RZL_STANDARD_TIFF : RZL_STANDARD_KRVN;
        for (auto [field, value] : {std::pair{500, standard}, {3, int32_t{RZL_FORMAT_INT16}}, {1, 21}, {2, 9}})
            ASSERT_EQ(rzl_set_hdr_data(file, field, &value), 0);
        std::vector<uint16_t> line(21);
        for (int y = 0; y < 9; ++y) {
            for (int x = 0; x < 21; ++x)
                line[static_cast<size_t>(x)] = static_cast<uint16_t>((x * 11 + y) << 8 | 0xA7);
            ASSERT_EQ(rzl_putline(file, line.data()), 0);
        }
        ASSERT_EQ(rzl_finish(file), 0u);
        raster_image* image = load_image(path(name).c_str(), 8, 100);
        ASSERT_NE(image, nullptr) << name;
        EXPECT_EQ(image->width, 8);
        for (int32_t i = 0; i < 8 * 9; ++i) {
            EXPECT_EQ(image->red[i], i % 8 * 11 + i / 8) << name;
            EXPECT_EQ(image->blue[i], image->red[i]);
        }
        raster_image_free(image);
    }
}

TEST_F(Load, InksGiveTheColoursThatTheyLeave) {
    for (int32_t standard : {RZL_STANDARD_TIFF, RZL_STANDARD_KRVN}) { // the other has four channels of no meaning
        CFILE* file = rzl_open_w(path("inks").c_str());
        ASSERT_NE(file, nullptr);
        for (auto [field, value] : {std::pair{500, standard}, {3, int32_t{RZL_FORMAT_FOUR}}, {1, 3}, {2, 1}})
            ASSERT_EQ(rzl_set_hdr_data(file, field, &value), 0);
        uint8_t cyan[] = {0, 255, 100}, magenta[] = {0, 0, 50}, yellow[] = {255, 0, 0}, black[] = {0, 0, 127};
        void* channels[] = {cyan, magenta, yellow, black};
        ASSERT_EQ(rzl_putline_channels(file, 4, channels), 0);
        ASSERT_EQ(rzl_finish(file), 0u);
        raster_image* image = load_image(path("inks").c_str(), 8, 8);
        ASSERT_NE(image, nullptr);
        const bool mixed = standard == RZL_STANDARD_TIFF;
        const uint8_t red[] = {255, 0, 78}, green[] = {255, 255, 103}, blue[] = {0, 255, 128};
        EXPECT_EQ(std::memcmp(image->red, mixed ? red : cyan, 3), 0);
        EXPECT_EQ(std::memcmp(image->green, mixed ? green : magenta, 3), 0);
        EXPECT_EQ(std::memcmp(image->blue, mixed ? blue : yellow, 3), 0);
        raster_image_free(image);
    }
}

TEST_F(Load, ACutFileOrAWildHeaderGivesNothing) {
    std::string path = write_raster("a.rgb", 20, 10, 3);
    std::filesystem::resize_file(path, std::filesystem::file_size(path) - 1);
    EXPECT_EQ(load_image(path.c_str(), 100, 100), nullptr);
    EXPECT_EQ(messages.back(), "load_image : failed to open \"" + path + "\" for read");
    std::string wild = write_raster("wild.rgb", 20, 10, 3);
    std::fstream file(wild, std::ios::in | std::ios::out | std::ios::binary);
    file.seekp(184);
    file.write("\xFF\xFF\xFF\x00\xFF\xFF\xFF\x00", 8);
    file.close();
    EXPECT_EQ(load_image(wild.c_str(), INT32_MAX, INT32_MAX), nullptr);
}

TEST_F(Load, EveryFailedAllocationOrReadIsNamed) {
    const std::string path = write_raster("a.rgb", 40, 30, 3);
    raster_image* image = nullptr;
    const auto check = [&](bool hit) {
        if (image != nullptr)
            check_pixels(image, 3); // a failure that was got over changed nothing
        else
            EXPECT_TRUE(hit && messages.size() == 1);
        raster_image_free(image);
        messages.clear();
    };
    sweep_failures(
        ALL_FAILURES, [&] { image = load_image(path.c_str(), 100, 100); }, check);
}

TEST_F(Load, PlacementTurnsAboutTheMiddle) {
    applique a = {};
    auto s_at = [&](double u, double v) { return a.a2 * (u - a.a0) + a.a6 + a.a3 * (v - a.a1); };
    auto t_at = [&](double u, double v) { return a.a4 * (u - a.a0) + a.a7 + a.a5 * (v - a.a1); };
    ASSERT_TRUE(applique_set_placement(&a, 0, 0, 1));
    EXPECT_EQ(s_at(1234, 99), 1234);
    EXPECT_EQ(t_at(1234, 99), 99);
    ASSERT_TRUE(applique_set_placement(&a, 0, 1, 1));
    EXPECT_EQ(s_at(1000, 0), 65536 - 1000);
    ASSERT_TRUE(applique_set_placement(&a, 90, 0, 2));
    EXPECT_NEAR(s_at(0, 40000), 32768 + (40000 - 32768) / 2.0, 1e-6);
    EXPECT_NEAR(t_at(40000, 0), 32768 - (40000 - 32768) / 2.0, 1e-6);
    for (double size : {0.0, 5e-324})
        EXPECT_FALSE(applique_set_placement(&a, 0, 0, size));
    EXPECT_FALSE(messages.empty());
}

TEST_F(Load, AppliquesAreEqualWhenTheySayTheSame) {
    applique* a = applique_new();
    applique* b = applique_new();
    a->is_color = b->is_color = 1;
    a->a0 = 0.1 + 0.2;
    b->a0 = 0.3;
    EXPECT_EQ(applique_equal(a, b), 0); // they differ in the last place
    b->a0 = a->a0;
    b->a7 = 5; // plays no part in a colour
    EXPECT_EQ(applique_equal(a, b), 1);
    EXPECT_EQ(applique_equal(a, nullptr), 0);
    EXPECT_EQ(applique_equal(nullptr, nullptr), 1);
    a->is_color = b->is_color = 0;
    b->a7 = 0;
    a->file = mem_copy_text("Oak.rgb");
    b->file = mem_copy_text("oak.rgb");
    EXPECT_EQ(applique_equal(a, b), 0);
    applique_free(a);
    EXPECT_EQ(applique_new(), a); // used again
    EXPECT_EQ(a->file, nullptr);
    applique_free(a);
    applique_free(b);
    applique_free_all();
    EXPECT_EQ(mem_live(), live_before);
}
