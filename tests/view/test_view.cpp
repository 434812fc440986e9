// Zooms, origins, and what an area covers.
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <string>

#include "view/view.h"

namespace {

enum change_kind { CENTER, STEP, BOX, FIT };

struct view_case {
    change_kind kind;
    int32_t from[7]; // x1, y1, x2, y2, origin_x, origin_y, zoom
    int32_t arguments[4];
    int32_t to[3]; // zoom, origin_x, origin_y
};

constexpr view_case CASES[] = {
#include "view_cases.h"
};

view view_at(const int32_t (&n)[7]) {
    return {nullptr, 0, 0, 0, n[0], n[1], n[2], n[3], n[4], n[5], n[6]};
}

void change(const view_case& c, view* v) {
    const int32_t(&a)[4] = c.arguments;
    raster_image image = {};
    image.width = a[0];
    image.height = a[1];
    switch (c.kind) {
    case CENTER: view_center(v, a[0], a[1]); break;
    case STEP: view_zoom(v, a[0], a[1], a[2]); break;
    case BOX: view_zoom_box(v, a[0], a[1], a[2], a[3]); break;
    case FIT: view_fit(&image, v); break;
    }
}

// "column,row x1,y1-x2,y2", or "-".
std::string area_text(const view& v, int width, int height, int ix1, int iy1, int ix2, int iy2) {
    view_area a;
    if (!view_area_of(&v, width, height, ix1, iy1, ix2, iy2, &a)) return "-";
    const auto n = [](int number) { return std::to_string(number); };
    return n(a.column) + "," + n(a.row) + " " + n(a.x1) + "," + n(a.y1) + "-" + n(a.x2) + "," + n(a.y2);
}

} // namespace

TEST(View, ChangesAgreeWithExactArithmetic) {
    for (const view_case& c : CASES) {
        view v = view_at(c.from);
        change(c, &v);
        EXPECT_TRUE(v.zoom == c.to[0] && v.origin_x == c.to[1] && v.origin_y == c.to[2])
            << "case " << &c - CASES << ": " << v.zoom << ", " << v.origin_x << ", " << v.origin_y;
    }
}

// The pixel under the pointer stays under it, and the way back leads to the origin where it began, from wherever.
TEST(View, TheWheelKeepsThePointUnderThePointerAndComesBack) {
    for (const int32_t zoom : {0, 2, 64, 2048, -2, -64}) {
        view v = view_at({5, 9, 804, 608, 64, 128, zoom});
        if (zoom >= 0) v.origin_x = 61; // on no grid but its own
        const view before = v;
        const view_point point = view_point_at(&v, 333, 222);
        for (const int direction : {1, -1, -1, -1, -1, 1, 1, 1}) {
            view_zoom_at(&v, 333, 222, point, direction);
            const view_point now = view_point_at(&v, 333, 222);
            EXPECT_LE(std::fabs(now.x - point.x), std::max(1, -v.zoom)) << zoom;
            EXPECT_LE(std::fabs(now.y - point.y), std::max(1, -v.zoom)) << zoom;
        }
        EXPECT_TRUE(v.zoom == zoom && v.origin_x == before.origin_x && v.origin_y == before.origin_y) << zoom;
    }
    view v = view_at({0, 0, 99, 99, 0, 0, 4096});
    view_zoom_at(&v, 50, 50, {0, 0}, 1);
    EXPECT_EQ(v.zoom, 4096);
}

TEST(View, APartOfThePictureStaysInSight) {
    raster_image image = {};
    image.width = 100;
    image.height = 50;
    const auto kept = [&](int32_t x, int32_t y, int32_t zoom) {
        view v = view_at({10, 20, 209, 119, x, y, zoom});
        const bool seen = view_keep_in_sight(&image, &v);
        return std::to_string(v.origin_x) + "," + std::to_string(v.origin_y) + (seen ? "" : " unseen");
    };
    EXPECT_EQ(kept(-3, 7, 0), "-3,7");
    EXPECT_EQ(kept(9999, -9999, 0), "68,-68");  // 32 pixels of the screen
    EXPECT_EQ(kept(-9999, 9999, 64), "-2,49");  // a pixel of the picture
    EXPECT_EQ(kept(-9999, 9999, -4), "-700,0"); // all of it, which is less
    EXPECT_EQ(kept(0, 0, -4096), "0,0 unseen");
}

TEST(View, OriginsStayInBounds) {
    view v = view_at({0, 0, 1599, 1099, 0, 0, -8192});
    for (int i = 0; i < 500; ++i)
        view_center(&v, 1599, 0);
    EXPECT_GT(v.origin_x, 0);
    EXPECT_LT(v.origin_y, 0);
    EXPECT_EQ(area_text(v, 100, 100, 0, 0, 100, 100), "-");
}

TEST(View, AreasAreClippedToPictureAndViewport) {
    const view plain = view_at({10, 20, 109, 69, 5, -7, 0});
    EXPECT_EQ(area_text(plain, 60, 40, 0, 0, 60, 40), "5,0 10,27-64,66");
    EXPECT_EQ(area_text(plain, 900, 900, 0, 0, 900, 900), "5,0 10,27-109,69");
    EXPECT_EQ(area_text(plain, 60, 40, 8, 3, 9, 4), "8,3 13,30-13,30");
    EXPECT_EQ(area_text(plain, 60, 40, 0, 0, 5, 40), "-");   // left of the viewport
    EXPECT_EQ(area_text(plain, 60, 40, 60, 0, 70, 40), "-"); // right of the picture
    EXPECT_EQ(area_text(plain, 60, 40, -9, -9, -1, -1), "-");
    EXPECT_EQ(area_text(plain, 900, 900, 105, 0, 900, 900), "-"); // right of the viewport

    const view in = view_at({10, 20, 109, 69, 5, -7, 4});
    EXPECT_EQ(area_text(in, 60, 40, 0, 0, 60, 40), "5,0 10,48-109,69");
    EXPECT_EQ(area_text(in, 60, 40, 7, 2, 9, 3), "7,2 18,56-25,59");

    // Sampled are columns 8, 12, 16 ...: an area begins at the sample at or before it, a fraction at its end counts.
    const view out = view_at({10, 20, 109, 69, 8, -8, -4});
    EXPECT_EQ(area_text(out, 60, 40, 0, 0, 60, 40), "8,0 10,22-22,31");
    EXPECT_EQ(area_text(out, 61, 39, 0, 0, 61, 39), "8,0 10,22-23,31");
    EXPECT_EQ(area_text(out, 60, 40, 13, 5, 14, 6), "12,4 11,23-11,23");
}

TEST(View, PartsBeginAtWholePixels) {
    const view v = view_at({0, 0, 1999, 99, -25, 0, 4});
    EXPECT_EQ(area_text(v, 900, 10, 0, 0, 900, 10), "0,0 100,0-1999,39");
    view part;
    ASSERT_TRUE(view_part(&v, 202, 5, 300, 30, &part)); // begins in the middle of a pixel, which starts at 200, 4
    EXPECT_EQ(part.x1, 200);
    EXPECT_EQ(part.y1, 4);
    EXPECT_EQ(area_text(part, 900, 10, 0, 0, 900, 10), "25,1 200,4-300,30");
    EXPECT_FALSE(view_part(&v, 2000, 0, 2100, 50, &part));
}
