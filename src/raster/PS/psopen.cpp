// PostScript files: the program of the page, the end of the file, header fields, and the module.
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>

#include "raster/PS/ps.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "PS/psopen";

// ---- the page ------------------------------------------------------------------------------------------------------

// Size of the image on the page, in points: as large as the margins let it be.
struct page_size {
    int x, y;
};
page_size fit(int32_t width, int32_t height) {
    double by_height = static_cast<double>(PS_PAGE_SHORT) / height;
    double by_width = static_cast<double>(PS_PAGE_LONG) / width;
    double scale = by_height < by_width ? by_height : by_width;
    return {static_cast<int>(std::lround(scale * width)), static_cast<int>(std::lround(scale * height))};
}

bool write_program(CFILE* c) {
    page_size page = fit(c->xsize, c->ysize);
    char text[640];
    int size = std::snprintf(text, sizeof text,
                             "%%!PS-Adobe-2.0\n"
                             "%%%%BoundingBox: 36 36 540 720 \n"
                             "%%%%EndComments\n"
                             "currentscreen /proc exch def /angle exch def /frequency exch def\n"
                             "/angle 90 def /frequency 60 def\n"
                             "frequency angle /proc load setscreen\n"
                             "/picstr %d string def\n"
                             "/screen {%d %d 8 [%d 0 0 -%d 0 %d]\n"
                             "   {currentfile picstr readhexstring pop} image} def\n"
                             "%d %d translate 90 rotate %d %d scale screen\n",
                             c->xsize, c->xsize, c->ysize, c->xsize, c->ysize, c->ysize, PS_MIDDLE_X + (page.y >> 1),
                             PS_MIDDLE_Y - (page.x >> 1), page.x, page.y);
    return put_all(c, text, static_cast<size_t>(size), SOURCE);
}

// The first entries by the application's table, as far as it reaches. An entry's slot tells the one that has its
// colour.
void take_colors(const CFILE* c, ps_spec* spec) {
    if (c->vlt == nullptr) return;
    for (int32_t i = 0; i < spec->color_count; ++i) {
        int32_t slot = c->vlt[i].slot;
        if (slot >= spec->color_count) continue;
        const rzl_vlt_entry& color = c->vlt[slot];
        const uint16_t words[3] = {color.red, color.green, color.blue};
        for (size_t p = 0; p < 3; ++p)
            spec->colors[i][p] = static_cast<uint8_t>(words[p] >> 8);
    }
}

// A file whose header is written keeps it.
int ps_write_header(CFILE* c) {
    ps_spec* spec = ps_spec_of(c);
    if (!is_writable(c)) return refuse(c, RZL_NEEDS_WRITE, SOURCE, "Wrt_hdr");
    if (has_flag(c, FLAG_HEADER_EXISTS)) return 0;
    if (c->xsize < 1 || c->ysize < 1) return refuse(c, RZL_BAD_IMAGE_SIZE, SOURCE, "Wrt_hdr");
    mem_free(spec->text);
    spec->text = mem_new_array<uint8_t>(ps_text_bytes(c) + static_cast<size_t>(c->xsize) + 16);
    if (spec->text == nullptr) return refuse(c, RZL_NO_MEMORY, SOURCE, nullptr);
    take_colors(c, spec);
    ps_make_digits(spec);
    bool at_start = io_tell(c) == 0 || io_seek(c, 0); // a pipe can't be sought, and need not be
    if (!at_start) return refuse(c, RZL_WRITE_FAILED, SOURCE, nullptr);
    if (!write_program(c)) return 1;
    c->line = 0;
    set_flag(c, FLAG_HEADER_EXISTS, true);
    return 0;
}

void ps_close(CFILE* c) {
    constexpr char END[] = "%%Trailer\nshowpage\n";
    if (ps_spec_of(c) != nullptr && has_flag(c, FLAG_HEADER_EXISTS)) (void)put_all(c, END, sizeof END - 1, SOURCE);
}

// ---- fields --------------------------------------------------------------------------------------------------------

int ps_initialise(CFILE* c) {
    ps_spec* spec = ps_spec_of(c);
    spec->color_count = PS_COLORS;
    for (size_t i = 0; i < PS_COLORS; ++i)
        std::memset(spec->colors[i], static_cast<int>(i), 3);
    ps_make_digits(spec);
    c->format = RZL_FORMAT_BYTE;
    return format_layout(c->format, &c->samples, &c->bits) ? 0 : 1;
}

int ps_set_hdr_data(CFILE* c, int32_t field, const void* value) {
    if (has_flag(c, FLAG_HEADER_EXISTS)) return 0;
    switch (field) {
    case RZL_FIELD_FORMAT: return rzl_take_format(c, int_of(value), RZL_UNSUP_IR, SOURCE);
    case RZL_FIELD_VLT_ENTRIES: ps_spec_of(c)->color_count = int_of(value); return 0;
    default: return 0;
    }
}

int ps_set_stat(CFILE* c, const rzl_stat* stat) {
    if (stat->xsize < 0 || stat->ysize < 0) return refuse(c, RZL_BAD_FIELD_VALUE, SOURCE, "Set_stat");
    if (has_flag(c, FLAG_HEADER_EXISTS)) return 0;
    bool has_table = stat->vlt_type == RZL_VLT_ENTRIES && stat->vlt_entries > 0;
    if (has_table) ps_spec_of(c)->color_count = std::min<int32_t>(stat->vlt_entries, PS_COLORS);
    c->xsize = stat->xsize;
    c->ysize = stat->ysize;
    return 0;
}

// What has been written can't be gone back to.
int ps_seek(CFILE* c, int32_t line) {
    return line == c->line ? 0 : refuse(c, RZL_LINES_OUT_OF_ORDER, SOURCE, "seek");
}

void ps_rewind(CFILE*) {}

void ps_free_specs(CFILE* c) {
    ps_spec* spec = ps_spec_of(c);
    if (spec == nullptr) return;
    mem_free(spec->text);
    spec->text = nullptr;
}

constexpr int32_t FORMATS[] = {RZL_FORMAT_BYTE, RZL_FORMAT_PLANE_RUNS, RZL_FORMAT_RGB, RZL_FORMAT_BILEVEL};

constexpr field_limit LIMITS[] = {{RZL_FIELD_VLT_ENTRIES, 0, PS_COLORS}};

constexpr format_slots SLOTS = {
    .Put_line = ps_put_line,
    .Set_hdr_data = ps_set_hdr_data,
    .Set_stat = ps_set_stat,
    .Wrt_hdr = ps_write_header,
    .Seek = ps_seek,
    .Rewind = ps_rewind,
    .Close = ps_close,
    .Free_specs = ps_free_specs,
};

} // namespace

extern const format_module ps_module;
const format_module ps_module = {
    .word = SOURCE,
    .slots = &SLOTS,
    .spec_size = sizeof(ps_spec),
    .formats = FORMATS,
    .limits = LIMITS,
    .traits = MODULE_GREY,
    .initialise = ps_initialise,
};
