// Native files: overviews. Reduced copies of the image stand behind its pixel data, and a directory packet in the
// header tells their sizes and places. The directory is held in memory as the packet's bytes; a change of it is written
// back when the file is closed or another image is made active.
#include "raster/KRVN/krv.h"
#include "support/memory.h"

namespace {

constexpr const char* SOURCE = "KRVN/krvov";
constexpr int64_t OVERVIEW_ALIGNMENT = 8;

// 32-bit words of a directory of n overviews.
constexpr int64_t directory_longs(int64_t count) {
    return (7 * count + 5 + 1) / 2 * 2;
}

uint8_t* entry_of(const krv_spec* spec, int32_t index) {
    return spec->overview_packet + KRV_OVERVIEW_ENTRIES_AT + KRV_OVERVIEW_ENTRY_SIZE * static_cast<size_t>(index);
}

uint8_t* extent_of(const krv_spec* spec, int32_t index) {
    auto count = static_cast<size_t>(krv_overview_count(spec));
    return spec->overview_packet + KRV_OVERVIEW_ENTRIES_AT + KRV_OVERVIEW_ENTRY_SIZE * count +
           KRV_OVERVIEW_EXTENT_SIZE * static_cast<size_t>(index);
}

// An empty directory, or null without memory.
uint8_t* new_directory(int32_t count) {
    int64_t longs = directory_longs(count);
    auto* packet = static_cast<uint8_t*>(mem_alloc_zeroed(static_cast<size_t>(longs) * 4));
    if (packet == nullptr) return nullptr;
    store_u16le(packet, 1);
    store_u16le(packet + 2, 10);
    store_u32le(packet + 4, static_cast<uint32_t>(longs * 2 - KRV_PACKET_HEAD_WORDS));
    store_u16le(packet + 8, 1);
    store_u16le(packet + 10, 1);
    store_u32le(packet + KRV_OVERVIEW_COUNT_AT, static_cast<uint32_t>(count));
    return packet;
}

// Puts a directory (null: none) in the place of the held one, with its words in the header's count. It has no place in
// the file until the header is written.
void replace_directory(CFILE* c, uint8_t* packet) {
    krv_spec* spec = krv_spec_of(c);
    uint32_t words = krv_app_words(spec);
    mem_free(spec->overview_packet);
    spec->overview_packet = packet;
    spec->overview_at = 0;
    store_u32le(spec->header + KRV_AT_PACKET_WORDS, words + krv_library_words(spec));
    set_flag(c, FLAG_OVERVIEWS_CHANGED, true);
}

// More overviews on a file that exists: what the directory holds goes on, and the application's packets are brought
// into memory so that the next header can put them behind the larger directory.
int grow_directory(CFILE* c, int32_t count) {
    krv_spec* spec = krv_spec_of(c);
    if (krv_save_packets(c) != 0) return 1;
    uint8_t* packet = new_directory(count);
    if (packet == nullptr) return refuse(c, RZL_NO_MEMORY, SOURCE, "overviews");
    auto held = static_cast<size_t>(krv_overview_count(spec));
    if (held > 0) {
        size_t extents_at = KRV_OVERVIEW_ENTRIES_AT + KRV_OVERVIEW_ENTRY_SIZE * static_cast<size_t>(count);
        std::memcpy(packet + KRV_OVERVIEW_ENTRIES_AT, entry_of(spec, 0), KRV_OVERVIEW_ENTRY_SIZE * held);
        std::memcpy(packet + extents_at, extent_of(spec, 0), KRV_OVERVIEW_EXTENT_SIZE * held);
    }
    replace_directory(c, packet);
    return 0;
}

bool write_zeros(CFILE* c, int64_t from, int64_t to) {
    static constexpr uint8_t ZEROS[512] = {};
    if (!io_seek(c, from)) return false;
    while (from < to) {
        size_t bytes = to - from < int64_t{sizeof ZEROS} ? static_cast<size_t>(to - from) : sizeof ZEROS;
        if (io_write(c, ZEROS, bytes) != bytes) return false;
        from += static_cast<int64_t>(bytes);
    }
    return true;
}

// Gives a new overview its place at the end of the file. That is never the data start itself, which would read as an
// overview without data.
int place_overview(CFILE* c, int32_t index) {
    if (!has_flag(c, FLAG_HEADER_EXISTS) && krv_write_header(c) != 0) return 1;
    int64_t start = krv_data_start(c);
    int64_t size = io_size(c);
    int64_t at = size > start ? size : start + 1;
    at = (at + OVERVIEW_ALIGNMENT - 1) / OVERVIEW_ALIGNMENT * OVERVIEW_ALIGNMENT;
    if (at - start > int64_t{UINT32_MAX}) return refuse(c, RZL_BAD_IMAGE_SIZE, SOURCE, "overview offset");
    if (size < 0 || !write_zeros(c, size, at)) return refuse(c, RZL_WRITE_FAILED, SOURCE, "overview");
    krv_overview entry = krv_load_overview(krv_spec_of(c), index);
    entry.offset = static_cast<uint32_t>(at - start);
    krv_store_overview(krv_spec_of(c), index, entry);
    set_flag(c, FLAG_OVERVIEWS_CHANGED, true);
    return 0;
}

// Whether an entry of the directory can be made active.
uint32_t judge_overview(CFILE* c, const krv_overview& entry) {
    if (entry.xsize > INT32_MAX || entry.ysize > INT32_MAX) return RZL_BAD_IMAGE_SIZE;
    if ((entry.info & KRV_OVERVIEW_TILED) != 0) {
        krv_tile_facts facts;
        return krv_judge_tiles(c, krv_data_start(c) + entry.offset, entry.xsize, entry.ysize, &facts);
    }
    if (c->mode != MODE_READ) return 0;
    int32_t data_type = krv_spec_of(c)->data_type;
    bool fits = krv_line_fits(data_type, entry.xsize, has_flag(c, FLAG_SCANNABLE), io_size(c) - c->base_offset);
    return fits ? 0 : RZL_BAD_IMAGE_SIZE;
}

int choose_overview(CFILE* c, int32_t index) {
    if (index >= krv_overview_count(krv_spec_of(c)))
        return refuse(c, RZL_NO_SUCH_OVERVIEW, SOURCE, "set_active_overview");
    krv_overview entry = krv_load_overview(krv_spec_of(c), index);
    uint32_t status = judge_overview(c, entry);
    if (status != 0) return refuse(c, status, SOURCE, "set_active_overview");
    if (entry.xsize == 0 && entry.ysize == 0 && is_writable(c)) {
        if (has_flag(c, FLAG_MULTI_IMAGE)) {
            return refuse(c, RZL_UNSUP_KRVN, SOURCE, "set_active_overview: Does not work for multi_image files");
        }
        if (place_overview(c, index) != 0) return 1;
    }
    c->xsize = static_cast<int32_t>(entry.xsize);
    c->ysize = static_cast<int32_t>(entry.ysize);
    return 0;
}

bool is_tiled_target(const CFILE* c, int32_t target) {
    const krv_spec* spec = krv_spec_of(c);
    if (target >= 0) return (krv_load_overview(spec, target).info & KRV_OVERVIEW_TILED) != 0;
    bool exists = has_flag(c, FLAG_HEADER_EXISTS);
    return exists && load_u16le(spec->header + KRV_AT_DATA_TYPE) == RZL_FORMAT_TILED;
}

// Makes another target the active one. What was derived from the lines of the one before goes.
int switch_target(CFILE* c, int32_t target) {
    if (!krv_finish_coded(c) || !krv_finish_tiles(c)) return 1;
    if (target >= 0) {
        if (choose_overview(c, target) != 0) return 1;
    } else if (is_tiled_target(c, target) && !is_readable(c)) {
        return refuse(c, RZL_NEEDS_READ, SOURCE, "set_active_overview"); // the packet can't be had back
    } else {
        c->xsize = krv_spec_of(c)->xsize;
        c->ysize = krv_spec_of(c)->ysize;
    }
    mem_free(c->line_offsets);
    c->line_offsets = nullptr;
    c->line_offset_count = 0;
    free_tile_record(c);
    set_flag(c, FLAG_TILES_CHANGED | FLAG_LINES_FROM_ZERO, false);
    c->active_overview = target;
    return is_tiled_target(c, target) ? krv_load_tiles(c) : 0;
}

bool ends_at(int64_t first, uint64_t bytes, int64_t end, bool aligned) {
    if (end < first) return false;
    auto length = static_cast<uint64_t>(end - first);
    if (length < bytes) return false;
    if (!aligned) return length == bytes;
    return length - bytes < OVERVIEW_ALIGNMENT;
}

} // namespace

int64_t krv_target_end(CFILE* c, int64_t first, bool* aligned) {
    const krv_spec* spec = krv_spec_of(c);
    int64_t next = INT64_MAX;
    for (int32_t i = 0; i < krv_overview_count(spec); ++i) {
        int64_t at = krv_data_start(c) + krv_load_overview(spec, i).offset;
        if (at > first && at < next) next = at;
    }
    *aligned = next != INT64_MAX;
    if (*aligned) return next;
    return krv_next_image(c) != 0 ? int64_t{krv_next_image(c)} : io_size(c);
}

bool krv_overview_packet_is_whole(const uint8_t* packet, size_t bytes) {
    if (bytes < KRV_OVERVIEW_ENTRIES_AT) return false;
    int64_t count = load_u32le(packet + KRV_OVERVIEW_COUNT_AT);
    return (7 * count + 5) * 4 <= static_cast<int64_t>(bytes);
}

int32_t krv_overview_count(const krv_spec* spec) {
    if (spec->overview_packet == nullptr) return 0;
    return static_cast<int32_t>(load_u32le(spec->overview_packet + KRV_OVERVIEW_COUNT_AT));
}

krv_overview krv_load_overview(const krv_spec* spec, int32_t index) {
    const uint8_t* entry = entry_of(spec, index);
    const uint8_t* extent = extent_of(spec, index);
    return {load_u32le(entry),  load_u32le(entry + 4),  load_u32le(entry + 8),
            load_u32le(extent), load_u32le(extent + 4), load_u32le(extent + 8)};
}

void krv_store_overview(krv_spec* spec, int32_t index, const krv_overview& entry) {
    uint8_t* sizes = entry_of(spec, index);
    uint8_t* extent = extent_of(spec, index);
    store_u32le(sizes, entry.ysize);
    store_u32le(sizes + 4, entry.xsize);
    store_u32le(sizes + 8, entry.info);
    store_u32le(extent, entry.offset);
    store_u32le(extent + 4, entry.size_1);
    store_u32le(extent + 8, entry.size_2);
}

void krv_add_overview_bytes(CFILE* c, uint32_t bytes) {
    if (c->active_overview < 0) return;
    krv_overview entry = krv_load_overview(krv_spec_of(c), c->active_overview);
    entry.size_1 += bytes;
    entry.size_2 += bytes;
    krv_store_overview(krv_spec_of(c), c->active_overview, entry);
    set_flag(c, FLAG_OVERVIEWS_CHANGED, true);
}

// A count that no header could hold is out of range, as is one below what an existing file has. A write-only file whose
// header is written can't read its packets back, so there the count stays.
int krv_set_overview_count(CFILE* c, int32_t count) {
    krv_spec* spec = krv_spec_of(c);
    int32_t held = krv_overview_count(spec);
    if (count < 0 || directory_longs(count) * 2 > KRV_MAX_WORDS - KRV_PLAIN_WORDS) {
        return refuse(c, RZL_BAD_FIELD_VALUE, SOURCE, "overviews");
    }
    if (!has_flag(c, FLAG_HEADER_EXISTS)) {
        uint8_t* packet = count > 0 ? new_directory(count) : nullptr;
        if (count > 0 && packet == nullptr) return refuse(c, RZL_NO_MEMORY, SOURCE, "overviews");
        replace_directory(c, packet);
        return 0;
    }
    if (!is_readable(c)) return count == held ? 0 : krv_refuse(c);
    if (count == 0) return held > 0 ? krv_save_packets(c) : 0;
    if (count < held) return refuse(c, RZL_BAD_FIELD_VALUE, SOURCE, "overviews");
    return count > held ? grow_directory(c, count) : 0;
}

bool krv_need_ccitt(CFILE* c, int32_t data_type) {
    if ((data_type != RZL_FORMAT_GROUP3 && data_type != RZL_FORMAT_GROUP4) || c->ccitt != nullptr) return true;
    c->ccitt = mem_new<ccitt_record>();
    if (c->ccitt == nullptr) fail(c, RZL_NO_MEMORY, SOURCE, "ccitt");
    return c->ccitt != nullptr;
}

bool krv_apply_data_type(CFILE* c) {
    int32_t data_type = krv_spec_of(c)->data_type;
    if (!krv_need_ccitt(c, data_type)) return false;
    bool group3 = data_type == RZL_FORMAT_GROUP3;
    bool coded = group3 || data_type == RZL_FORMAT_GROUP4;
    c->compression = coded ? CLASS_CCITT : 0;
    c->compression_variant = coded ? (group3 ? 1 : 4) : 0;
    format_layout(data_type, &c->samples, &c->bits);
    c->format = data_type;
    return true;
}

// Files of byte triples with an odd width are found with a pad byte in each line and without one; only the length of
// the data tells. Where neither length fits, the lines are taken as they come in all files but the padded ones.
void krv_detect_line_padding(CFILE* c) {
    set_flag(c, FLAG_LINE_PADDING, false);
    if (c->xsize % 2 == 0 || c->ysize <= 0 || !has_flag(c, FLAG_HEADER_EXISTS) || has_flag(c, FLAG_TILED)) return;
    int64_t first = krv_first_line(c);
    bool aligned;
    int64_t end = krv_target_end(c, first, &aligned);
    auto lines = static_cast<uint64_t>(c->ysize);
    uint64_t bytes = static_cast<uint64_t>(c->xsize) * 3 * lines;
    if (ends_at(first, bytes, end, aligned)) return;
    set_flag(c, FLAG_LINE_PADDING, ends_at(first, bytes + lines, end, aligned));
}

int krv_set_active_overview(CFILE* c, int32_t overview) {
    int32_t target = overview < 0 ? OVERVIEW_BASE : overview;
    if (target != c->active_overview && switch_target(c, target) != 0) return 1;
    if (!krv_apply_data_type(c)) return 1;
    if (c->format == RZL_FORMAT_RGB) krv_detect_line_padding(c);
    krv_rewind(c);
    return 0;
}
