// Native files: writing the header with its colour table and packets.
//
// The total of header, colour table, packets and reserved room is what stands before the pixel data. Once there may be
// pixel data that total can't grow, and a smaller one keeps its room.
#include "raster/KRVN/krv.h"
#include "support/memory.h"

namespace {

constexpr const char* SOURCE = "KRVN/krvwrthd";
constexpr uint32_t ENTRIES_STEP = 64; // an entry table is padded to a multiple of so many
constexpr uint32_t PACKET_STEP = 256; // and the packet area to a multiple of so many words
constexpr uint32_t ENTRY_WORDS = 4;   // words of a table entry
constexpr int BUILT_ENTRIES_MAX = 512; // of a table that is made from the file's colours

// What stands before the pixel data.
struct layout {
    int vlt_type;
    uint32_t vlt_entries;  // as the application counts them
    int64_t packet_words;  // 0: none
    int64_t packet_offset; // bytes from the image's start
    int64_t total;         // words_to_follow
};

int refuse(CFILE* c, uint32_t status, const char* detail) {
    fail(c, status, SOURCE, detail);
    return 1;
}

int64_t rounded_up(int64_t value, int64_t step) {
    return (value + step - 1) / step * step;
}

bool has_colors(const CFILE* c) {
    return c->vlt != nullptr || c->color_table != nullptr;
}

void plan_vlt(CFILE* c, layout* plan) {
    const uint8_t* header = krv_spec_of(c)->header;
    plan->vlt_type = load_u16le(header + KRV_AT_VLT_TYPE);
    plan->vlt_entries = load_u32le(header + KRV_AT_VLT_ENTRIES);
    bool known = plan->vlt_type == KRV_VLT_BYTES || plan->vlt_type == KRV_VLT_ENTRIES;
    if (!known) c->vlt = nullptr;
    if (!known || !has_colors(c) || (plan->vlt_type == KRV_VLT_ENTRIES && plan->vlt_entries == 0)) {
        plan->vlt_type = KRV_VLT_NONE;
        plan->vlt_entries = 0;
        return;
    }
    if (plan->vlt_type == KRV_VLT_BYTES) {
        plan->total = KRV_PLAIN_WORDS + 256; // a header of 768 bytes and 768 bytes of table
    } else {
        plan->total += rounded_up(plan->vlt_entries, ENTRIES_STEP) * ENTRY_WORDS;
    }
}

layout plan_layout(CFILE* c) {
    const krv_spec* spec = krv_spec_of(c);
    layout plan = {KRV_VLT_NONE, 0, 0, 0, KRV_PLAIN_WORDS};
    plan_vlt(c, &plan);
    plan.packet_words = load_u32le(spec->header + KRV_AT_PACKET_WORDS);
    if (plan.packet_words != 0) {
        plan.packet_offset = plan.total * 2 + 4;
        plan.total += rounded_up(plan.packet_words, PACKET_STEP);
    }
    plan.total += spec->reserved_words;
    return plan;
}

// Makes the plan fit what is there already. 0, or 1 with the status set.
int fit_layout(CFILE* c, layout* plan) {
    int64_t present = krv_words_to_follow(krv_spec_of(c)->header);
    bool data_may_follow = has_flag(c, FLAG_HEADER_EXISTS) && (c->mode == MODE_UPDATE || c->line > 0);
    if (data_may_follow && plan->total > present) return refuse(c, RZL_HEADER_FULL, "header");
    if (data_may_follow) plan->total = present;
    return plan->total > KRV_MAX_WORDS ? refuse(c, RZL_HEADER_FULL, "header") : 0;
}

void store_layout(CFILE* c, const layout& plan) {
    krv_spec* spec = krv_spec_of(c);
    uint8_t* header = spec->header;
    // A byte table always has 256 entries in the file.
    uint32_t entries = plan.vlt_type == KRV_VLT_BYTES ? 256 : plan.vlt_entries;
    store_u16le(header + KRV_AT_DATA_TYPE, static_cast<uint16_t>(spec->data_type));
    store_u16le(header + KRV_AT_VLT_TYPE, static_cast<uint16_t>(plan.vlt_type));
    store_u32le(header + KRV_AT_VLT_ENTRIES, entries);
    store_u32le(header + KRV_AT_PACKET_OFFSET, static_cast<uint32_t>(plan.packet_offset));
    if (plan.packet_words != 0) header[KRV_AT_VERSION] = 3;
    bool scannable = has_flag(c, FLAG_SCANNABLE);
    header[KRV_AT_SCANNABLE] = static_cast<uint8_t>((header[KRV_AT_SCANNABLE] & ~1) | (scannable ? 1 : 0));
    // With an overview active the handle has the overview's size; the header is the base image's.
    store_u32le(header + KRV_AT_PIXELS_PER_LINE, static_cast<uint32_t>(spec->xsize));
    store_u32le(header + KRV_AT_LINES, static_cast<uint32_t>(spec->ysize));
    store_u16le(header + KRV_AT_WORDS_TO_FOLLOW, static_cast<uint16_t>(plan.total));
}

bool write_zeros(CFILE* c, int64_t count) {
    static constexpr uint8_t zeros[512] = {};
    while (count > 0) {
        size_t part = count < 512 ? static_cast<size_t>(count) : sizeof zeros;
        if (io_write(c, zeros, part) != part) return false;
        count -= static_cast<int64_t>(part);
    }
    return true;
}

// ---- colour table
// ----------------------------------------------------------------------------------------------------

bool write_byte_vlt(CFILE* c, uint32_t entries) {
    uint8_t table[KRV_BYTE_VLT_SIZE] = {};
    if (c->vlt == nullptr) {
        std::memcpy(table, c->color_table, sizeof table);
    } else {
        for (uint32_t i = 0; i < entries && i < 256; ++i) {
            uint8_t* color = table + size_t{c->vlt[i].slot % 256u} * 3;
            color[0] = static_cast<uint8_t>(c->vlt[i].red >> 8);
            color[1] = static_cast<uint8_t>(c->vlt[i].green >> 8);
            color[2] = static_cast<uint8_t>(c->vlt[i].blue >> 8);
        }
    }
    return io_write(c, table, sizeof table) == sizeof table;
}

// An entry of a table that is made from the file's colours; those past the colours hold their number alone.
rzl_vlt_entry built_entry(const CFILE* c, uint32_t i) {
    rzl_vlt_entry entry = {static_cast<uint16_t>(i), 0, 0, 0};
    if (i >= 256) return entry;
    const uint8_t* color = c->color_table + size_t{i} * 3;
    entry.red = static_cast<uint16_t>(color[0] * 256);
    entry.green = static_cast<uint16_t>(color[1] * 256);
    entry.blue = static_cast<uint16_t>(color[2] * 256);
    return entry;
}

bool write_entry_vlt(CFILE* c, uint32_t entries) {
    if (c->vlt == nullptr && entries > BUILT_ENTRIES_MAX) return false;
    for (uint32_t i = 0; i < entries; ++i) {
        rzl_vlt_entry entry = c->vlt != nullptr ? c->vlt[i] : built_entry(c, i);
        uint8_t bytes[KRV_VLT_ENTRY_SIZE];
        store_u16le(bytes, entry.slot);
        store_u16le(bytes + 2, entry.red);
        store_u16le(bytes + 4, entry.green);
        store_u16le(bytes + 6, entry.blue);
        if (io_write(c, bytes, sizeof bytes) != sizeof bytes) return false;
    }
    int64_t padding = rounded_up(entries, ENTRIES_STEP) - entries;
    return write_zeros(c, padding * int64_t{KRV_VLT_ENTRY_SIZE});
}

// ---- packets
// ---------------------------------------------------------------------------------------------------------

bool write_packet(CFILE* c, const uint8_t* packet, int64_t* words_left) {
    int64_t words = krv_packet_total(packet);
    if (words == 0) return true;
    if (words > *words_left) return false;
    *words_left -= words;
    auto bytes = static_cast<size_t>(words) * 2;
    return io_write(c, packet, bytes) == bytes;
}

bool write_packets(CFILE* c, const layout& plan) {
    krv_spec* spec = krv_spec_of(c);
    int64_t left = plan.packet_words;
    if (!io_seek(c, c->base_offset + plan.packet_offset)) return false;
    if (spec->overview_packet != nullptr) spec->overview_at = plan.packet_offset;
    if (!write_packet(c, spec->overview_packet, &left)) return false;
    if (format_is_jpeg(spec->data_type) && !write_packet(c, spec->jpeg_packet, &left)) return false;
    int64_t padding = (rounded_up(plan.packet_words, PACKET_STEP) - plan.packet_words) * 2;
    auto bytes = static_cast<size_t>(left) * 2;
    if (spec->app_packet != nullptr) {
        if (io_write(c, spec->app_packet, bytes) != bytes) return false;
        return write_zeros(c, padding);
    }
    // The packets of a file under update stay as they are in it.
    return has_flag(c, FLAG_HEADER_EXISTS) || write_zeros(c, static_cast<int64_t>(bytes) + padding);
}

// ---- the whole
// -------------------------------------------------------------------------------------------------------

bool write_parts(CFILE* c, const layout& plan) {
    const uint8_t* header = krv_spec_of(c)->header;
    size_t size = plan.vlt_type == KRV_VLT_BYTES ? KRV_SHORT_HEADER_SIZE : KRV_HEADER_SIZE;
    if (io_write(c, header, size) != size) return false;
    if (plan.vlt_type == KRV_VLT_BYTES && !write_byte_vlt(c, plan.vlt_entries)) return false;
    if (plan.vlt_type == KRV_VLT_ENTRIES && !write_entry_vlt(c, plan.vlt_entries)) return false;
    return plan.packet_words == 0 || write_packets(c, plan);
}

// The position is the data start afterwards. Where that lies behind what has been written, room is left in between.
bool go_to_data(CFILE* c) {
    int64_t start = krv_data_start(c);
    int64_t at = io_tell(c);
    if (at == start) return true;
    if (has_flag(c, FLAG_HEADER_EXISTS) || at > start) return io_seek(c, start);
    return write_zeros(c, start - at);
}

// The header before this image's in the chain learns where this one is, now that it stands there.
bool link_image(CFILE* c) {
    krv_spec* spec = krv_spec_of(c);
    if (spec->link_from < 0) return true;
    uint8_t place[4];
    store_u32le(place, static_cast<uint32_t>(c->base_offset));
    int64_t back = io_tell(c);
    bool good =
        io_seek(c, spec->link_from + int64_t{KRV_AT_NEXT_IMAGE}) && io_write(c, place, 4) == 4 && io_seek(c, back);
    if (good) spec->link_from = -1;
    return good;
}

void note_written(CFILE* c, const layout& plan) {
    krv_spec* spec = krv_spec_of(c);
    spec->stored_vlt_type = load_u16le(spec->header + KRV_AT_VLT_TYPE);
    spec->stored_vlt_entries = load_u32le(spec->header + KRV_AT_VLT_ENTRIES);
    spec->stored_words = static_cast<uint32_t>(plan.packet_words);
    if (has_flag(c, FLAG_PACKET_OWNED)) krv_drop_app_packet(c);
    set_flag(c, FLAG_OVERVIEWS_CHANGED, false);
}

} // namespace

int krv_write_header(CFILE* c) {
    if (!is_writable(c)) return refuse(c, RZL_NEEDS_WRITE, "write header");
    if (krv_spec_of(c)->data_type == RZL_FORMAT_BYTE_PAIRS && !has_flag(c, FLAG_TILED))
        set_flag(c, FLAG_SCANNABLE, true);
    if (!has_flag(c, FLAG_RAW)) {
        layout plan = plan_layout(c);
        if (fit_layout(c, &plan) != 0) return 1;
        store_layout(c, plan);
        // A new file on a pipe can't seek, and stands at its start anyway.
        bool at_start = io_tell(c) == c->base_offset || io_seek(c, c->base_offset) || !is_readable(c);
        if (!at_start || !write_parts(c, plan) || !go_to_data(c) || !link_image(c)) {
            return refuse(c, RZL_WRITE_FAILED, "header");
        }
        note_written(c, plan);
    }
    set_flag(c, FLAG_HEADER_EXISTS, true);
    c->line = 0;
    return 0;
}
