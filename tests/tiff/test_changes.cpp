// What becomes of fields that are set late, or that no file can keep: heights that are set after lines were put, bits
// and samples, sizes that the format has no offsets for; and what a file leaves out.
#include "tiff_fixture.h"

class Changes : public TiffTest {
protected:
    std::string file() const { return path("a.tif"); }
    static picture first_lines(const picture& p, int height) {
        picture cut = p;
        cut.height = height;
        cut.values.resize(static_cast<size_t>(p.width * height * p.samples));
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
                EXPECT_TRUE(run("tiffinfo -D a.tif >/dev/null") && said.empty()) << said;
                if (HasFailure()) return;
            }
}
