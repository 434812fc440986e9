// Places for forms beside others.
#include <gtest/gtest.h>

#include "desktop/placeform.h"

TEST(PlaceForm, StandsClearOfOthersWhereThereIsRoom) {
    const place_box screen = {0, 0, 999, 799};
    const place_box docked[] = {{700, 0, 999, 799}, {0, 600, 699, 799}};
    const struct {
        int count, width, height, mode, x, y;
    } cases[] = {
        {0, 400, 200, PLACE_CENTERED, 300, 300},
        {2, 400, 200, PLACE_CENTERED, 300, 300}, // is free there already
        {2, 500, 500, PLACE_CENTERED, 200, 100}, // the least way
        {2, 800, 500, PLACE_CENTERED, 100, 150}, // nothing is free
        {2, 100, 100, PLACE_RIGHT | PLACE_BOTTOM, 600, 500},
        {2, 100, 100, PLACE_LEFT | PLACE_TOP, 0, 0},
        {2, 100, 100, PLACE_MIDDLE | PLACE_LEFT, 300, 250},
    };
    for (const auto& c : cases) {
        int x = -1, y = -1;
        place_find(&screen, docked, c.count, c.width, c.height, c.mode, &x, &y);
        EXPECT_EQ(x, c.x) << c.width << " " << c.mode;
        EXPECT_EQ(y, c.y) << c.width << " " << c.mode;
    }
    // Of two free regions the smaller one.
    const place_box post[] = {{300, 0, 349, 799}};
    int x = -1, y = -1;
    place_find(&screen, post, 1, 100, 100, PLACE_SMALLEST | PLACE_LEFT, &x, &y);
    EXPECT_EQ(x, 0);
    place_find(&screen, post, 1, 400, 100, PLACE_LEFT, &x, &y);
    EXPECT_EQ(x, 350);
}
