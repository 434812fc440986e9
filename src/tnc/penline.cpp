// The decoder of packed lines. The header byte of a run picks, once, the routine that lays its samples open; whether
// the run is whole is settled once too, so the loops have no test but their count.
#include "tnc/penline.h"

#include <climits>
#include <cstring>

#include "support/bytes.h"

namespace {

// Bytes of a run, by the low four bits of its header.
struct run_layout {
    uint8_t ahead;     // ahead of the pixels, behind the count byte
    uint8_t per_pixel; // for each pixel
};

constexpr int KINDS = 16;
constexpr uint8_t KIND_MASK = PENLINE_GREY | PENLINE_CONSTANT | PENLINE_UV;
constexpr int DELTA_AHEAD = 4;

constexpr run_layout layout_of(int kind) {
    int shade = (kind & PENLINE_GREY) != 0 ? 1 : 3;
    bool constant = (kind & PENLINE_CONSTANT) != 0;
    int uv = kind & PENLINE_UV;
    int ahead = (constant ? shade : 0) + (uv == PENLINE_UV_DELTA ? DELTA_AHEAD : 0);
    int uv_bytes = uv == PENLINE_UV_LITERAL ? 4 : (uv == PENLINE_UV_DELTA ? 2 : 0);
    return {static_cast<uint8_t>(ahead), static_cast<uint8_t>((constant ? 0 : shade) + uv_bytes)};
}

struct layout_table {
    run_layout of[KINDS];
};

constexpr layout_table make_layouts() {
    layout_table table = {};
    for (int kind = 0; kind < KINDS; ++kind)
        table.of[kind] = layout_of(kind);
    return table;
}

constexpr layout_table LAYOUTS = make_layouts();

// A pixel run that is whole in the line.
struct run_item {
    int32_t x;
    int32_t count;
    int kind;             // low four bits of the header
    const uint8_t* bytes; // what follows the header and the count byte
};

// What stands at a position once skip items are passed over.
enum class found { run, end, nothing, part_of_item };

// Finds the next pixel run and moves behind it. The position stays where it is when there is none.
inline found find_item(penline_position* at, run_item* item) {
    const uint8_t* p = at->next;
    const uint8_t* end = at->end;
    int32_t x = at->x;
    while (end - p >= 2 && *p != 0) {
        uint8_t header = *p++;
        int32_t count =
            (header & PENLINE_SKIP) != 0 ? header & ~PENLINE_SKIP : (header & PENLINE_COUNT) >> PENLINE_COUNT_SHIFT;
        if (count == 0) count = *p++ + 1;
        if (x > INT32_MAX - 2 * PENLINE_RUN_MAX) return found::part_of_item; // no column is that far
        if ((header & PENLINE_SKIP) != 0) {
            x += count;
            continue;
        }
        int kind = header & KIND_MASK;
        ptrdiff_t bytes = LAYOUTS.of[kind].ahead + LAYOUTS.of[kind].per_pixel * count;
        if (end - p < bytes) return found::part_of_item;
        *item = {x, count, kind, p};
        at->next = p + bytes;
        at->x = x + count;
        return found::run;
    }
    if (p == end) return found::nothing;
    return *p == 0 ? found::end : found::part_of_item;
}

// The same for the walks: at the end of the line, whatever it is, the position moves there for good.
inline bool next_item(penline_position* at, run_item* item) {
    if (find_item(at, item) == found::run) return true;
    at->next = at->end;
    return false;
}

// The samples of a run are written in steps of so many bytes; the arrays hold a whole number of them.
constexpr int STEP = 32;
static_assert(PENLINE_RUN_MAX % STEP == 0);

void fill_steps(uint8_t* to, uint8_t value, int count) {
    for (int i = 0; i < count; i += STEP)
        std::memset(to + i, value, STEP);
}

void copy_steps(uint8_t* to, const uint8_t* from, int count) {
    for (int i = 0; i < count; i += STEP)
        std::memcpy(to + i, from + i, STEP);
}

void zero_steps(uint16_t* to, int count) {
    for (int i = 0; i < count; i += STEP)
        std::memset(to + i, 0, STEP * sizeof *to);
}

// The shades, which stand `stride` bytes apart.
template <bool GREY> void decode_shades(const uint8_t* __restrict p, int stride, penline_run* __restrict run) {
    int count = run->count;
    for (int i = 0; i < count; ++i, p += stride) {
        run->red[i] = p[0];
        if (GREY) continue;
        run->green[i] = p[1];
        run->blue[i] = p[2];
    }
    if (!GREY) return;
    copy_steps(run->green, run->red, count);
    copy_steps(run->blue, run->red, count);
}

template <bool GREY> void decode_constant_shade(const uint8_t* p, penline_run* run) {
    fill_steps(run->red, p[0], run->count);
    fill_steps(run->green, p[GREY ? 0 : 1], run->count);
    fill_steps(run->blue, p[GREY ? 0 : 2], run->count);
}

template <int STRIDE> void decode_literal_uv(const uint8_t* __restrict p, penline_run* __restrict run) {
    int count = run->count;
    for (int i = 0; i < count; ++i, p += STRIDE) {
        run->u[i] = load_u16le(p);
        run->v[i] = load_u16le(p + 2);
    }
}

// `high` are the four high bytes ahead of the pixels. The sums are taken modulo 2 to the power of 16.
template <int STRIDE>
void decode_delta_uv(const uint8_t* high, const uint8_t* __restrict p, penline_run* __restrict run) {
    int count = run->count;
    uint32_t u = static_cast<uint32_t>(high[0] << 8 | p[0]);
    uint32_t v = static_cast<uint32_t>(high[1] << 8 | p[1]);
    run->u[0] = static_cast<uint16_t>(u);
    run->v[0] = static_cast<uint16_t>(v);
    if (count == 1) return;
    p += STRIDE;
    uint32_t du = static_cast<uint32_t>(high[2] << 8 | p[0]) - u;
    uint32_t dv = static_cast<uint32_t>(high[3] << 8 | p[1]) - v;
    for (int i = 1;;) {
        u += du;
        v += dv;
        run->u[i] = static_cast<uint16_t>(u);
        run->v[i] = static_cast<uint16_t>(v);
        if (++i == count) return;
        p += STRIDE;
        du += static_cast<uint32_t>(static_cast<int8_t>(p[0]));
        dv += static_cast<uint32_t>(static_cast<int8_t>(p[1]));
    }
}

template <int KIND, bool WITH_UV> void decode_run(const uint8_t* p, penline_run* run) {
    constexpr bool grey = (KIND & PENLINE_GREY) != 0;
    constexpr bool constant = (KIND & PENLINE_CONSTANT) != 0;
    constexpr int uv = KIND & PENLINE_UV;
    constexpr int stride = layout_of(KIND).per_pixel;
    constexpr int shade_ahead = constant ? (grey ? 1 : 3) : 0;
    const uint8_t* pixels = p + layout_of(KIND).ahead;
    const uint8_t* uv_bytes = pixels + (constant ? 0 : (grey ? 1 : 3));

    if (constant) {
        decode_constant_shade<grey>(p, run);
    } else {
        decode_shades<grey>(pixels, stride, run);
    }
    if (!WITH_UV) return;
    if (uv == PENLINE_UV_DELTA) {
        decode_delta_uv<stride>(p + shade_ahead, uv_bytes, run);
    } else if (uv == PENLINE_UV_LITERAL) {
        decode_literal_uv<stride>(uv_bytes, run);
    } else {
        zero_steps(run->u, run->count);
        zero_steps(run->v, run->count);
    }
}

using run_decoder = void (*)(const uint8_t* p, penline_run* run);

// Indexed by the low four bits of a header.
template <bool WITH_UV> struct run_decoders {
    static constexpr run_decoder OF[KINDS] = {
        decode_run<0, WITH_UV>,  decode_run<1, WITH_UV>,  decode_run<2, WITH_UV>,  decode_run<3, WITH_UV>,
        decode_run<4, WITH_UV>,  decode_run<5, WITH_UV>,  decode_run<6, WITH_UV>,  decode_run<7, WITH_UV>,
        decode_run<8, WITH_UV>,  decode_run<9, WITH_UV>,  decode_run<10, WITH_UV>, decode_run<11, WITH_UV>,
        decode_run<12, WITH_UV>, decode_run<13, WITH_UV>, decode_run<14, WITH_UV>, decode_run<15, WITH_UV>,
    };
};

template <bool WITH_UV> bool take_run(penline_position* at, penline_run* run) {
    run_item item;
    if (!next_item(at, &item)) return false;
    run->x = item.x;
    run->count = item.count;
    run->constant_shade = (item.kind & PENLINE_CONSTANT) != 0;
    run_decoders<WITH_UV>::OF[item.kind](item.bytes, run);
    return true;
}

} // namespace

bool penline_next_run(penline_position* at, penline_run* run) {
    return take_run<true>(at, run);
}

bool penline_next_shades(penline_position* at, penline_run* run) {
    return take_run<false>(at, run);
}

bool penline_skip_run(penline_position* at, int32_t* x, int32_t* count) {
    run_item item;
    if (!next_item(at, &item)) return false;
    *x = item.x;
    *count = item.count;
    return true;
}

void penline_skip_to(penline_position* at, int32_t x) {
    run_item item;
    for (penline_position next = *at; next_item(&next, &item) && next.x <= x;)
        *at = next;
}

penline_content penline_examine(const pline* line) {
    penline_content content = {0, 0, false, false};
    penline_position at = penline_begin(line);
    run_item item;
    found what = find_item(&at, &item);
    for (; what == found::run; what = find_item(&at, &item)) {
        content.samples += item.count;
        if ((item.kind & PENLINE_UV) == 0) ++content.without_uv_code;
    }
    content.ends_in_item = what == found::part_of_item;
    content.has_end = what == found::end;
    return content;
}

int pline_shade_at(const pline* line, int32_t x, int32_t* red, int32_t* green, int32_t* blue) {
    if (line == nullptr) return 0;
    penline_position at = penline_begin(line);
    run_item item;
    while (at.x <= x && next_item(&at, &item)) {
        if (x < item.x) return 0;
        if (x >= item.x + item.count) continue;
        bool constant = (item.kind & PENLINE_CONSTANT) != 0;
        bool grey = (item.kind & PENLINE_GREY) != 0;
        const run_layout* layout = &LAYOUTS.of[item.kind];
        const uint8_t* shade = constant ? item.bytes : item.bytes + layout->ahead + layout->per_pixel * (x - item.x);
        *red = shade[0];
        *green = shade[grey ? 0 : 1];
        *blue = shade[grey ? 0 : 2];
        return 1;
    }
    return 0;
}
