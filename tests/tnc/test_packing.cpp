// Pen lines: layers and packing against a slow twin, byte for byte, on random lines, and decoding back; the bytes of
// known lines, code that no builder makes, and the questions that walk over lines.
#include <algorithm>
#include <cstring>
#include <random>
#include <set>

#include "common/values.h"
#include "tnc/builder.h"
#include "tnc/penline.h"
#include "tnc/pline.h"
#include "tnc_fixture.h"

namespace {

struct sample {
    int x, r, g, b, u, v;
};
using layer = std::vector<sample>;

// ---- the twin --------------------------------------------------------------------------------------------------

bool twin_fit(const layer& s, int i) {
    if (i < 2) return false;
    auto at = [&](int k) { return s[static_cast<size_t>(k)]; };
    int a = at(i).u - 2 * at(i - 1).u + at(i - 2).u;
    int b = at(i).v - 2 * at(i - 1).v + at(i - 2).v;
    return std::min(a, b) >= -128 && std::max(a, b) <= 127;
}

bool twin_same(const sample& a, const sample& b) {
    return a.r == b.r && a.g == b.g && a.b == b.b;
}

std::set<int> twin_starts(const layer& s) {
    std::set<int> starts;
    int p = static_cast<int>(s.size()) - 1;
    while (p >= 0) {
        int top = p;
        int lo = std::max(0, p - 255);
        while (p >= lo && !twin_fit(s, p))
            p--;
        if (p != top) starts.insert(p + 1);
        if (p < 0) break;
        lo = std::max(0, p - 255);
        while (p >= lo && twin_fit(s, p))
            p--;
        if (p >= lo) p--;
        bool more = p == lo;
        if (p > lo) {
            more = (!twin_fit(s, p) && twin_fit(s, p - 1)) ||
                   twin_same(s[static_cast<size_t>(p)], s[static_cast<size_t>(p) + 1]);
        }
        if (more) p--;
        starts.insert(p + 1);
    }
    return starts;
}

void twin_shade(bytes* out, const sample& s, bool grey) {
    out->push_back(low(s.r));
    if (!grey) *out = *out + bytes{low(s.g), low(s.b)};
}

bytes twin_run(const layer& s, size_t from, size_t to, bool uv) {
    layer part(s.begin() + static_cast<std::ptrdiff_t>(from), s.begin() + static_cast<std::ptrdiff_t>(to));
    bool grey = std::all_of(part.begin(), part.end(), [](auto& a) { return a.r == a.g && a.g == a.b; });
    bool constant = std::all_of(part.begin(), part.end(), [&](auto& a) { return twin_same(a, part[0]); });
    int n = static_cast<int>(part.size());
    bool delta = uv && n >= 3;
    for (int i = 2; i < n; ++i)
        delta = delta && twin_fit(part, i);
    int head = (!uv ? 1 : delta ? 2 : 3) + (constant ? 4 : 0) + (grey ? 8 : 0) + (n <= 7 ? n * 16 : 0);
    bytes out = {low(head)};
    if (n > 7) out.push_back(low(n - 1));
    if (constant) twin_shade(&out, part[0], grey);
    if (delta) out = out + bytes{high(part[0].u), high(part[0].v), high(part[1].u), high(part[1].v)};
    for (size_t i = 0; i < part.size(); ++i) {
        if (!constant) twin_shade(&out, part[i], grey);
        if (uv && !delta) out = out + bytes{low(part[i].u), high(part[i].u), low(part[i].v), high(part[i].v)};
        if (delta && i < 2) out = out + bytes{low(part[i].u), low(part[i].v)};
        if (delta && i >= 2) {
            out.push_back(low(part[i].u - 2 * part[i - 1].u + part[i - 2].u));
            out.push_back(low(part[i].v - 2 * part[i - 1].v + part[i - 2].v));
        }
    }
    return out;
}

bytes twin_pack(const layer& l, bool uv) {
    bytes out;
    int position = 0;
    for (size_t i = 0; i < l.size();) {
        size_t end = i + 1;
        while (end < l.size() && l[end].x == l[end - 1].x + 1)
            ++end;
        for (int g = l[i].x - position; g > 0; g -= 256) {
            out = out + (g >= 128 ? bytes{128, low(std::min(g, 256) - 1)} : bytes{low(g | 128)});
        }
        layer stretch(l.begin() + static_cast<std::ptrdiff_t>(i), l.begin() + static_cast<std::ptrdiff_t>(end));
        std::set<int> starts = twin_starts(stretch);
        starts.insert(0);
        starts.insert(static_cast<int>(stretch.size()));
        for (auto at = starts.begin(); std::next(at) != starts.end(); ++at) {
            out = out + twin_run(stretch, static_cast<size_t>(*at), static_cast<size_t>(*std::next(at)), uv);
        }
        position = l[end - 1].x + 1;
        i = end;
    }
    out.push_back(0);
    return out;
}

// The layers by the rule itself, newest first.
std::vector<layer> twin_layers(const layer& samples) {
    std::vector<layer> layers;
    for (const sample& s : samples) {
        auto touches = [&](const layer& l) { return l.back().x == s.x - 1; };
        auto is_free = [&](const layer& l) { return l.back().x != s.x; };
        auto found = std::find_if(layers.begin(), layers.end(), touches);
        if (found == layers.end()) found = std::find_if(layers.begin(), layers.end(), is_free);
        if (found == layers.end()) found = layers.insert(layers.begin(), layer{});
        found->push_back(s);
    }
    std::reverse(layers.begin(), layers.end());
    return layers;
}

// ---- what is tested --------------------------------------------------------------------------------------------

struct packing_test : tnc_test {
    std::vector<bytes> codes; // of the last packed line, oldest layer first
    pline* chain = nullptr;

    void TearDown() override {
        pline_free_chain(chain);
        tnc_test::TearDown();
    }

    void pack(const layer& samples, bool uv) {
        pline_free_chain(chain);
        chain = nullptr;
        codes.clear();
        pen_builder* builder = builder_new(
            [](void* user, int, int, int32_t, pline* packed) { static_cast<packing_test*>(user)->chain = packed; },
            this);
        builder_set_pen(builder, 5, uv ? 1 : 0);
        for (const sample& s : samples) {
            builder_move_x(builder, s.x - builder_x(builder));
            builder_add_sample(builder, 5, low(s.r), low(s.g), low(s.b), static_cast<uint16_t>(s.u),
                               static_cast<uint16_t>(s.v));
        }
        builder_free(builder);
        for (const pline* l = chain; l != nullptr; l = l->next)
            codes.emplace_back(l->code, l->code + l->length);
    }

    static layer decode(const pline* line) {
        layer got;
        pline_decode(line, 0, &got,
                     [](void* user, int32_t x, int32_t, int32_t r, int32_t g, int32_t b, int32_t u, int32_t v) {
                         static_cast<layer*>(user)->push_back({x, r, g, b, u, v});
                     });
        return got;
    }
    static pline* line_of(const bytes& code) {
        pline* line = pline_new(static_cast<uint32_t>(code.size()));
        std::copy(code.begin(), code.end(), line->code);
        return line;
    }
    static layer decode(const bytes& code) {
        pline* line = line_of(code);
        layer got = decode(line);
        mem_free(line);
        return got;
    }
    bytes code_of(const layer& samples, bool uv) {
        pack(samples, uv);
        return codes.at(0);
    }
};

std::string show(const layer& l) {
    std::string text;
    for (const sample& s : l) {
        for (int value : {s.x, s.r, s.g, s.b, s.u, s.v})
            text += std::to_string(value) + " ";
    }
    return text;
}

// A line of stretches, each of one manner of shade and of u,v.
layer random_line(std::mt19937& random, bool uv) {
    auto roll = [&](int n) { return static_cast<int>(random() % static_cast<unsigned>(n)); };
    layer line;
    int x = roll(3) * roll(300);
    sample s = {0, 9, 9, 9, roll(65536), roll(65536)};
    int du = 0;
    for (int stretches = 1 + roll(8); stretches > 0;
         --stretches, x += roll(2) * (roll(20) == 0 ? roll(1000) : roll(4))) {
        int grey = roll(2);
        int constant = roll(3);
        int jump = roll(3) * roll(3) * 100;
        for (int n = roll(6) == 0 ? roll(700) : 1 + roll(12); n > 0; --n, ++x) {
            if (constant == 0) s.r = roll(256);
            if (grey != 0)
                s.g = s.b = s.r;
            else
                s.b = roll(5);
            du += roll(180) - 90 + (roll(20) == 0 ? jump : 0);
            s.u = uv ? (s.u + du) & 0xFFFF : 0;
            s.v = uv ? (s.v + du / 3 + roll(60)) & 0xFFFF : 0;
            s.x = x;
            for (int copies = roll(30) == 0 ? 3 : 1; copies > 0; --copies)
                line.push_back(s);
        }
    }
    return line;
}

layer grey_run(int x, int count, int shade) {
    layer run;
    for (int i = 0; i < count; ++i)
        run.push_back({x + i, shade, shade, shade, 0, 0});
    return run;
}

TEST_F(packing_test, random_lines_against_the_twin) {
    for (unsigned seed = 0; seed < 400; ++seed) {
        std::mt19937 random(seed);
        bool uv = seed % 4 != 0;
        layer line = random_line(random, uv);
        pack(line, uv);
        std::vector<layer> layers = twin_layers(line);
        ASSERT_EQ(codes.size(), layers.size()) << seed;
        const pline* packed = chain;
        for (size_t i = 0; i < layers.size(); ++i, packed = packed->next) {
            ASSERT_EQ(codes[i], twin_pack(layers[i], uv)) << seed << " " << i;
            ASSERT_EQ(show(decode(packed)), show(layers[i])) << seed << " " << i;
            size_t next = 0;
            for (int x = -1; x <= layers[i].back().x + 1; ++x) {
                int32_t shade[3] = {};
                bool here = next < layers[i].size() && layers[i][next].x == x;
                ASSERT_EQ(pline_shade_at(packed, x, &shade[0], &shade[1], &shade[2]), here ? 1 : 0) << seed << " " << x;
                if (!here) continue;
                const sample& s = layers[i][next++];
                ASSERT_TRUE(shade[0] == s.r && shade[1] == s.g && shade[2] == s.b) << seed << " " << x;
            }
        }
    }
}

TEST_F(packing_test, code_from_other_hands) {
    // Delta coding of one and two pixels; u and v that wrap; an error code that reads as no u,v.
    EXPECT_EQ(show(decode(bytes{0x1E, 9, 1, 2, 3, 4, 5, 6, 0})), "0 9 9 9 261 518 ");
    EXPECT_EQ(show(decode(bytes{0x3E, 9, 0xFF, 0, 0xFF, 0, 0xFE, 1, 0xFF, 0, 1, 0xFF, 0})),
              "0 9 9 9 65534 1 1 9 9 9 65535 0 2 9 9 9 1 65534 ");
    EXPECT_EQ(show(decode(bytes{0x81, 0x20, 1, 2, 3, 4, 5, 6, 0x1D, 8, 0})), "1 1 2 3 0 0 2 4 5 6 0 0 3 8 8 8 0 0 ");
}

// Every way of cutting a line short gives the runs that are whole, and reads nothing behind the cut.
TEST_F(packing_test, cut_code_ends_the_line) {
    bytes code = {0x80, 0x10, 0x1D, 8, 0x3B, 1, 1, 0, 2, 0, 2, 3, 0, 4, 0, 3, 5, 0, 6, 0, 0x02, 0x07, 1, 2, 3, 4};
    for (int i = 0; i < 8 * 5; ++i)
        code.push_back(low(i));
    for (size_t size = 0; size <= code.size(); ++size) {
        size_t whole = size >= code.size() ? 12 : (size >= 20 ? 4 : (size >= 4 ? 1 : 0));
        EXPECT_EQ(decode(bytes(code.begin(), code.begin() + static_cast<std::ptrdiff_t>(size))).size(), whole) << size;
    }
}

// A far column costs the file a few bytes; the packed line must not cost more than memory of the same order.
TEST_F(packing_test, columns_without_end) {
    pen_builder* builder = builder_new(
        [](void* user, int, int, int32_t, pline* packed) { static_cast<packing_test*>(user)->chain = packed; }, this);
    builder_set_pen(builder, 0, 0);
    builder_add_sample(builder, 0, 1, 1, 1, 0, 0);
    for (int i = 0; i < 40000; ++i)
        builder_move_x(builder, 65535);
    for (int i = 0; i < 3; ++i)
        builder_add_sample(builder, 0, 2, 2, 2, 0, 0);
    builder_next_line(builder);
    // The first far sample still goes through; the layers of the others are left out.
    EXPECT_EQ(builder_lost(builder)->lines, 2);
    builder_free(builder);
}

TEST_F(packing_test, known_lines_have_known_bytes) {
    // Gaps take the shortest skips, and counts move behind the header from eight on.
    const struct {
        int x, count;
        bytes code;
    } runs[] = {{127, 1, {0xFF, 0x1D, 5, 0}},
                {128, 1, {0x80, 0x7F, 0x1D, 5, 0}},
                {256, 1, {0x80, 0xFF, 0x1D, 5, 0}},
                {300, 1, {0x80, 0xFF, 0xAC, 0x1D, 5, 0}},
                {0, 7, {0x7D, 5, 0}},
                {0, 8, {0x0D, 7, 5, 0}},
                {0, 256, {0x0D, 255, 5, 0}}};
    for (const auto& r : runs)
        EXPECT_EQ(code_of(grey_run(r.x, r.count, 5), false), r.code) << r.x << " " << r.count;
    EXPECT_EQ(code_of(grey_run(0, 257, 5), false).size(), 6u); // a second run, of 256 and 1 in some order
    EXPECT_EQ(code_of({{0, 1, 2, 3, 0x1234, 0x5678}}, true), (bytes{0x17, 1, 2, 3, 0x34, 0x12, 0x78, 0x56, 0}));
    EXPECT_EQ(code_of({{0, 5, 5, 5, 0, 0}}, true), (bytes{0x1F, 5, 0, 0, 0, 0, 0}));
    // Second differences take two bytes: 100, 100, then +127; v wraps, its difference is taken on the full values and
    // does not fit.
    EXPECT_EQ(code_of({{0, 9, 9, 9, 100, 65000}, {1, 9, 9, 9, 200, 300}, {2, 9, 9, 9, 427, 1263}}, true).front(), 0x3F);
    EXPECT_EQ(code_of({{0, 9, 9, 9, 100, 1000}, {1, 9, 9, 9, 200, 900}, {2, 9, 9, 9, 427, 672}}, true),
              (bytes{0x3E, 9, 0, 3, 0, 3, 100, 0xE8, 200, 0x84, 127, 0x80, 0}));
    EXPECT_EQ(code_of({{0, 9, 9, 9, 1, 1}, {1, 9, 9, 9, 2, 2}}, true).front(), 0x2F);
}

TEST_F(packing_test, broken_code_ends_the_line) {
    std::mt19937 random(6);
    for (int round = 0; round < 20000; ++round) {
        bytes code(random() % 24);
        for (auto& byte : code)
            byte = static_cast<uint8_t>(random());
        pline* line = line_of(code);
        const layer samples = decode(line);
        int32_t shade[3];
        for (const sample& p : samples)
            pline_shade_at(line, p.x, &shade[0], &shade[1], &shade[2]);
        penline_position at = penline_begin(line);
        int32_t x = 0, count = 0;
        int64_t total = 0;
        while (penline_skip_run(&at, &x, &count))
            total += count;
        EXPECT_EQ(total, static_cast<int64_t>(samples.size()));
        mem_free(line);
    }
}

TEST_F(packing_test, what_a_line_holds_is_told_without_decoding_it) {
    const struct {
        bytes code;
        int samples, without_uv_code;
        bool ends_in_item, has_end;
    } cases[] = {
        {{0x1C, 9, 0}, 1, 1, false, true},
        {{0x82, 0x1D, 9, 0x09, 255, 1, 2, 3, 0}, 1, 0, true, false}, // 256 pixels are not there
        {{0x82, 0x0D, 255, 9, 0, 7}, 256, 0, false, true},           // what stands behind the end is nothing
        {{0x1D, 9}, 1, 0, false, false},
        {{0x80, 0x7F}, 0, 0, false, false},
        {{0x80}, 0, 0, true, false},
        {{0}, 0, 0, false, true},
        {{}, 0, 0, false, false},
    };
    for (const auto& c : cases) {
        pline* line = line_of(c.code);
        penline_content content = penline_examine(line);
        EXPECT_EQ((values{content.samples, content.without_uv_code, content.ends_in_item, content.has_end}),
                  (values{c.samples, c.without_uv_code, c.ends_in_item, c.has_end}))
            << &c - cases;
        EXPECT_EQ(decode(line).size(), static_cast<size_t>(c.samples)) << &c - cases; // read all the same
        mem_free(line);
    }
}

TEST_F(packing_test, walks_stop_and_pens_are_picked_by_strength) {
    bytes content = START;
    for (int pen = 0; pen < 30; ++pen)
        content = content + pen_record(pen, false);
    for (int pen = 0; pen < 30; ++pen)
        content = content + shade_record(pen, pen * 7 % 31 * 8);
    tnc_image* image = read(content + END, 1);
    ASSERT_NE(image, nullptr);
    int32_t pens[30];
    EXPECT_EQ(pens_at_pixel(image, 0, 0, pens, 30), PENS_AT_PIXEL_MAX);
    // The limit is on the pens looked at, from 0 up: of the first twenty the strongest comes first.
    for (int i = 1; i < PENS_AT_PIXEL_MAX; ++i)
        EXPECT_GT(pens[i - 1] * 7 % 31, pens[i] * 7 % 31);
    for (const auto& [x, y] : {std::pair{1, 0}, {0, 1}, {0, -1}})
        EXPECT_EQ(pens_at_pixel(image, x, y, pens, 30), 0) << x << " " << y;
    int calls = 0;
    auto stop = [](void* user, int32_t, int32_t, int32_t) { return ++*static_cast<int*>(user); };
    EXPECT_EQ(pen_for_each_run(image, 3, &calls, stop), 1);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(pen_for_each_run(image, 239, &calls, stop), 0);
    pen_summary summary;
    ASSERT_TRUE(pen_summarise(image, 3, &summary));
    EXPECT_EQ(summary.samples, 1);
    EXPECT_FALSE(pen_summarise(image, 200, &summary));
    tnc_free(image);
}

} // namespace
