// Turns a pack into the form that a standard and data format need.
#include <cmath>
#include <cstring>
#include <initializer_list>

#include "output/imp.h"
#include "support/checked.h"
#include "support/memory.h"

namespace {

constexpr const char* SOURCE = "IMPCNVRT.c";
constexpr double BYTE_TO_UNIT = 0.00392156862745098; // 1/255 as the tables have always been made with
constexpr double VLT_MAX = 65535.0;

// Bits of the selector.
constexpr int HAS_INDEX = 1;
constexpr int TO_8_BIT = 2;
constexpr int HAS_TABLE = 4;
constexpr int TO_MAPPED = 8;

struct request {
    int32_t standard, format, dither, colors;
    bool gray;
    double gamma;
    imp_progress progress;
};

using byte_table = uint8_t[256];

// What lies outside a byte is brought to its ends; what is no number counts as 0.
uint8_t to_byte(double value) {
    return std::isnan(value) ? uint8_t{0} : static_cast<uint8_t>(clamped(value, 0.0, 255.0));
}

bool gamma_applies(double gamma) {
    return gamma > 0.0 && gamma < 10.0;
}

int no_memory(int64_t bytes, int line) {
    return imp_fail_saying(IMP_NO_MEMORY, "Couldnt allocate %d bytes.  Line %d, File %s\n",
                           imp_printed(static_cast<size_t>(bytes)), line, SOURCE);
}

uint8_t* plane_new(const Impack* pack) {
    return static_cast<uint8_t*>(mem_alloc_zeroed(static_cast<size_t>(pack->pixels)));
}

// ---- three planes --------------------------------------------------------------------------------------------------

int correct_gamma(Impack* pack, const request* r) {
    byte_table table;
    for (int i = 0; i < 256; ++i)
        table[i] = to_byte(std::pow(i * BYTE_TO_UNIT, 1.0 / r->gamma) * 255.0 + 0.5);
    for (uint8_t* plane : {pack->red_plane, pack->green_plane, pack->blue_plane}) {
        for (int64_t i = 0; plane != nullptr && i < pack->pixels; ++i)
            plane[i] = table[plane[i]];
    }
    return IMP_OK;
}

// The weights 0.3, 0.5 and 0.2 by channel value, and the level that is stored for their sum.
struct grey_tables {
    byte_table red, green, blue, level;
};

void make_grey_tables(const request* r, grey_tables* t) {
    double step = 255.0 / (r->colors - 1);
    for (int i = 0; i < 256; ++i) {
        t->red[i] = to_byte(0.3 * i + 0.5);
        t->green[i] = static_cast<uint8_t>(i >> 1);
        t->blue[i] = to_byte(0.2 * i + 0.5);
        double level = std::floor(std::floor(i / step + 0.5) * step);
        if (gamma_applies(r->gamma)) level = std::pow(level * BYTE_TO_UNIT, 1.0 / r->gamma) * 255.0;
        t->level[i] = to_byte(level);
    }
}

uint8_t grey_of(const grey_tables* t, uint8_t red, uint8_t green, uint8_t blue) {
    int sum = t->red[red] + t->green[green] + t->blue[blue];
    return t->level[sum < 255 ? sum : 255];
}

int planes_to_grey(Impack* pack, const request* r) {
    uint8_t* plane = plane_new(pack);
    if (plane == nullptr) return no_memory(pack->pixels, __LINE__);
    grey_tables t;
    make_grey_tables(r, &t);
    for (int64_t i = 0; i < pack->pixels; ++i)
        plane[i] = grey_of(&t, pack->red_plane[i], pack->green_plane[i], pack->blue_plane[i]);
    imp_release_planes(pack);
    pack->index_plane = plane;
    pack->made |= IMP_MADE_INDEX;
    return IMP_OK;
}

int planes_to_mapped(Impack* pack, const request* r) {
    const imp_progress* p = &r->progress;
    int code = imp_make_vlt(pack, r->dither, r->colors, r->gamma, p->stop_mask, p->stop_interval, p->stop_fn,
                            p->msg_mask, p->msg_interval, p->log_fn);
    if (code == IMP_OK) imp_release_planes(pack);
    return code;
}

// ---- one plane -----------------------------------------------------------------------------------------------------

// Three planes of their own. With planes that are not shared the index plane may serve as one of them.
struct plane_set {
    uint8_t* red;
    uint8_t* green;
    uint8_t* blue;
};

bool make_planes(const Impack* pack, plane_set* planes, uint8_t* red) {
    *planes = {red != nullptr ? red : plane_new(pack), plane_new(pack), plane_new(pack)};
    if (planes->red != nullptr && planes->green != nullptr && planes->blue != nullptr) return true;
    if (red == nullptr) mem_free(planes->red);
    mem_free(planes->green);
    mem_free(planes->blue);
    return false;
}

void take_planes(Impack* pack, const plane_set* planes) {
    pack->red_plane = planes->red;
    pack->green_plane = planes->green;
    pack->blue_plane = planes->blue;
    pack->made |= IMP_MADE_PLANES;
}

int index_to_planes(Impack* pack, const request* /*r*/) {
    uint8_t* old = pack->index_plane;
    bool takes_over = imp_planes_shared == 0 || (pack->made & IMP_MADE_INDEX) != 0;
    plane_set planes;
    if (!make_planes(pack, &planes, takes_over ? old : nullptr)) return no_memory(pack->pixels, __LINE__);
    auto bytes = static_cast<size_t>(pack->pixels);
    if (!takes_over) std::memcpy(planes.red, old, bytes);
    std::memcpy(planes.green, old, bytes);
    std::memcpy(planes.blue, old, bytes);
    pack->index_plane = nullptr;
    pack->made &= ~uint32_t{IMP_MADE_INDEX};
    take_planes(pack, &planes);
    return IMP_OK;
}

// The high bytes of the table's entries, black for an index behind the last.
void channels_of_table(const Impack* pack, byte_table channels[3]) {
    for (int i = 0; i < 256; ++i) {
        const rzl_vlt_entry* entry = i < pack->vlt_count ? &pack->vlt[i] : nullptr;
        channels[0][i] = static_cast<uint8_t>(entry != nullptr ? entry->red >> 8 : 0);
        channels[1][i] = static_cast<uint8_t>(entry != nullptr ? entry->green >> 8 : 0);
        channels[2][i] = static_cast<uint8_t>(entry != nullptr ? entry->blue >> 8 : 0);
    }
}

bool expand_lines(const Impack* pack, const plane_set* planes, imp_progress* p) {
    byte_table channels[3];
    channels_of_table(pack, channels);
    int64_t i = 0;
    for (int32_t y = 0; y < pack->ysize; ++y) {
        for (int64_t end = i + pack->xsize; i < end; ++i) {
            uint8_t index = pack->index_plane[i];
            planes->red[i] = channels[0][index];
            planes->green[i] = channels[1][index];
            planes->blue[i] = channels[2][index];
        }
        if (imp_line_stops(p)) return false;
    }
    return true;
}

int expand_by_table(Impack* pack, const request* r) {
    plane_set planes;
    if (!make_planes(pack, &planes, nullptr)) return no_memory(pack->pixels, __LINE__);
    imp_progress progress = r->progress;
    if (!expand_lines(pack, &planes, &progress)) {
        mem_free(planes.red);
        mem_free(planes.green);
        mem_free(planes.blue);
        return IMP_STOPPED;
    }
    imp_release_index(pack);
    imp_release_vlt(pack);
    take_planes(pack, &planes);
    return IMP_OK;
}

// Writes table[index] for each pixel into a plane of the pack's own: the caller's, where it is shared, stays.
int map_index(Impack* pack, const byte_table table) {
    bool in_place = imp_planes_shared == 0 || (pack->made & IMP_MADE_INDEX) != 0;
    uint8_t* plane = in_place ? pack->index_plane : plane_new(pack);
    if (plane == nullptr) return no_memory(pack->pixels, __LINE__);
    for (int64_t i = 0; i < pack->pixels; ++i)
        plane[i] = table[pack->index_plane[i]];
    pack->index_plane = plane;
    if (!in_place) pack->made |= IMP_MADE_INDEX;
    return IMP_OK;
}

// Each index becomes the grey level of its entry's colour, at the scale of bytes, and the table goes.
int table_to_grey(Impack* pack, const request* r) {
    grey_tables t;
    make_grey_tables(r, &t);
    byte_table channels[3];
    channels_of_table(pack, channels);
    byte_table grey;
    for (int i = 0; i < 256; ++i)
        grey[i] = grey_of(&t, channels[0][i], channels[1][i], channels[2][i]);
    int code = map_index(pack, grey);
    if (code == IMP_OK) imp_release_vlt(pack);
    return code;
}

// A ramp of `colors` entries from 0 to 65535, through the gamma.
rzl_vlt_entry* ramp_new(const request* r) {
    int32_t last = r->colors - 1;
    auto* ramp = mem_new_array<rzl_vlt_entry>(static_cast<size_t>(r->colors));
    if (ramp == nullptr) {
        no_memory(int64_t{r->colors} * static_cast<int>(sizeof(rzl_vlt_entry)), __LINE__);
        return nullptr;
    }
    for (int32_t i = 0; i <= last; ++i) {
        double level = static_cast<double>(i) / last;
        if (gamma_applies(r->gamma)) level = std::pow(level, 1.0 / r->gamma);
        level = level * VLT_MAX + 0.5;
        auto value = static_cast<uint16_t>(level);
        ramp[i] = {static_cast<uint16_t>(i), value, value, value};
    }
    return ramp;
}

// Puts each grey level at the nearest entry of the ramp, which the pack takes over; it is gone after a failure.
int map_to_ramp(Impack* pack, const request* r, rzl_vlt_entry* ramp) {
    int32_t last = r->colors - 1;
    byte_table index;
    for (int i = 0; i < 256; ++i)
        index[i] = static_cast<uint8_t>((i * last + 127) / 255);
    int code = map_index(pack, index);
    if (code != IMP_OK) {
        mem_free(ramp);
        return code;
    }
    imp_release_vlt(pack);
    pack->vlt = ramp;
    pack->vlt_count = r->colors;
    pack->made |= IMP_MADE_VLT;
    return IMP_OK;
}

int grey_to_mapped(Impack* pack, const request* r) {
    rzl_vlt_entry* ramp = ramp_new(r);
    return ramp != nullptr ? map_to_ramp(pack, r, ramp) : static_cast<int>(IMP_NO_MEMORY);
}

// Grey for a standard whose pixels are no levels: these first, then the ramp, which has the gamma.
template <int to_grey(Impack*, const request*)> int to_grey_ramp(Impack* pack, const request* r) {
    rzl_vlt_entry* ramp = ramp_new(r);
    if (ramp == nullptr) return IMP_NO_MEMORY;
    request levels = *r;
    levels.gamma = 0.0;
    int code = to_grey(pack, &levels);
    if (code == IMP_OK) return map_to_ramp(pack, r, ramp);
    mem_free(ramp);
    return code;
}

// ---- the choice ----------------------------------------------------------------------------------------------------

using conversion = int (*)(Impack*, const request*);

// A step between levels, and an index in the pixels of the standard, ask for 2 colours and no more than they can tell.
int with_colors(Impack* pack, const request* r, conversion convert) {
    bool fits = r->colors >= 2 && r->colors <= imp_most_colors(r->standard);
    return fits ? convert(pack, r) : imp_fail(IMP_BAD_FLAG);
}

int run_selector(Impack* pack, const request* r) {
    bool to_8_bit = imp_format_is_8_bit(r->format) != 0;
    int selector = pack->index_plane != nullptr ? HAS_INDEX : 0;
    if (to_8_bit) selector |= TO_8_BIT;
    if (pack->vlt_count > 0) selector |= HAS_TABLE;
    if (to_8_bit && !r->gray) selector |= TO_MAPPED;
    if ((selector & HAS_INDEX) == 0 && imp_lacks_planes(pack)) return imp_fail(IMP_BAD_PACK);
    const bool has_levels = imp_most_colors(r->standard) == IMP_COLORS_MAX;
    switch (selector) {
    case 0: return correct_gamma(pack, r);
    case TO_8_BIT: return with_colors(pack, r, has_levels ? planes_to_grey : to_grey_ramp<planes_to_grey>);
    case TO_8_BIT | TO_MAPPED: return with_colors(pack, r, planes_to_mapped);
    case HAS_INDEX: return index_to_planes(pack, r);
    case HAS_INDEX | HAS_TABLE: return expand_by_table(pack, r);
    case HAS_INDEX | TO_8_BIT: return has_levels ? static_cast<int>(IMP_OK) : with_colors(pack, r, grey_to_mapped);
    case HAS_INDEX | TO_8_BIT | HAS_TABLE:
        return with_colors(pack, r, has_levels ? table_to_grey : to_grey_ramp<table_to_grey>);
    case HAS_INDEX | TO_8_BIT | TO_MAPPED: return with_colors(pack, r, grey_to_mapped);
    default: return IMP_OK;
    }
}

int check_pack(const Impack* pack) {
    if (pack == nullptr) return imp_fail_saying(IMP_NULL_PACK, "Null imp.  Line %d, File %s\n", __LINE__, SOURCE);
    if (pack->magic == IMP_MAGIC) return IMP_OK;
    return imp_fail_saying(IMP_BAD_PACK, "Insane imp. Line %d, File %s\n", __LINE__, SOURCE);
}

// Makes format and colours consistent when they may be put right, and tests them when not.
int settle_request(request* r, bool correct) {
    if (imp_standard_ok(r->standard) == 0) {
        return imp_fail_saying(IMP_BAD_STANDARD, "Unsupported standard: %d. Line %d, File %s.\n", r->standard, __LINE__,
                               SOURCE);
    }
    int32_t format = r->format;
    int32_t compressed = 1;
    int32_t depth = 24;
    int32_t gray = r->gray ? 1 : 0;
    int32_t colors = 0;
    imp_normalise(r->standard, &format, &compressed, &depth, &gray, &colors);
    r->gray = gray != 0;
    if (correct) {
        r->format = format;
        r->colors = colors;
    } else if (imp_format_ok(r->standard, r->format) == 0) {
        return imp_fail_saying(IMP_BAD_FORMAT, "Unsupported format: %d. Line %d, File %s.\n", r->format, __LINE__,
                               SOURCE);
    }
    return IMP_OK;
}

} // namespace

int imp_convert(Impack* pack, int32_t standard, int32_t format, int32_t color_mode, int32_t correct, int32_t dither,
                int32_t colors, double gamma, uint32_t stop_mask, int32_t stop_interval, imp_stop_function stop_fn,
                uint32_t msg_mask, int32_t msg_interval, imp_log_function log_fn) {
    request r = {standard,
                 format,
                 dither,
                 colors,
                 color_mode == IMP_COLOR_GREY,
                 gamma,
                 {stop_mask, stop_interval, stop_fn, msg_mask, msg_interval, log_fn, 0, 0}};
    int code = check_pack(pack);
    if (code != IMP_OK) return code;
    if (imp_wants(&r.progress, IMP_MESSAGE_BANNER) || imp_wants(&r.progress, IMP_MESSAGE_FLUSH)) {
        imp_tell(&r.progress, IMP_MESSAGE_BANNER | IMP_MESSAGE_FLUSH, "Converting : %s", imp_name_of(pack));
    }
    code = settle_request(&r, correct != 0);
    if (code == IMP_OK) code = run_selector(pack, &r);
    if (code != IMP_OK) return code;
    pack->standard = r.standard;
    pack->format = r.format;
    return IMP_OK;
}
