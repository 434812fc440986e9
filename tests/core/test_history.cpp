// Drags, undo and redo against a plain twin that stores whole copies of the planes.
#include <random>

#include "core/open_image.h"
#include "surface/patterncache.h"
#include "surface/scene.h"
#include "tnc/penpack.h"

namespace {

// What the twin knows of a moment: all bytes, and which of the candidates each pen carries (-1: the rendered state).
struct moment {
    std::vector<uint8_t> planes;
    int carried[2] = {-1, -1};
    int id = 0;
};

// What the display answers: what of the picture is looked at, and how many rows a step of a drag has time for.
pixel_grid looked_at;
bool is_looked_at;
int rows_in_time;

class History : public SurfaceFixture {
protected:
    void SetUp() override {
        SurfaceFixture::SetUp();
        std::mt19937 random(5);
        const scene made(random);
        auto* p = open_image.picture = mem_new<raster_image>();
        p->width = WIDTH;
        p->height = HEIGHT;
        for (uint8_t** plane : {&p->red, &p->green, &p->blue})
            *plane = mem_new_array<uint8_t>(WIDTH * HEIGHT);
        std::copy_n(made.red.data(), WIDTH * HEIGHT, p->red);
        std::copy_n(made.green.data(), WIDTH * HEIGHT, p->green);
        std::copy_n(made.blue.data(), WIDTH * HEIGHT, p->blue);
        open_image.tnc = random_image(random, WIDTH + 40, HEIGHT + 2); // other samples, that clamp often
        ASSERT_TRUE(span_room_init(&open_image.room, WIDTH));
        weave = write_raster("weave.rgb", 37, 21, 11);
        brick = write_raster("brick.rgb", 64, 64, 12);
        candidates = {color(1, 1, 1), color(0, 0, 0), color(1, 0.3, 0), color(0.2, 0.4, 0.9), {}, {}, {}};
        set_pattern(4, weave, 30, 0.2);
        set_pattern(5, weave, 30, 0.21);
        set_pattern(6, brick, 0, 1);
        now.planes = planes();
    }
    void TearDown() override {
        image_close();
        open_image.display = {};
        image_history_limit(HISTORY_LIMIT);
        penpack_release_scratch();
        EXPECT_EQ(mem_live(), live_before);
        SurfaceFixture::TearDown();
    }
    void set_pattern(size_t index, std::string& path, double rotation, double size) {
        candidates[index].file = path.data();
        ASSERT_TRUE(applique_set_placement(&candidates[index], rotation, 0, size));
    }
    static std::vector<uint8_t> planes() {
        std::vector<uint8_t> bytes;
        const raster_image* p = open_image.picture;
        for (const uint8_t* plane : {p->red, p->green, p->blue})
            bytes.insert(bytes.end(), plane, plane + WIDTH * HEIGHT);
        return bytes;
    }
    // A copy that apply_col_pat() may have; null without memory.
    applique* candidate(int index) const {
        applique* a = applique_new();
        if (a == nullptr) return nullptr;
        *a = candidates[size_t(index)];
        if (a->file != nullptr) a->file = mem_copy_text(a->file);
        return a;
    }
    // The twin's way from one moment to another: a plain pass over a copy of all bytes.
    moment changed(const moment& from, int pen, int index) {
        moment to = from;
        int& carried = to.carried[pen - 5];
        if (carried == index) return to;
        const auto at = [&](int i) { return i < 0 ? nullptr : &candidates[size_t(i)]; };
        uint8_t* bytes = to.planes.data();
        constexpr size_t size = WIDTH * HEIGHT;
        raster_image picture = {nullptr, WIDTH, HEIGHT, bytes, bytes + size, bytes + 2 * size};
        plain_pass(&picture, open_image.tnc, pen, at(carried), at(index));
        carried = index;
        to.id = ++last_id;
        return to;
    }
    void make_step(const moment& to) {
        if (to.id == now.id) return;
        redo.clear();
        undo.push_back(now);
        now = to;
    }
    // Another part of the picture is looked at from now on, in other steps; or all of it, by nobody.
    static void look_elsewhere(std::mt19937& random) {
        const auto below = [&](int n) { return int(random() % unsigned(n)); };
        open_image.display = {};
        const int step = 1 << below(4);
        const int x = below(WIDTH) / step * step;
        const int y = below(HEIGHT / 2) / step * step;
        looked_at = {x, y, x + 1 + below(WIDTH - x), HEIGHT - below(2), step};
        is_looked_at = below(8) != 0;
        if (below(5) == 0) return;
        open_image.display.seen = [](pixel_grid* grid) {
            *grid = looked_at;
            return is_looked_at;
        };
        open_image.display.late = [] { return --rows_in_time <= 0; };
    }
    // The pixels that are looked at, of all bytes.
    static std::vector<uint8_t> seen_of(const std::vector<uint8_t>& bytes) {
        pixel_grid g = {0, 0, WIDTH, HEIGHT, 1};
        std::vector<uint8_t> seen;
        if (open_image.display.seen != nullptr && !open_image.display.seen(&g)) return seen;
        for (int plane = 0; plane < 3; ++plane)
            for (int y = g.y1; y < g.y2; y += g.step)
                for (int x = g.x1; x < g.x2; x += g.step)
                    seen.push_back(bytes[size_t((plane * HEIGHT + y) * WIDTH + x)]);
        return seen;
    }
    void step_back() {
        redo.push_back(now);
        now = undo.back();
        undo.pop_back();
    }
    void check(const moment& shown, const std::string& what) const {
        ASSERT_EQ(planes(), shown.planes) << what;
        check_seen(shown, what);
    }
    void check_seen(const moment& shown, const std::string& what) const {
        ASSERT_EQ(seen_of(planes()), seen_of(shown.planes)) << what;
        for (const int pen : {5, 6}) {
            const int index = shown.carried[pen - 5];
            const applique* expected = index < 0 ? nullptr : &candidates[size_t(index)];
            ASSERT_TRUE(applique_equal(open_image.appliques[pen], expected)) << what;
        }
        ASSERT_EQ(open_image.image_changed, shown.id != saved) << what;
        ASSERT_EQ(image_redo_count(), int(redo.size())) << what;
        ASSERT_LE(image_history_bytes(), open_image.steps.limit);
        ASSERT_LE(image_undo_count(), int(undo.size())) << what;
    }
    // Any steps that the limit has dropped are the oldest.
    void forget_dropped() { undo.erase(undo.begin(), undo.end() - image_undo_count()); }

    std::string weave, brick;
    std::vector<applique> candidates;
    moment now;
    std::vector<moment> undo, redo;
    int last_id = 0;
    int saved = 0;
};

} // namespace

TEST_F(History, AnyOrderOfDragsAndStepsIsExact) {
    std::mt19937 random(11);
    const auto below = [&](unsigned n) { return int(random() % n); };
    int drags = 0, undone = 0, redone = 0, dropped = 0, unseen = 0, late = 0;
    for (int round = 0; round < 300; ++round) {
        const std::string what = "round " + std::to_string(round);
        const int pen = 5 + below(2);
        const unsigned kinds = pen == 5 ? 7 : 4; // pen 6 takes no pattern
        switch (below(6)) {
        case 0: {
            const moment to = changed(now, pen, below(kinds));
            ASSERT_EQ(apply_col_pat(pen, candidate(to.carried[pen - 5])), 1);
            make_step(to);
            break;
        }
        case 1:
        case 2: {
            look_elsewhere(random);
            ASSERT_EQ(image_begin(pen), 1);
            moment shown = now;
            for (int i = below(6); i > 0; --i) {
                const int index = below(kinds + 1) - 1;
                if (index < 0) continue;
                shown = changed(now, pen, index);
                rows_in_time = 1 + below(2);
                ASSERT_EQ(image_preview(candidate(index)), 1);
                if (below(4) == 0) continue; // the pointer moves on
                for (; image_preview_more() != 0; ++late)
                    rows_in_time = 1 + below(2);
                check_seen(shown, what + ", preview");
                unseen += planes() != shown.planes ? 1 : 0;
                if (below(4) != 0) continue;
                image_complete();
                check(shown, what + ", completed");
            }
            ++drags;
            switch (below(4)) {
            case 0: ASSERT_EQ(image_cancel(), 1); break;
            case 1:
                ASSERT_EQ(image_commit(), shown.id != now.id ? 1 : 0);
                make_step(shown);
                break;
            case 2: // an undo and an apply end it, too
                make_step(shown);
                if (image_undo() != 0) step_back();
                break;
            default:
                make_step(shown);
                ASSERT_EQ(apply_col_pat(pen, candidate(3)), 1);
                make_step(changed(now, pen, 3));
            }
            ASSERT_FALSE(open_image.drag.is_open);
            break;
        }
        case 3:
            for (int i = below(5); i > 0 && image_undo_count() > 0; --i, ++undone) {
                ASSERT_EQ(image_undo(), 1);
                step_back();
            }
            break;
        case 4:
            for (int i = below(5); i > 0 && !redo.empty(); --i, ++redone) {
                ASSERT_EQ(image_redo(), 1);
                undo.push_back(now);
                now = redo.back();
                redo.pop_back();
            }
            break;
        default:
            if (below(4) == 0) {
                image_mark_unchanged();
                saved = now.id;
            }
            // Room for some steps, which drop out again.
            image_history_limit(size_t{10000} + size_t(below(40000)));
            redo.erase(redo.begin(), redo.end() - image_redo_count());
        }
        check(now, what);
        dropped += int(undo.size()) - image_undo_count();
        forget_dropped();
    }
    EXPECT_GT(drags, 50);
    EXPECT_GT(undone, 30);
    EXPECT_GT(redone, 10);
    EXPECT_GT(dropped, 20);
    EXPECT_GT(unseen, 50);
    EXPECT_GT(late, 20);
    while (image_undo() != 0) {
        now = undo.back();
        undo.pop_back();
    }
    EXPECT_EQ(planes(), now.planes);
}

TEST_F(History, AStepCostsThreeBytesAPixelAndOnlyWithinTheLimit) {
    size_t pixels = 0;
    for (int y = 0; y < HEIGHT; ++y)
        for (int x = 0; x < WIDTH; ++x) {
            int32_t pens[PENS_AT_PIXEL_MAX];
            const int count = pens_at_pixel(open_image.tnc, x, y, pens, PENS_AT_PIXEL_MAX);
            pixels += std::count(pens, pens + count, 5) > 0 ? 1 : 0;
        }
    ASSERT_EQ(apply_col_pat(5, candidate(0)), 1);
    EXPECT_EQ(image_history_bytes(), pixels * 3);
    // A step that finds no room leaves no way back over it.
    image_history_limit(pixels * 3);
    ASSERT_EQ(apply_col_pat(5, candidate(1)), 1);
    EXPECT_EQ(image_undo_count(), 1);
    image_history_limit(pixels * 3 - 1);
    EXPECT_EQ(image_undo_count(), 0);
    const std::vector<uint8_t> before = planes();
    ASSERT_EQ(image_begin(5), 1); // a drag goes back all the same
    ASSERT_EQ(image_preview(candidate(4)), 1);
    EXPECT_NE(planes(), before);
    ASSERT_EQ(image_cancel(), 1);
    EXPECT_EQ(planes(), before);
    ASSERT_EQ(apply_col_pat(5, candidate(2)), 1);
    EXPECT_EQ(image_undo(), 0);
    EXPECT_EQ(image_preview(candidate(3)) + image_commit() + image_cancel(), 0); // no drag is open
}

// A preview that can't be made leaves what is shown, and what is open ends with a commit.
TEST_F(History, ADragOutlivesFailuresAndEndsWhateverComesNext) {
    ASSERT_EQ(image_begin(5), 1);
    ASSERT_EQ(image_preview(candidate(2)), 1);
    const std::vector<uint8_t> shown = planes();
    std::filesystem::remove(brick);
    EXPECT_EQ(image_preview(candidate(6)), 0);
    EXPECT_EQ(planes(), shown);
    EXPECT_EQ(image_undo(), 1);
    EXPECT_EQ(planes(), now.planes);
    EXPECT_EQ(image_begin(240), 0);
}

TEST_F(History, EveryFailedAllocationLeavesAWayBackOrNone) {
    bool hit = true;
    for (long n = 0; hit; ++n) {
        mem_fail_after(n, mem_fail::once);
        int applied = 0;
        for (const int pen : {5, 6}) {
            applique* a = candidate(pen == 5 ? 4 : 2);
            if (a != nullptr && (pen == 6 || a->file != nullptr))
                applied += apply_col_pat(pen, a);
            else
                applique_free(a);
        }
        const bool begun = image_begin(5) != 0;
        applique* a = candidate(1);
        const bool previewed = a != nullptr && image_preview(a) != 0;
        if (begun && previewed) applied += image_commit();
        hit = mem_fail_stop();
        EXPECT_TRUE(hit || applied == 3) << applied;
        EXPECT_LE(image_undo_count(), applied);
        const bool whole = image_undo_count() == applied;
        while (image_undo() != 0)
            continue;
        if (whole) {
            EXPECT_EQ(planes(), now.planes) << n;
        }
        // From the beginning again, whatever was lost.
        history_clear(&open_image.steps);
        for (int c = 0; c < 3; ++c) {
            uint8_t* plane[] = {open_image.picture->red, open_image.picture->green, open_image.picture->blue};
            std::copy_n(now.planes.data() + c * WIDTH * HEIGHT, WIDTH * HEIGHT, plane[c]);
        }
        for (applique*& carried : open_image.appliques) {
            applique_free(carried);
            carried = nullptr;
        }
        applique_free_all();
        pattern_cache_clear();
    }
}
