// USGS files: the header records of a file that is opened, and the module.
#include <cstring>

#include "raster/PNM/pnmmisc.h"
#include "raster/USGS/usgs.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "USGS/usgopen";

int take_sizes(CFILE* c, usgs_spec* spec) {
    int64_t lines = 0;
    int64_t pixels = 0;
    int64_t band = 0;
    int64_t gap = 0;
    int64_t interleave = 0;
    bool numbers = usgs_integer(spec, {0, 144, 6}, &lines) && usgs_integer(spec, {0, 150, 6}, &pixels) &&
                   usgs_integer(spec, {0, 156, 3}, &band) && usgs_integer(spec, {0, 159, 3}, &gap) &&
                   usgs_integer(spec, {0, 162, 3}, &interleave);
    if (!numbers || lines < 1 || pixels < 1) return refuse(c, RZL_READ_FAILED, SOURCE, "header");
    c->xsize = static_cast<int32_t>(pixels); // of six digits
    c->ysize = static_cast<int32_t>(lines);
    spec->band_code = static_cast<int32_t>(band);
    spec->gap_code = static_cast<int32_t>(gap);
    spec->interleave_code = static_cast<int32_t>(interleave);
    usgs_take_format(c);
    return 0;
}

int usgs_open(CFILE* c, const char*) {
    usgs_spec* spec = usgs_spec_of(c);
    for (int64_t i = 0; i < USGS_RECORDS; ++i) {
        bool read = io_seek(c, i * c->xsize) && io_read(c, spec->records[i], USGS_RECORD_SIZE) == USGS_RECORD_SIZE;
        if (!read) return refuse(c, RZL_READ_FAILED, SOURCE, "header");
        if (i == 0 && take_sizes(c, spec) != 0) return 1;
    }
    spec->file_line = -1;
    return 0;
}

int usgs_initialise(CFILE* c) {
    usgs_spec* spec = usgs_spec_of(c);
    std::memset(spec->records, ' ', sizeof spec->records);
    spec->band_code = USGS_ONE_BAND;
    spec->interleave_code = 1;
    spec->file_line = -1;
    usgs_take_format(c);
    return 0;
}

int init_std_hdr(CFILE*, CFILE*) {
    return 0;
}

void usgs_free_specs(CFILE* c) {
    usgs_spec* spec = usgs_spec_of(c);
    if (spec == nullptr) return;
    mem_free(spec->block);
    spec->block = nullptr;
}

int64_t usgs_image_offset(CFILE* c) {
    return USGS_RECORDS * c->xsize;
}

constexpr int32_t FORMATS[] = {RZL_FORMAT_BYTE};

// One field of these is a number here.
constexpr field_type TYPES[] = {
    {RZL_FIELD_NAME_1, field_kind::integer, sizeof(int32_t)},
    {RZL_FIELD_USGS, field_kind::record, 0},
};

constexpr format_slots SLOTS = {
    .Getline = rzl_getline_generic,
    .Get_line = usgs_get_line,
    .Getrleline = usgs_get_rle_line,
    .Put_line = usgs_put_line,
    .Get_hdr_data = usgs_get_hdr_data,
    .Set_hdr_data = usgs_set_hdr_data,
    .Set_stat = usgs_set_stat,
    .init_std_hdr = init_std_hdr,
    .Wrt_hdr = usgs_write_header,
    .Seek = rzl_seek_inside,
    .Randomize = rzl_randomize_nothing,
    .Free_specs = usgs_free_specs,
    .Get_Image_Offset = usgs_image_offset,
};

} // namespace

extern const format_module usgs_module;
const format_module usgs_module = {
    .word = SOURCE,
    .slots = &SLOTS,
    .spec_size = sizeof(usgs_spec),
    .formats = FORMATS,
    .types = TYPES,
    .traits = MODULE_NO_TABLE,
    .open = usgs_open,
    .initialise = usgs_initialise,
};
