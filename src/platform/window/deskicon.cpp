// A small window with a ball in front of it, drawn once and enlarged with round edges.
#include "platform/window/deskicon.h"

#include "platform/window/deskdata.h"

#include <algorithm>

namespace {

// clang-format off
constexpr const char* ICON[ICON_ROWS] = {
    "kkkkkkkkkkkkkkkkkkkkkkkkkkkk",
    "kwwwwwwwwwwwwwwwwwwwwwwwwwgk",
    "kwffffffffffffffffffffffffgk",
    "kwfnnnnnnnnnnnnnnnnnnnnnnfgk",
    "kwfnwwnnnnnnnnnnnnnnwnwnnfgk",
    "kwfnnnnnnnnnnnnnnnnnnnnnnfgk",
    "kwfkkkkkkkkkkkkkkkkkkkkkkfgk",
    "kwfkwwwwwwwwwwwwwwwwwwwwkfgk",
    "kwfkwwwwwwwwwwwwwwwwwwwwkfgk",
    "kwfkwwwwwwwwwwwkkkkkwwwwkfgk",
    "kwfkwwwwwwwwkkkrrrrrkkkwkfgk",
    "kwfkwwwwwwwkrrrrrrrrrrrkkfgk",
    "kwfkwwwwwwkrrrryyrrrrrrrkfgk",
    "kwfkwwwwwkrrryywwyrrrrrrdkgk",
    "kwfkwwwwwkrrrywwwyrrrrrrdkgk",
    "kwfkwwwwkrrrryywyrrrrrrrddkk",
    "kwfkwwwwkrrrrryyrrrrrrrrddkk",
    "kwfkwwwwkrrrrrrrrrrrrrrrddkk",
    "kwfkccccckrrrrrrrrrrrrrddkgk",
    "kwfkccccckrrrrrrrrrrrrdddkgk",
    "kwfkcccccckrrrrrrrrrrdddkfgk",
    "kwfkccccccckddrrrrrdddkkkfgk",
    "kwfkccccccccckkddddkkkcckfgk",
    "kwfkkkkkkkkkkkkkkkkkkkkkkfgk",
    "kwffffffffffffffffffffffffgk",
    "kggggggggggggggggggggggggggk",
    "kkkkkkkkkkkkkkkkkkkkkkkkkkkk",
};
// clang-format on

canvas_color icon_color(char letter) {
    switch (letter) {
    case 'k': return DESK_BLACK;
    case 'w': return DESK_WHITE;
    case 'f': return DESK_FACE;
    case 'g': return DESK_SHADOW;
    case 'n': return DESK_ACTIVE;
    case 'r': return canvas_rgb_color({255, 0, 0});
    case 'd': return canvas_rgb_color({128, 0, 0});
    case 'y': return canvas_rgb_color({255, 255, 0});
    default: return canvas_rgb_color({0, 128, 128});
    }
}

// The drawing, which goes on beyond its edges.
char letter_at(int x, int y) {
    return ICON[std::clamp(y, 0, ICON_ROWS - 1)][std::clamp(x, 0, ICON_WIDTH - 1)];
}

// A pixel of the drawing at twice its size. Each pixel becomes four; one of the four takes the colour of the two
// neighbours at its corner where these are alike and the opposite ones are not, so that slanting edges stay smooth.
char letter_at_twice(int x, int y) {
    const int dx = x % 2 == 0 ? -1 : 1;
    const int dy = y % 2 == 0 ? -1 : 1;
    const char own = letter_at(x / 2, y / 2);
    const char across = letter_at(x / 2 + dx, y / 2);
    const char down = letter_at(x / 2, y / 2 + dy);
    const bool corner =
        across == down && across != letter_at(x / 2, y / 2 - dy) && down != letter_at(x / 2 - dx, y / 2);
    return corner ? across : own;
}

} // namespace

canvas_color icon_pixel(int x, int y, int factor) {
    return icon_color(factor > 1 ? letter_at_twice(x, y) : letter_at(x, y));
}

void desk_set_icon() {
    constexpr int SIDE = 64; // twice the drawing, with a border that isn't seen
    constexpr int LEFT = (SIDE - 2 * ICON_WIDTH) / 2;
    constexpr int TOP = (SIDE - 2 * ICON_ROWS) / 2;
    static uint32_t pixels[SIDE * SIDE];
    for (int y = 0; y < 2 * ICON_ROWS; ++y)
        for (int x = 0; x < 2 * ICON_WIDTH; ++x) {
            const canvas_color c = icon_pixel(x, y, 2);
            pixels[(TOP + y) * SIDE + LEFT + x] = 0xFF000000u | (c & 0xFF) << 16 | (c & 0xFF00) | (c >> 16 & 0xFF);
        }
    host_set_icon(pixels, SIDE);
}
