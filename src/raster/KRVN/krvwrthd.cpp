// Native files: writing the header with its colour table and packets.
//
// Header, colour table, packets and reserved room are put together in memory, then go to the file in one piece; of a
// file whose pixel data may stand already, only the parts that are given, since the layout of such a file can't change.
// The header in memory takes the new values when all has been written.
#include "raster/KRVN/krv.h"
#include "support/memory.h"

namespace {

constexpr const char* SOURCE = "KRVN/krvwrthd";
constexpr int64_t PACKET_STEP = 256; // words that the packet area is padded to
constexpr int64_t VLT_STEP = 64;     // entries that an entry table is padded to
constexpr int32_t JPEG_STEP = 4;     // pixels and lines of a JPEG image
constexpr int64_t BYTE_VLT_WORDS = KRV_BYTE_VLT_SIZE / 2;

// A header that is being put together.
struct header_plan {
    uint8_t header[KRV_HEADER_SIZE];
    bool existed;          // the file has a header already
    bool writes_vlt;       // a colour table goes out with it
    uint32_t entries;      // of that table, as the application counts them
    int64_t vlt_at;        // bytes from the image's start
    int64_t total;         // words_to_follow
    int64_t packets_at;    // bytes from the image's start; 0: no packets
    int64_t library_words; // of the packets that are the library's
    int64_t app_words;     // and of the application's
};

int64_t rounded_up(int64_t value, int64_t step) {
    return (value + step - 1) / step * step;
}

// Whether the table that stands in the file is the one that the header tells of, so that it can stay.
bool vlt_stays(const CFILE* c, const header_plan& plan) {
    const krv_spec* spec = krv_spec_of(c);
    return plan.existed && c->vlt == nullptr && load_u16le(plan.header + KRV_AT_VLT_TYPE) == spec->stored_vlt_type &&
           load_u32le(plan.header + KRV_AT_VLT_ENTRIES) == spec->stored_vlt_entries;
}

// Room for the colour table. A table that is announced and not given keeps its room, for a later header to fill.
void plan_vlt(const CFILE* c, header_plan* plan) {
    int type = load_u16le(plan->header + KRV_AT_VLT_TYPE);
    plan->entries = load_u32le(plan->header + KRV_AT_VLT_ENTRIES);
    plan->vlt_at = static_cast<int64_t>(type == RZL_VLT_BYTES ? KRV_SHORT_HEADER_SIZE : KRV_HEADER_SIZE);
    plan->total = KRV_PLAIN_WORDS;
    if (type == RZL_VLT_ENTRIES) plan->total += rounded_up(plan->entries, VLT_STEP) * int64_t{KRV_VLT_ENTRY_SIZE / 2};
    if (type == RZL_VLT_BYTES) {
        plan->total = KRV_PLAIN_WORDS - int64_t{KRV_HEADER_SIZE - KRV_SHORT_HEADER_SIZE} / 2 + BYTE_VLT_WORDS;
        store_u32le(plan->header + KRV_AT_VLT_ENTRIES, 256);
    }
    bool known = type == RZL_VLT_BYTES || type == RZL_VLT_ENTRIES;
    plan->writes_vlt = known && !vlt_stays(c, *plan) && (c->vlt != nullptr || c->color_table != nullptr);
    if (plan->writes_vlt || (known && vlt_stays(c, *plan))) return;
    store_u16le(plan->header + KRV_AT_VLT_TYPE, 0);
    store_u32le(plan->header + KRV_AT_VLT_ENTRIES, 0);
}

// Packets that were announced but never given don't exist: nothing could be read back as one.
void plan_packets(const CFILE* c, header_plan* plan) {
    const krv_spec* spec = krv_spec_of(c);
    plan->library_words = krv_library_words(spec);
    plan->app_words = krv_app_words(spec);
    if (!plan->existed && spec->app_packet == nullptr) plan->app_words = 0;
    int64_t words = plan->library_words + plan->app_words;
    plan->packets_at = words != 0 ? plan->total * 2 + 4 : 0;
    store_u32le(plan->header + KRV_AT_PACKET_WORDS, static_cast<uint32_t>(words));
    if (words == 0) {
        store_u32le(plan->header + KRV_AT_PACKET_OFFSET, 0);
        return;
    }
    krv_set_application(plan->header, load_u16le(plan->header + KRV_AT_APPLICATION_TYPE), 3);
    plan->total += rounded_up(words, PACKET_STEP);
}

// Whether pixel data can stand behind the header of the file. A block of memory always goes on behind it.
bool data_may_follow(CFILE* c, const header_plan& plan) {
    if (!plan.existed) return false;
    return c->mode == MODE_UPDATE || has_flag(c, FLAG_MEMORY) || io_size(c) != krv_data_start(c);
}

// Fits the layout into what there is, and tests that the file can keep it. 0, or 1 with the status set.
int fit_layout(CFILE* c, header_plan* plan) {
    const krv_spec* spec = krv_spec_of(c);
    plan->total += spec->reserved_words;
    if (data_may_follow(c, *plan)) {
        int64_t present = krv_words_to_follow(spec->header);
        if (plan->total > present) return refuse(c, RZL_HEADER_FULL, SOURCE, "header");
        plan->total = present;
    }
    if (plan->total > KRV_MAX_WORDS) return refuse(c, RZL_HEADER_FULL, SOURCE, "header");
    // The application's packets stay where they are when they are not at hand.
    bool moved = plan->packets_at != load_u32le(spec->header + KRV_AT_PACKET_OFFSET);
    bool missing = plan->existed && plan->app_words > 0 && spec->app_packet == nullptr;
    if (missing && moved) return refuse(c, RZL_HEADER_FULL, SOURCE, "packets");
    if (plan->packets_at != 0) {
        store_u32le(plan->header + KRV_AT_PACKET_OFFSET, static_cast<uint32_t>(plan->packets_at));
    }
    store_u16le(plan->header + KRV_AT_WORDS_TO_FOLLOW, static_cast<uint16_t>(plan->total));
    return 0;
}

void store_image_values(const CFILE* c, header_plan* plan) {
    const krv_spec* spec = krv_spec_of(c);
    uint8_t* header = plan->header;
    bool tiled = spec->base_tile != 0;
    store_u16le(header + KRV_AT_DATA_TYPE, static_cast<uint16_t>(tiled ? RZL_FORMAT_TILED : spec->data_type));
    if (tiled) krv_set_application(header, load_u16le(header + KRV_AT_APPLICATION_TYPE), 3);
    int scannable = (header[KRV_AT_SCANNABLE] & ~1) | (has_flag(c, FLAG_SCANNABLE) ? 1 : 0);
    header[KRV_AT_SCANNABLE] = static_cast<uint8_t>(scannable);
    // With an overview active the handle has the overview's size.
    store_u32le(header + KRV_AT_PIXELS_PER_LINE, static_cast<uint32_t>(spec->xsize));
    store_u32le(header + KRV_AT_LINES, static_cast<uint32_t>(spec->ysize));
}

// A header tells samples and bits by the data type alone: others would be lost with the handle. Only the values of runs
// may have as many bits as are set.
bool has_own_layout(const CFILE* c) {
    int32_t data_type = krv_spec_of(c)->data_type;
    int32_t samples = 0;
    int32_t bits = c->bits;
    if (!format_layout(data_type, &samples, &bits)) return false;
    return samples == c->samples && (bits == c->bits || data_type == RZL_FORMAT_BYTE_PAIRS);
}

// Content that no build here can go on to write. The words speak of 8, though 4 is enough.
int refuse_content(CFILE* c) {
    const krv_spec* spec = krv_spec_of(c);
    if (!has_own_layout(c)) return refuse(c, RZL_BAD_FIELD_VALUE, SOURCE, "samples or bits");
    if (!krv_is_tile_size(c, spec->base_tile)) return refuse(c, RZL_BAD_TILE_SIZE, SOURCE, "header");
    if (!format_is_jpeg(spec->data_type)) return 0;
    if (spec->base_tile != 0) return refuse(c, RZL_JPEG_HARDWARE_3, SOURCE, "header");
    if (spec->xsize % JPEG_STEP != 0) return refuse(c, RZL_BAD_FIELD_ID, SOURCE, "JPEG xsize must be multiple of 8\n");
    if (spec->ysize % JPEG_STEP != 0) return refuse(c, RZL_BAD_FIELD_ID, SOURCE, "JPEG ysize must be multiple of 8\n");
    return refuse(c, RZL_JPEG_HARDWARE_3, SOURCE, "header");
}

// ---- the bytes ------------------------------------------------------------------------------------------------------

uint8_t high_byte(uint16_t value) {
    return static_cast<uint8_t>(value >> 8);
}

// Slots past the table have no place in it.
void fill_byte_vlt(const CFILE* c, const header_plan& plan, uint8_t* table) {
    if (c->vlt == nullptr) {
        std::memcpy(table, c->color_table, KRV_BYTE_VLT_SIZE);
        return;
    }
    for (uint32_t i = 0; i < plan.entries; ++i) {
        const rzl_vlt_entry& entry = c->vlt[i];
        if (entry.slot > 255) continue;
        uint8_t* color = table + size_t{entry.slot} * 3;
        color[0] = high_byte(entry.red);
        color[1] = high_byte(entry.green);
        color[2] = high_byte(entry.blue);
    }
}

// An entry of a table made from the file's colours; those past the colours hold their number alone.
rzl_vlt_entry built_entry(const CFILE* c, uint32_t i) {
    rzl_vlt_entry entry = {static_cast<uint16_t>(i), 0, 0, 0};
    if (i >= 256) return entry;
    const uint8_t* color = c->color_table + size_t{i} * 3;
    entry.red = static_cast<uint16_t>(color[0] << 8);
    entry.green = static_cast<uint16_t>(color[1] << 8);
    entry.blue = static_cast<uint16_t>(color[2] << 8);
    return entry;
}

void fill_entry_vlt(const CFILE* c, const header_plan& plan, uint8_t* table) {
    for (uint32_t i = 0; i < plan.entries; ++i, table += KRV_VLT_ENTRY_SIZE) {
        rzl_vlt_entry entry = c->vlt != nullptr ? c->vlt[i] : built_entry(c, i);
        store_u16le(table, entry.slot);
        store_u16le(table + 2, entry.red);
        store_u16le(table + 4, entry.green);
        store_u16le(table + 6, entry.blue);
    }
}

uint8_t* append_packet(uint8_t* at, const uint8_t* packet) {
    size_t bytes = size_t{krv_packet_total(packet)} * 2;
    if (bytes != 0) std::memcpy(at, packet, bytes);
    return at + bytes;
}

// Everything that stands before the pixel data, in a block of zeros of that size.
void fill_block(const CFILE* c, const header_plan& plan, uint8_t* block) {
    const krv_spec* spec = krv_spec_of(c);
    bool bytes_only = load_u16le(plan.header + KRV_AT_VLT_TYPE) == RZL_VLT_BYTES;
    std::memcpy(block, plan.header, bytes_only ? KRV_SHORT_HEADER_SIZE : KRV_HEADER_SIZE);
    if (plan.writes_vlt && bytes_only) fill_byte_vlt(c, plan, block + plan.vlt_at);
    if (plan.writes_vlt && !bytes_only) fill_entry_vlt(c, plan, block + plan.vlt_at);
    uint8_t* at = append_packet(block + plan.packets_at, spec->overview_packet);
    at = append_packet(at, spec->jpeg_packet);
    at = append_packet(at, spec->other_packet);
    bool given = plan.app_words != 0 && spec->app_packet != nullptr;
    if (given) std::memcpy(at, spec->app_packet, static_cast<size_t>(plan.app_words) * 2);
}

bool write_part(CFILE* c, const uint8_t* block, int64_t from, int64_t to) {
    auto bytes = static_cast<size_t>(to - from);
    return io_seek(c, c->base_offset + from) && io_write(c, block + from, bytes) == bytes;
}

// The parts of a header that exists. What is not given is left alone: a colour table that stays, the application's
// packets, reserved room.
bool rewrite_parts(CFILE* c, const header_plan& plan, const uint8_t* block) {
    const krv_spec* spec = krv_spec_of(c);
    bool bytes_only = load_u16le(plan.header + KRV_AT_VLT_TYPE) == RZL_VLT_BYTES;
    auto end = static_cast<int64_t>(bytes_only ? KRV_SHORT_HEADER_SIZE : KRV_HEADER_SIZE);
    if (plan.writes_vlt) {
        int64_t entries = rounded_up(plan.entries, VLT_STEP);
        end = plan.vlt_at + (bytes_only ? BYTE_VLT_WORDS * 2 : entries * int64_t{KRV_VLT_ENTRY_SIZE});
    }
    if (!write_part(c, block, 0, end)) return false;
    if (plan.packets_at == 0) return true;
    bool whole = plan.app_words == 0 || spec->app_packet != nullptr;
    int64_t words = plan.library_words + (whole ? plan.app_words : 0);
    int64_t packets_end = plan.packets_at + (whole ? rounded_up(words, PACKET_STEP) : words) * 2;
    return write_part(c, block, plan.packets_at, packets_end);
}

// A new file on a pipe can't seek, and stands at its start anyway.
bool write_block(CFILE* c, const header_plan& plan, const uint8_t* block, size_t bytes) {
    if (plan.existed) return rewrite_parts(c, plan, block);
    bool at_start = io_seek(c, c->base_offset) || (!is_readable(c) && c->base_offset == 0);
    return at_start && io_write(c, block, bytes) == bytes;
}

// The header before this image's in the chain learns where this one is, now that it stands there.
bool link_image(CFILE* c) {
    krv_spec* spec = krv_spec_of(c);
    if (spec->link_from < 0) return true;
    uint8_t place[4];
    store_u32le(place, static_cast<uint32_t>(c->base_offset));
    if (!io_seek(c, spec->link_from + int64_t{KRV_AT_NEXT_IMAGE})) return false;
    if (io_write(c, place, sizeof place) != sizeof place) return false;
    spec->link_from = -1;
    return true;
}

// What has been written is what the record tells from now on. Borrowed tables and packets go back to their owner.
void note_written(CFILE* c, const header_plan& plan) {
    krv_spec* spec = krv_spec_of(c);
    std::memcpy(spec->header, plan.header, KRV_HEADER_SIZE);
    spec->stored_vlt_type = load_u16le(plan.header + KRV_AT_VLT_TYPE);
    spec->stored_vlt_entries = load_u32le(plan.header + KRV_AT_VLT_ENTRIES);
    spec->stored_words = load_u32le(plan.header + KRV_AT_PACKET_WORDS);
    spec->overview_at = spec->overview_packet != nullptr ? plan.packets_at : 0;
    krv_drop_app_packet(c);
    c->vlt = nullptr;
    set_flag(c, FLAG_HEADER_EXISTS, true);
    set_flag(c, FLAG_OVERVIEWS_CHANGED, false);
}

int write_planned(CFILE* c, const header_plan& plan) {
    auto bytes = static_cast<size_t>(plan.total * 2 + 4);
    mem_guard<uint8_t> block(static_cast<uint8_t*>(mem_alloc_zeroed(bytes)));
    if (!block) return refuse(c, RZL_NO_MEMORY, SOURCE, "header");
    fill_block(c, plan, block.get());
    bool linked = krv_spec_of(c)->link_from < 0;
    if (!write_block(c, plan, block.get(), bytes) || !link_image(c))
        return refuse(c, RZL_WRITE_FAILED, SOURCE, "header");
    note_written(c, plan);
    bool stands_there = !plan.existed && linked && c->active_overview < 0;
    if (!stands_there && !io_seek(c, krv_first_line(c))) return refuse(c, RZL_WRITE_FAILED, SOURCE, "header");
    return 0;
}

} // namespace

// The packets of an existing file are brought into memory when they might have to move.
int krv_write_header(CFILE* c) {
    const krv_spec* spec = krv_spec_of(c);
    if (!is_writable(c)) return refuse(c, RZL_NEEDS_WRITE, SOURCE, "header");
    if (spec->data_type == RZL_FORMAT_BYTE_PAIRS && spec->base_tile == 0) set_flag(c, FLAG_SCANNABLE, true);
    if (!has_flag(c, FLAG_RAW)) {
        if (refuse_content(c) != 0) return 1;
        header_plan plan = {};
        std::memcpy(plan.header, spec->header, KRV_HEADER_SIZE);
        plan.existed = has_flag(c, FLAG_HEADER_EXISTS);
        if (plan.existed && is_readable(c) && krv_save_packets(c) != 0) return 1;
        store_image_values(c, &plan);
        plan_vlt(c, &plan);
        plan_packets(c, &plan);
        if (fit_layout(c, &plan) != 0 || write_planned(c, plan) != 0) return 1;
        // Of a header that existed the tiles have their packet.
        if (!plan.existed && spec->base_tile != 0 && !krv_begin_tiles(c)) return 1;
    }
    set_flag(c, FLAG_HEADER_EXISTS, true);
    c->line = 0;
    return 0;
}
