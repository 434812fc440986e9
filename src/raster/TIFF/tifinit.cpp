// TIFF: making one file from another: the settings of a record, the overview records, and the coded strips as they are.
#include <algorithm>
#include <cstring>

#include "raster/TIFF/tiff.h"
#include "support/memory.h"

namespace {

constexpr const char* SOURCE = "TIFF/tifinit";

constexpr uint16_t TAG_EXTRA_SAMPLES = 338;

bool are_tiff(const CFILE* from, const CFILE* to) {
    return from->standard == RZL_STANDARD_TIFF && to->standard == RZL_STANDARD_TIFF && from->spec != nullptr &&
           to->spec != nullptr;
}

// What the copies ask of the two handles.
bool check_pair(CFILE* from, CFILE* to, const char* detail) {
    if (!is_readable(from)) return fails(from, RZL_NEEDS_READ, SOURCE, detail);
    if (!is_writable(to)) return fails(to, RZL_NEEDS_WRITE, SOURCE, detail);
    if (are_tiff(from, to)) return true;
    fails(from, RZL_NOT_STANDARD, SOURCE, detail);
    return fails(to, RZL_NOT_STANDARD, SOURCE, detail);
}

// The tag that says what a fourth sample is.
bool keep_extra_samples(CFILE* from, tif_image* to) {
    const uint8_t* entry = tif_find_entry(tif_spec_of(from), tif_image_of(from), TAG_EXTRA_SAMPLES);
    uint32_t kind = 0;
    if (entry == nullptr || tif_read_numbers(from, entry, &kind, 1) != 1) return true;
    auto value = static_cast<uint16_t>(kind);
    return tif_keep_user_tag(to, TAG_EXTRA_SAMPLES, TIF_SHORT, 1, &value);
}

// ---- strips

bool copy_bytes(CFILE* from, CFILE* to, int64_t place, uint32_t count, uint32_t* offset, uint32_t* copied) {
    uint8_t piece[1024];
    *copied = 0;
    *offset = 0;
    while (*copied < count) {
        size_t wanted = std::min<size_t>(count - *copied, sizeof piece);
        tif_spec_of(from)->at_end = false;
        if (!io_seek(from, from->base_offset + place + *copied))
            return fails(from, RZL_READ_FAILED, SOURCE, "copydata");
        size_t got = io_read(from, piece, wanted);
        if (got == 0) return true; // the file was cut
        uint32_t at = 0;
        // Only the first piece can be moved to an even place: all pieces but the last are of even size.
        if (!tif_append(to, piece, got, &at)) return false;
        if (*copied == 0) *offset = at;
        *copied += static_cast<uint32_t>(got);
        if (got < wanted) return true;
    }
    return true;
}

// The bytes of a strip whose size is not told are those of its data without coding.
uint32_t strip_size(const tif_image* image, uint32_t entry) {
    if (image->strip_byte_counts[entry] != 0) return image->strip_byte_counts[entry];
    uint32_t segment = entry % std::max(tif_segments(image), 1u);
    uint64_t bytes = tif_row_bytes(image, 0) * tif_rows_of(image, segment);
    return static_cast<uint32_t>(std::min<uint64_t>(bytes, UINT32_MAX));
}

bool copy_strips(CFILE* from, const tif_image* source, CFILE* to, tif_image* target) {
    if (target->strip_count < source->strip_count) return fails(to, RZL_UNSUP_TIFF, SOURCE, "copydata");
    for (uint32_t i = 0; i < source->strip_count; ++i) {
        if (!tif_is_stored(source, i)) continue;
        uint32_t offset = 0;
        uint32_t bytes = 0;
        if (!copy_bytes(from, to, source->strip_offsets[i], strip_size(source, i), &offset, &bytes)) return false;
        target->strip_offsets[i] = offset;
        target->strip_byte_counts[i] = bytes;
        target->flags |= TIF_ARRAYS_CHANGED;
    }
    set_flag(to, FLAG_MODULE, true);
    return true;
}

// The record behind one, but for masks.
tif_image* next_copied(tif_image* image) {
    do
        image = image->next;
    while (image != nullptr && !tif_is_picture(image) && !tif_is_overview(image));
    return image;
}

// One image; the target's record is active for the time.
bool copy_image(CFILE* from, tif_image* source, CFILE* to, tif_image* target) {
    // A new image without a header has no strips yet.
    if ((source->flags & TIF_IN_FILE) == 0) return fails(from, RZL_READ_FAILED, SOURCE, "copydata");
    if (!tif_load_arrays(from, source)) return false;
    if (target != tif_image_of(to)) {
        if (tif_finish_image(to) != 0 || !tif_activate(to, target)) return false;
    }
    bool planned = (target->flags & TIF_IN_FILE) != 0 || tif_write_header(to) == 0;
    if (target->fill_order != source->fill_order) target->flags |= TIF_OUT_OF_DATE;
    target->fill_order = source->fill_order;
    return planned && copy_strips(from, source, to, target) && tif_finish_image(to) == 0;
}

} // namespace

bool tif_copy_settings(const tif_image* from, tif_image* to) {
    if (from->colour_map != nullptr) {
        if (!tif_need_map(to)) return false;
        std::memcpy(to->colour_map, from->colour_map, 3 * TIF_MAP_ENTRIES * sizeof(uint16_t));
    }
    to->colour_map_count = from->colour_map_count;
    to->samples_per_pixel = from->samples_per_pixel;
    std::memcpy(to->bits_per_sample, from->bits_per_sample, sizeof to->bits_per_sample);
    std::memcpy(to->min_sample, from->min_sample, sizeof to->min_sample);
    std::memcpy(to->max_sample, from->max_sample, sizeof to->max_sample);
    to->compression = from->compression;
    to->predictor = from->predictor;
    to->photometric = from->photometric;
    to->planar_config = from->planar_config;
    to->fill_order = from->fill_order;
    to->fax_options = from->fax_options;
    to->rows_per_strip = from->rows_per_strip;
    to->tile_width = from->tile_width;
    to->tile_length = from->tile_length;
    to->tiles_across = from->tiles_across;
    to->tiles_down = from->tiles_down;
    to->aspect = from->aspect;
    std::memcpy(to->x_resolution, from->x_resolution, sizeof to->x_resolution);
    std::memcpy(to->y_resolution, from->y_resolution, sizeof to->y_resolution);
    to->resolution_unit = from->resolution_unit;
    std::memcpy(to->flag_registers, from->flag_registers, sizeof to->flag_registers);
    to->flags = TIF_IFD_DUE | TIF_COPIED | (from->flags & (TIF_HAS_MAP | TIF_TILED));
    return true;
}

// The new file gets the byte order of the old one, since coded samples are copied as they are.
int tif_init_std_hdr(CFILE* from, CFILE* to) {
    if (!check_pair(from, to, "init std hdr")) return 1;
    tif_spec* target = tif_spec_of(to);
    if (has_flag(to, FLAG_HEADER_EXISTS)) return refuse(to, RZL_NEEDS_WRITE, SOURCE, "init std hdr");
    const tif_image* source = tif_image_of(from);
    tif_image* image = target->image;
    if (!tif_copy_settings(source, image) || !keep_extra_samples(from, image)) {
        return refuse(to, RZL_NO_MEMORY, SOURCE, nullptr);
    }
    if (!target->begun) target->order = tif_spec_of(from)->order;
    image->subfile_type = image->previous != nullptr ? image->subfile_type : 0;
    image->image_width = source->image_width;
    image->image_length = source->image_length;
    return tif_take_image(to, image) ? 0 : 1;
}

int tif_init_ov(CFILE* from, CFILE* to) {
    if (!check_pair(from, to, "init ov")) return 1;
    auto count = static_cast<int32_t>(tif_overview_count(tif_spec_of(from)));
    if (tif_set_overview_count(to, count) != 0) return 1;
    tif_image* source = tif_spec_of(from)->first;
    tif_image* target = tif_spec_of(to)->first;
    for (; count > 0; --count) {
        source = tif_next_overview(source);
        target = tif_next_overview(target);
        if ((target->flags & TIF_IN_FILE) != 0) continue;
        if (!tif_copy_settings(source, target)) return refuse(to, RZL_NO_MEMORY, SOURCE, nullptr);
        target->subfile_type = 1;
        target->image_width = source->image_width;
        target->image_length = source->image_length;
    }
    return 0;
}

// Both chains from their first records on, as far as both go, without masks. The target's first image is active
// afterwards.
int tif_copydata(CFILE* from, CFILE* to) {
    if (!check_pair(from, to, "copydata")) return 1;
    tif_image* source = tif_spec_of(from)->first;
    tif_image* target = tif_spec_of(to)->first;
    for (; source != nullptr && target != nullptr; source = next_copied(source), target = next_copied(target))
        if (!copy_image(from, source, to, target)) return 1;
    if (!tif_activate(to, tif_spec_of(to)->first)) return 1;
    to->active_image = 0;
    to->active_overview = OVERVIEW_BASE;
    from->line = from->ysize;
    to->line = to->ysize;
    return 0;
}
