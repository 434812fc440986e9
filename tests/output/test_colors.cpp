// Colour reduction and conversion: the table and the mapping against a plain rendering of the method with lists, the
// conversions, who owns what, and stops and failures at every point.
#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <list>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "common/failures.h"
#include "common/pictures.h"
#include "output_fixture.h"
#include "support/memory.h"

namespace {

// ---- the method, with lists ----------------------------------------------------------------------------------------

using color = std::array<int, 3>;

struct box {
    color low, high;
    int slots;
    std::list<std::pair<color, int>> colors; // with their pixels
    int size() const { return static_cast<int>(colors.size()); }
};

color pixel_of(const picture& p, size_t i) {
    return {p.channels[0][i], p.channels[1][i], p.channels[2][i]};
}

box root_box(const picture& p, int wanted) {
    std::map<color, int> colors;
    for (size_t i = 0; i < p.channels[0].size(); ++i)
        ++colors[pixel_of(p, i)];
    box root = {{0, 0, 0}, {255, 255, 255}, std::min(wanted, static_cast<int>(colors.size())), {}};
    for (const auto& c : colors)
        root.colors.push_front(c);
    return root;
}

std::vector<box> split(const box& b) {
    std::vector<box> children(8, {b.low, b.high, 0, {}});
    for (size_t k = 0; k < 8; ++k) {
        for (size_t c = 0; c < 3; ++c) {
            int middle = (b.high[c] + b.low[c]) >> 1;
            bool upper = (k >> (2 - c) & 1) != 0;
            (upper ? children[k].low : children[k].high)[c] = upper ? middle + 1 : middle;
        }
    }
    for (const auto& item : b.colors) {
        size_t k = 0;
        for (size_t c = 0; c < 3; ++c)
            k = 2 * k + (item.first[c] > children[0].high[c] ? 1 : 0);
        children[k].colors.push_front(item);
    }
    int sum = 0;
    for (box& child : children) {
        int share = static_cast<int>(static_cast<double>(b.slots) / b.size() * child.size() + 1.5);
        child.slots = child.size() == 0 ? 0 : std::min(child.size(), share);
        sum += child.slots;
    }
    for (; sum > b.slots; --sum) {
        auto poorer = [](const box& x, const box& y) {
            return x.slots != y.slots ? x.slots < y.slots : x.size() > y.size();
        };
        --std::max_element(children.begin(), children.end(), poorer)->slots;
    }
    return children;
}

color mean_of(const box& b) {
    double total = 0;
    for (const auto& item : b.colors)
        total += item.second;
    color mean;
    for (size_t c = 0; c < 3; ++c) {
        double sum = 0;
        for (const auto& item : b.colors)
            sum += item.second / total * item.first[c];
        mean[c] = static_cast<int>(std::min(sum + 0.5, 255.0));
    }
    return mean;
}

size_t nearest(const std::vector<color>& table, const color& to) {
    auto distance = [&](const color& e) {
        int sum = 0;
        for (size_t c = 0; c < 3; ++c)
            sum += (e[c] - to[c]) * (e[c] - to[c]);
        return sum;
    };
    auto nearer = [&](const color& x, const color& y) { return distance(x) < distance(y); };
    return static_cast<size_t>(std::min_element(table.begin(), table.end(), nearer) - table.begin());
}

std::vector<color> pick(const picture& p, int wanted) {
    std::vector<color> table;
    std::vector<box> stack = {root_box(p, wanted)};
    while (!stack.empty()) {
        box b = stack.back();
        stack.pop_back();
        if (b.slots == 1) table.push_back(mean_of(b));
        if (b.slots < 2) continue;
        for (box& child : split(b)) {
            if (child.slots > 0) stack.push_back(child);
        }
    }
    std::swap(table[0], table[nearest(table, {0, 0, 0})]);
    std::swap(table.back(), table[nearest(table, {255, 255, 255})]);
    return table;
}

// Adds the shares of an error at x to this row of one channel and the next.
void spread(std::vector<int16_t> rows[2], size_t x, int error) {
    int m = std::abs(error);
    int right = (m >> 1) - (m >> 4);
    int below = 5 * m >> 4;
    int left = 3 * m >> 4;
    auto add = [&](int16_t& to, int share) { to = static_cast<int16_t>(to + (error < 0 ? -share : share)); };
    add(rows[0][x + 2], right);
    add(rows[1][x], left);
    add(rows[1][x + 1], below);
    add(rows[1][x + 2], m - right - below - left);
}

plane map_pixels(const picture& p, const std::vector<color>& table, bool diffuse) {
    auto width = static_cast<size_t>(p.width);
    std::vector<int16_t> rows[3][2];
    plane index;
    for (size_t i = 0; i < p.channels[0].size(); ++i) {
        size_t x = i % width;
        for (auto& row : rows) {
            if (x > 0) continue;
            row[0] = i == 0 ? std::vector<int16_t>(width + 2) : row[1];
            row[1].assign(width + 2, 0);
        }
        color value = pixel_of(p, i);
        color corner;
        for (size_t c = 0; c < 3; ++c) {
            value[c] = std::clamp(value[c] + (diffuse ? rows[c][0][x + 1] : 0), 0, 255);
            corner[c] = value[c] & ~7;
        }
        index.push_back(static_cast<uint8_t>(nearest(table, corner)));
        for (size_t c = 0; c < 3; ++c)
            spread(rows[c], x, value[c] - table[index.back()][c]);
    }
    return index;
}

// ---- pictures ------------------------------------------------------------------------------------------------------

uint32_t next_random(uint32_t* seed) {
    *seed = *seed * 1664525 + 1013904223;
    return *seed >> 8;
}

// Slopes with noise of the given size: small noise gives a few colours in bands, large noise fills the cube.
picture make_picture(int32_t width, int32_t height, uint32_t noise) {
    picture p = {width, height, {}};
    uint32_t seed = 5 + noise;
    for (int32_t y = 0; y < height; ++y) {
        for (int32_t x = 0; x < width; ++x) {
            const int base[3] = {x * 255 / width, y * 255 / height, (x + y) * 255 / (width + height)};
            for (size_t c = 0; c < 3; ++c) {
                int value = base[c] + static_cast<int>(next_random(&seed) % noise) - static_cast<int>(noise / 2);
                p.channels[c].push_back(static_cast<uint8_t>(std::max(0, std::min(255, value))));
            }
        }
    }
    return p;
}

// A few pixels of a few values near each other: many means of them lie at a half.
picture make_small_picture(uint32_t seed) {
    picture p = {2 + static_cast<int32_t>(seed % 5), 3, {}};
    auto low = next_random(&seed) % 240;
    uint32_t step = 1 + next_random(&seed) % 4;
    for (plane& c : p.channels) {
        for (int32_t i = 0; i < p.width * p.height; ++i)
            c.push_back(static_cast<uint8_t>(low + step * (next_random(&seed) % 4)));
    }
    return p;
}

void expect_reduced(picture p, int colors, bool diffuse) {
    std::vector<color> table = pick(p, colors);
    Impack* pack = pack_of(&p);
    ASSERT_EQ(imp_make_vlt(pack, diffuse ? 0 : 1, colors, 0.0, 0, 0, nullptr, 0, 0, nullptr), IMP_OK);
    ASSERT_EQ(static_cast<size_t>(pack->vlt_count), table.size());
    for (size_t i = 0; i < table.size(); ++i) {
        const rzl_vlt_entry& e = pack->vlt[i];
        EXPECT_EQ(e.slot, i);
        EXPECT_EQ((color{e.red, e.green, e.blue}), table[i]) << i;
    }
    EXPECT_EQ(plane(pack->index_plane, pack->index_plane + pack->pixels), map_pixels(p, table, diffuse));
    imp_free(&pack);
}

int convert(Impack* pack, int32_t standard, int32_t format, int32_t mode, int32_t colors, double gamma) {
    return imp_convert(pack, standard, format, mode, 0, 0, colors, gamma, 0, 0, nullptr, 0, 0, nullptr);
}

class Colors : public testing::Test {
protected:
    void SetUp() override { live = mem_live(); }
    void TearDown() override {
        imp_set_pending_events(nullptr);
        imp_planes_shared = 0;
        EXPECT_EQ(mem_live(), live);
    }
    long live = 0;
};

} // namespace

TEST_F(Colors, TablesAndIndicesAreThoseOfTheMethod) {
    for (uint32_t noise : {1U, 9U, 60U, 600U}) {
        for (int colors : {1, 2, 7, 100, 256}) {
            SCOPED_TRACE(std::to_string(noise) + " " + std::to_string(colors));
            expect_reduced(make_picture(97, 61, noise), colors, true);
            expect_reduced(make_picture(97, 61, noise), colors, false);
        }
    }
    expect_reduced(make_picture(1, 300, 60), 16, true);
    expect_reduced(make_picture(300, 1, 60), 16, true);
    expect_reduced({4, 1, {{9, 9, 9, 9}, {9, 9, 9, 9}, {200, 200, 200, 200}}}, 256, true);
    expect_reduced({4, 1, {{255, 254, 255, 254}, {255, 255, 254, 254}, {255, 255, 255, 254}}}, 256, true);
}

// Where the mean of a box is a half, the order in which its shares are added decides how it is rounded.
TEST_F(Colors, MeansAtAHalfAreRoundedAsTheirSumComesOut) {
    for (uint32_t seed = 0; seed < 400; ++seed) {
        SCOPED_TRACE(seed);
        expect_reduced(make_small_picture(seed), seed % 16 == 0 ? 1 : 2 + static_cast<int>(seed % 5), false);
    }
    picture far_apart = {6, 1, {{0, 255, 0, 255, 0, 255}, {0, 255, 7, 250, 0, 255}, {1, 254, 3, 252, 5, 250}}};
    expect_reduced(far_apart, 1, true); // one box of all
    picture all = {256, 256, {}};
    for (int i = 0; i < 256 * 256; ++i) {
        all.channels[0].push_back(static_cast<uint8_t>(i));
        all.channels[1].push_back(static_cast<uint8_t>(255 - i));
        all.channels[2].push_back(static_cast<uint8_t>(i >> 8));
    }
    expect_reduced(all, 1, false);
    expect_reduced(all, 4, false);
}

TEST_F(Colors, TheTableGoesThroughTheGamma) {
    picture p = {3, 1, {{0, 128, 255}, {0, 128, 255}, {0, 128, 255}}};
    const struct {
        double gamma;
        int middle, high;
    } cases[] = {{1.0, 32896, 65535}, {2.0, 46431, 65535}, {0.0, 128, 255}, {10.0, 128, 255}};
    for (const auto& c : cases) {
        Impack* pack = pack_of(&p);
        ASSERT_EQ(convert(pack, RZL_STANDARD_GIF, RZL_FORMAT_BYTE_RUNS, 1, 256, c.gamma), IMP_OK);
        EXPECT_EQ(pack->vlt_count, 3);
        EXPECT_EQ(pack->red_plane, nullptr);
        EXPECT_EQ(pack->vlt[0].red, 0);
        EXPECT_EQ(pack->vlt[1].green, c.middle);
        EXPECT_EQ(pack->vlt[2].blue, c.high);
        EXPECT_EQ(plane(pack->index_plane, pack->index_plane + 3), (plane{0, 1, 2}));
        EXPECT_EQ(pack->standard, RZL_STANDARD_GIF);
        imp_free(&pack);
    }
}

TEST_F(Colors, PlanesToGreyAndThroughTheGamma) {
    picture p = {4, 1, {{0, 255, 100, 255}, {0, 255, 50, 0}, {0, 255, 200, 0}}};
    const struct {
        int32_t standard, colors;
        double gamma;
        plane wanted;
        int third; // entry of the table, on the scale 0 to 65535
    } cases[] = {{RZL_STANDARD_KRVN, 256, 1.0, {0, 255, 95, 77}, 0},
                 {RZL_STANDARD_KRVN, 2, 1.0, {0, 255, 0, 0}, 0},
                 {RZL_STANDARD_KRVN, 256, 2.0, {0, 255, 155, 140}, 0},
                 {RZL_STANDARD_ICO, 16, 1.0, {0, 15, 6, 5}, 8738}, // pixels of 4 bits: levels stand in a table
                 {RZL_STANDARD_ICO, 4, 2.0, {0, 3, 1, 1}, 53509}};
    for (const auto& c : cases) {
        Impack* pack = pack_of(&p);
        ASSERT_EQ(convert(pack, c.standard, RZL_FORMAT_BYTE, IMP_COLOR_GREY, c.colors, c.gamma), IMP_OK);
        EXPECT_EQ(plane(pack->index_plane, pack->index_plane + 4), c.wanted) << c.colors << " " << c.gamma;
        EXPECT_EQ(pack->vlt_count, c.third != 0 ? c.colors : 0);
        if (c.third != 0) {
            EXPECT_EQ(pack->vlt[2].green, c.third);
        }
        imp_free(&pack);
    }
    Impack* pack = pack_of(&p);
    ASSERT_EQ(convert(pack, RZL_STANDARD_KRVN, RZL_FORMAT_RGB, 1, 0, 1.0), IMP_OK);
    EXPECT_EQ(p.channels[0], (plane{0, 255, 100, 255}));
    for (double gamma : {2.0, 0.0, -1.0, std::nan("")})
        ASSERT_EQ(convert(pack, RZL_STANDARD_KRVN, RZL_FORMAT_RGB, 1, 0, gamma), IMP_OK); // whatever comes, in bounds
    imp_free(&pack);
}

// One plane, with a table of two entries or without one, to every kind of target; with 0 colours where none are asked
// for. The planes are the caller's or the pack's.
TEST_F(Colors, OnePlaneInEveryDirection) {
    const plane indices = {0, 1, 200};
    const rzl_vlt_entry entries[2] = {{0, 0xFF00, 0, 0x0100}, {1, 0x80FF, 0x4000, 0xFFFF}};
    const struct {
        bool has_table;
        int32_t format, mode, colors;
        int result;
        plane blue_or_index;
        int32_t entries;
    } cases[] = {
        {false, 28, 1, 0, IMP_OK, {0, 1, 200}, 0}, // grey to colour
        {true, 28, 1, 0, IMP_OK, {1, 255, 0}, 0},  // through the table
        {true, 2, 2, 4, IMP_OK, {85, 85, 0}, 0},   // 77 and 121 of 255 in four levels
        {true, 2, 2, 1, IMP_BAD_FLAG, {0, 1, 200}, 2},  {false, 2, 1, 4, IMP_OK, {0, 0, 2}, 4},   // a ramp of four
        {false, 2, 1, 0, IMP_BAD_FLAG, {0, 1, 200}, 0}, {false, 2, 2, 0, IMP_OK, {0, 1, 200}, 0}, // grey stays grey
        {true, 29, 1, 0, IMP_OK, {0, 1, 200}, 2},                                                 // and mapped mapped
    };
    for (int shared : {0, 1}) {
        for (const auto& c : cases) {
            SCOPED_TRACE(std::to_string(shared) + " " + std::to_string(&c - cases));
            Impack* pack = nullptr;
            ASSERT_EQ(imp_alloc(&pack), IMP_OK);
            imp_planes_shared = shared;
            pack->xsize = 3;
            pack->pixels = 3;
            pack->ysize = 1;
            uint8_t* index = pack->index_plane = mem_new_array<uint8_t>(3);
            std::copy(indices.begin(), indices.end(), index);
            rzl_vlt_entry* vlt = c.has_table ? mem_new_array<rzl_vlt_entry>(2) : nullptr;
            if (c.has_table) std::copy(entries, entries + 2, vlt);
            pack->vlt = vlt;
            pack->vlt_count = c.has_table ? 2 : 0;
            EXPECT_EQ(convert(pack, RZL_STANDARD_KRVN, c.format, c.mode, c.colors, 1.0), c.result);
            EXPECT_EQ(pack->format, c.result == IMP_OK ? c.format : -1);
            const uint8_t* made = pack->index_plane != nullptr ? pack->index_plane : pack->blue_plane;
            EXPECT_EQ(plane(made, made + 3), c.blue_or_index);
            EXPECT_EQ(pack->vlt_count, c.entries);
            if (c.entries == 4) {
                EXPECT_EQ(pack->vlt[1].red, 21845);
            }
            imp_free(&pack);
            if (shared == 0) continue;
            EXPECT_EQ(plane(index, index + 3), indices); // the caller's, as it was
            mem_free(index);
            mem_free(vlt);
        }
    }
}

TEST_F(Colors, RequestsAreMadeConsistentOrRefused) {
    const struct {
        int32_t standard, format, compressed, depth, colors; // asked
        int32_t result, out_format, out_depth, out_colors;
    } cases[] = {
        {0, 27, 1, 24, 77, 0, 27, 24, 0},  {0, 30, 0, 24, 1, 0, 2, 8, 256},    {2, 28, 0, 24, 16, 0, 29, 8, 16},
        {4, 27, 1, 24, 300, 0, 28, 24, 0}, {4, 29, 1, 24, 300, 0, 29, 8, 256}, {99, 27, 1, 24, 5, -1, 27, 24, 5},
        {6, 29, 0, 8, 16, 0, 29, 8, 16},   {6, 28, 0, 24, 0, 0, 27, 24, 0},    {23, 28, 0, 24, 0, 0, 27, 24, 0},
        {9, 27, 1, 24, 0, 0, 2, 8, 16}, // whose table has 16 entries
    };
    for (auto c : cases) {
        int32_t gray = 1;
        if ((c.standard == RZL_STANDARD_JFIF || c.standard == RZL_STANDARD_PNG) && !is_built(c.standard)) {
            c.result = -1;
            c.out_format = c.format;
            c.out_depth = c.depth;
            c.out_colors = c.colors;
        }
        EXPECT_EQ(imp_normalise(c.standard, &c.format, &c.compressed, &c.depth, &gray, &c.colors), c.result);
        EXPECT_EQ((std::vector<int32_t>{c.format, c.depth, c.colors}),
                  (std::vector<int32_t>{c.out_format, c.out_depth, c.out_colors}));
    }
    picture p = make_picture(8, 8, 9);
    Impack* pack = pack_of(&p);
    EXPECT_EQ(convert(pack, 99, 29, 1, 16, 1.0), IMP_BAD_STANDARD);
    EXPECT_EQ(convert(pack, 2, 28, 1, 16, 1.0), IMP_BAD_FORMAT);
    for (int32_t mode : {1, IMP_COLOR_GREY}) {
        for (int32_t colors : {0, 1, 257})
            EXPECT_EQ(convert(pack, 2, 29, mode, colors, 1.0), IMP_BAD_FLAG);
    }
    EXPECT_EQ(convert(nullptr, 2, 29, 1, 16, 1.0), IMP_NULL_PACK);
    pack->green_plane = nullptr;
    EXPECT_EQ(convert(pack, 2, 29, IMP_COLOR_GREY, 16, 1.0), IMP_BAD_PACK);
    EXPECT_EQ(imp_make_vlt(pack, 0, 16, 1.0, 0, 0, nullptr, 0, 0, nullptr), IMP_BAD_PACK);
    pack->green_plane = p.channels[1].data();
    EXPECT_EQ(imp_convert(pack, 2, 29, 1, 0, 2, 16, 1.0, 0, 0, nullptr, 0, 0, nullptr), IMP_BAD_FLAG);
    EXPECT_EQ(pack->standard, -1);
    EXPECT_EQ(pack->vlt_count, 0);
    EXPECT_EQ(imp_convert(pack, 2, 28, 1, 1, 0, 16, 1.0, 0, 0, nullptr, 0, 0, nullptr), IMP_OK); // put right
    EXPECT_EQ(pack->format, 29);
    EXPECT_LE(pack->vlt_count, 64); // all 256 are to be had
    imp_free(&pack);
}

// The messages of a whole reduction, and a stop at each place where one can come.
TEST_F(Colors, ProgressIsToldAndEveryStopLeavesThePackAsItWas) {
    picture p = {2, 3, {{0, 255, 0, 255, 0, 255}, {0, 255, 0, 255, 0, 255}, {0, 255, 0, 255, 0, 255}}};
    Impack* pack = pack_of(&p);
    kept_messages.clear();
    ASSERT_EQ(imp_make_vlt(pack, 0, 256, 1.0, 0, 0, nullptr, 52, 2, keep_message), IMP_OK);
    std::vector<std::string> wanted = {"16Making vlt.",
                                       "32       Accumulating color data",
                                       "4       Line     1/    3\r",
                                       "4       Line     3/    3\n",
                                       "32       Picking optimal colors.",
                                       "4       COLOR   1/  2\r",
                                       "4       COLOR   2/  2\r",
                                       "4       COLOR   2/  2\n",
                                       "32       Inverting color table."};
    ASSERT_EQ(kept_messages.size(), wanted.size() + 33 + 3);
    EXPECT_EQ(kept_messages[9], "4       Percent:  0.01\r");
    EXPECT_EQ(kept_messages[41], "4       Percent: 100.00\n");
    EXPECT_EQ(kept_messages[42], "32       Mapping colors to vlt.");
    kept_messages.resize(wanted.size());
    EXPECT_EQ(kept_messages, wanted);
    imp_free(&pack);

    int code = IMP_STOPPED;
    int stops = 0;
    for (; code == IMP_STOPPED; ++stops) {
        begin_looks(stops);
        pack = pack_of(&p);
        code = imp_convert(pack, 2, 29, 1, 0, 0, 256, 1.0, 2, 1, stop_at_look, 0, 0, nullptr);
        EXPECT_EQ(imp_error, IMP_OK);
        if (code == IMP_STOPPED) {
            EXPECT_EQ(pack->red_plane, p.channels[0].data());
            EXPECT_EQ(pack->index_plane, nullptr);
            EXPECT_EQ(pack->vlt, nullptr);
            EXPECT_EQ(pack->standard, -1);
        }
        imp_free(&pack);
    }
    EXPECT_EQ(stops, 3 + 2 + 32 + 3 + 1);
}

TEST_F(Colors, EveryFailedAllocationLeavesThePackAsItWas) {
    picture p = make_picture(40, 30, 60); // with means that take the second pass
    const struct {
        int32_t standard, format, mode, colors;
        int allocations;
    } cases[] = {
        {2, 29, 1, 256, 8}, // the pack; table, indices, cells, bases, counters, inverse table and errors
        {2, 29, IMP_COLOR_GREY, 256, 2},
        {9, 2, IMP_COLOR_GREY, 16, 3}, // levels and a ramp
    };
    for (const auto& c : cases) {
        Impack* pack = nullptr;
        int code = IMP_OK;
        int failures = 0;
        auto run = [&] {
            code = imp_alloc(&pack);
            if (code == IMP_OK) code = convert(fill_pack(pack, &p), c.standard, c.format, c.mode, c.colors, 1.0);
        };
        auto check = [&](bool hit) {
            EXPECT_EQ(code, hit ? IMP_NO_MEMORY : IMP_OK);
            failures += hit ? 1 : 0;
            if (pack == nullptr) return;
            if (hit) {
                EXPECT_EQ(pack->red_plane, p.channels[0].data());
                EXPECT_EQ(pack->vlt_count, 0);
                EXPECT_EQ(pack->index_plane, nullptr);
            }
            imp_free(&pack);
        };
        sweep_failures(MEMORY_FAILURES, run, check);
        EXPECT_EQ(failures, 2 * c.allocations);
    }
}
