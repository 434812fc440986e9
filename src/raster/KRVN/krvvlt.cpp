// Native files: reading the colour table, as the table that lines are looked up in, and as the entries that an
// application asks for.

#include "raster/KRVN/krv.h"
#include "support/memory.h"

namespace {
constexpr char SOURCE[] = "KRVN/krvvlt";

constexpr size_t TABLE_SIZE = size_t{256} * 3;
constexpr uint32_t MOST_ENTRIES = 512; // of a table that lines are looked up in

// More entries than this don't fit in front of the pixel data, wherever that begins.
constexpr uint32_t MOST_STORED_ENTRIES = KRV_MAX_WORDS * 2 / KRV_VLT_ENTRY_SIZE;

// Entries of four words. The high byte of a colour counts, and slots go round at 256.
bool read_entry_table(CFILE* c, int64_t at, uint32_t entries, uint8_t* table) {
    uint8_t block[MOST_ENTRIES * KRV_VLT_ENTRY_SIZE];
    size_t bytes = size_t{entries} * KRV_VLT_ENTRY_SIZE;
    if (!io_seek(c, at) || io_read(c, block, bytes) != bytes) return false;
    for (uint32_t i = 0; i < entries; ++i) {
        const uint8_t* entry = block + size_t{i} * KRV_VLT_ENTRY_SIZE;
        uint8_t* color = table + size_t{entry[0]} * 3;
        color[0] = entry[3];
        color[1] = entry[5];
        color[2] = entry[7];
    }
    return true;
}

bool read_byte_table(CFILE* c, int64_t at, uint8_t* table) {
    return io_seek(c, at) && io_read(c, table, KRV_BYTE_VLT_SIZE) == KRV_BYTE_VLT_SIZE;
}

rzl_vlt_entry entry_of(const uint8_t* p) {
    return {load_u16le(p), load_u16le(p + 2), load_u16le(p + 4), load_u16le(p + 6)};
}

rzl_vlt_entry entry_of_bytes(uint32_t slot, const uint8_t* p) {
    return {static_cast<uint16_t>(slot), static_cast<uint16_t>(p[0] << 8), static_cast<uint16_t>(p[1] << 8),
            static_cast<uint16_t>(p[2] << 8)};
}

// `entries` stored colours of 8 or 3 bytes from `at` on.
bool deliver_entries(CFILE* c, int64_t at, bool bytes_only, uint32_t entries, rzl_vlt_entry* out) {
    size_t step = bytes_only ? 3 : KRV_VLT_ENTRY_SIZE;
    if (!io_seek(c, at)) return false;
    for (uint32_t i = 0; i < entries; ++i) {
        uint8_t stored[KRV_VLT_ENTRY_SIZE];
        if (io_read(c, stored, step) != step) return false;
        out[i] = bytes_only ? entry_of_bytes(i, stored) : entry_of(stored);
    }
    return true;
}

} // namespace

bool krv_read_color_table(CFILE* c, int64_t base, uint8_t* header, uint8_t** table, bool* dropped) {
    int type = load_u16le(header + KRV_AT_VLT_TYPE);
    if (type == RZL_VLT_BYTES) store_u32le(header + KRV_AT_VLT_ENTRIES, 256);
    uint32_t entries = load_u32le(header + KRV_AT_VLT_ENTRIES);
    if (type == RZL_VLT_NONE || entries == 0) return true;
    if (type > RZL_VLT_ENTRIES || entries > MOST_ENTRIES) {
        rzl_warn("rzl_open_r: WARNING - Color table in file ignored");
        *dropped = true;
        return true;
    }
    auto* block = static_cast<uint8_t*>(mem_alloc_zeroed(TABLE_SIZE));
    if (block == nullptr) return false;
    bool read = type == RZL_VLT_BYTES ? read_byte_table(c, base + int64_t{KRV_SHORT_HEADER_SIZE}, block)
                                      : read_entry_table(c, base + int64_t{KRV_HEADER_SIZE}, entries, block);
    if (!read) {
        mem_free(block);
        block = nullptr;
        *dropped = true;
    }
    *table = block;
    return true;
}

int krv_get_vlt(CFILE* c, rzl_vlt_entry* entries) {
    const uint8_t* header = krv_spec_of(c)->header;
    int type = load_u16le(header + KRV_AT_VLT_TYPE);
    if (type != RZL_VLT_BYTES && type != RZL_VLT_ENTRIES) return refuse(c, RZL_NO_VLT, SOURCE, "Krvn getvlt");
    if (!is_readable(c)) return refuse(c, RZL_NEEDS_READ, SOURCE, "Krvn getvlt");
    bool bytes_only = type == RZL_VLT_BYTES;
    int64_t at = c->base_offset + static_cast<int64_t>(bytes_only ? KRV_SHORT_HEADER_SIZE : KRV_HEADER_SIZE);
    uint32_t count = load_u32le(header + KRV_AT_VLT_ENTRIES);
    int64_t position = io_tell(c);
    bool delivered = count <= MOST_STORED_ENTRIES && deliver_entries(c, at, bytes_only, count, entries);
    io_seek(c, position);
    if (delivered) return 0;
    return refuse(c, RZL_READ_FAILED, SOURCE, "Krvn getvlt");
}

// ---- packets --------------------------------------------------------------------------------------------------------
//
// Native files: packets. The packet area of a header holds blocks of words one behind the other, each with a head that
// tells type, subtype and length. Some are the library's own: the overview directory and the JPEG packet are held in
// memory while their image is active; all others belong to the application and are only passed through.

namespace {

struct packet_head {
    uint16_t type, subtype;
    uint32_t words; // that follow
};

// Where a walk over the packets of the file stands.
struct packet_walk {
    int64_t at;         // file offset of the next head
    uint32_t left;      // words of the packet area from there on
    packet_head head;   // of the packet taken last,
    int64_t content_at; // and where its words begin
};

bool is_overview_packet(const packet_head& head) {
    return head.type == 1 && head.subtype == 10;
}
bool is_jpeg_packet(const packet_head& head) {
    return head.type == 2 && head.subtype == 12;
}
bool is_private_packet(const packet_head& head) {
    return head.type == 2 && head.subtype == 13;
}

uint32_t packet_offset(const CFILE* c) {
    return load_u32le(krv_spec_of(c)->header + KRV_AT_PACKET_OFFSET);
}

packet_walk start_walk(const CFILE* c, uint32_t words) {
    return {c->base_offset + packet_offset(c), words, {}, 0};
}

enum class step { taken, ended, broken };

// Takes the next packet: its head, which is also left in the record. Broken: a head can't be read or claims more words
// than are left.
step next_packet(CFILE* c, packet_walk* walk) {
    if (walk->left < KRV_PACKET_HEAD_WORDS) return step::ended;
    uint8_t bytes[KRV_PACKET_HEAD_SIZE];
    if (!io_seek(c, walk->at) || io_read(c, bytes, KRV_PACKET_HEAD_SIZE) != KRV_PACKET_HEAD_SIZE) return step::broken;
    std::memcpy(krv_spec_of(c)->packet_head, bytes, sizeof bytes);
    walk->head = {load_u16le(bytes), load_u16le(bytes + 2), load_u32le(bytes + 4)};
    if (walk->head.words > walk->left - KRV_PACKET_HEAD_WORDS) return step::broken;
    walk->content_at = walk->at + int64_t{KRV_PACKET_HEAD_SIZE};
    walk->at = walk->content_at + int64_t{walk->head.words} * 2;
    walk->left -= walk->head.words + KRV_PACKET_HEAD_WORDS;
    return step::taken;
}

enum class load { done, missing, no_memory };

// Reads the packet just taken as a whole, head included. One that the file can't hold is missing, whatever it claims.
load load_packet(CFILE* c, const packet_walk& walk, uint8_t** packet) {
    size_t content = size_t{walk.head.words} * 2;
    if (walk.at > io_size(c)) return load::missing;
    mem_guard<uint8_t> block(static_cast<uint8_t*>(mem_alloc(content + KRV_PACKET_HEAD_SIZE)));
    if (!block) return load::no_memory;
    std::memcpy(block.get(), krv_spec_of(c)->packet_head, KRV_PACKET_HEAD_SIZE);
    if (!io_seek(c, walk.content_at) || io_read(c, block.get() + KRV_PACKET_HEAD_SIZE, content) != content) {
        return load::missing;
    }
    bool overviews = is_overview_packet(walk.head);
    if (overviews && !krv_overview_packet_is_whole(block.get(), content + KRV_PACKET_HEAD_SIZE)) return load::missing;
    *packet = block.keep();
    return load::done;
}

void forget_packets(CFILE* c) {
    krv_spec* spec = krv_spec_of(c);
    krv_free_packets(c);
    store_u32le(spec->header + KRV_AT_PACKET_OFFSET, 0);
    store_u32le(spec->header + KRV_AT_PACKET_WORDS, 0);
    spec->stored_words = 0;
    set_flag(c, FLAG_DAMAGED, true);
}

// The place for a library packet that is not held yet, or null.
uint8_t** place_of(krv_spec* spec, const packet_head& head, bool overviews_only) {
    uint8_t** place = nullptr;
    if (is_overview_packet(head)) place = &spec->overview_packet;
    if (is_jpeg_packet(head) && !overviews_only) place = &spec->jpeg_packet;
    return place != nullptr && *place == nullptr ? place : nullptr;
}

// Loads the packet just taken when it is the library's. False: there was no memory, and all packets are forgotten.
bool take_library_packet(CFILE* c, const packet_walk& walk, bool overviews_only) {
    krv_spec* spec = krv_spec_of(c);
    uint8_t** place = place_of(spec, walk.head, overviews_only);
    if (place == nullptr) return true;
    load outcome = load_packet(c, walk, place);
    if (outcome == load::no_memory) {
        forget_packets(c);
        return false;
    }
    if (outcome == load::missing) {
        set_flag(c, FLAG_DAMAGED, true);
    } else if (is_overview_packet(walk.head)) {
        spec->overview_at = walk.content_at - int64_t{KRV_PACKET_HEAD_SIZE} - c->base_offset;
    }
    return true;
}

// Walks the packets for those of the library. With `overviews_only` the overview directory ends the search, and so does
// a head of zeros: the place is a guess, and may be blank.
bool load_library_packets(CFILE* c, uint32_t words, bool overviews_only) {
    packet_walk walk = start_walk(c, words);
    step outcome = next_packet(c, &walk);
    for (; outcome == step::taken; outcome = next_packet(c, &walk)) {
        if (!take_library_packet(c, walk, overviews_only)) return false;
        if (!overviews_only) continue;
        bool blank = walk.head.type == 0 && walk.head.subtype == 0 && walk.head.words == 0;
        if (blank || krv_spec_of(c)->overview_packet != nullptr) return true;
    }
    if (outcome == step::broken) set_flag(c, FLAG_DAMAGED, true);
    return true;
}

// The end of what belongs to the active image, from its start.
int64_t image_limit(CFILE* c) {
    int64_t end = has_flag(c, FLAG_MULTI_IMAGE) && krv_next_image(c) != 0 ? krv_next_image(c) : io_size(c);
    return end - c->base_offset;
}

// Copies the packets of the file that are not the library's behind each other. The private packet is the library's for
// an application, but has to survive a rewrite. *taken is what they take. False: the area is broken or they do not fit
// `capacity` bytes.
bool collect_packets(CFILE* c, uint8_t* out, size_t capacity, bool with_private, size_t* taken) {
    packet_walk walk = start_walk(c, krv_spec_of(c)->stored_words);
    size_t used = 0;
    step outcome = next_packet(c, &walk);
    for (; outcome == step::taken; outcome = next_packet(c, &walk)) {
        const packet_head& head = walk.head;
        bool skipped = is_overview_packet(head) || is_jpeg_packet(head) || (is_private_packet(head) && !with_private);
        if (skipped) continue;
        size_t content = size_t{head.words} * 2;
        if (KRV_PACKET_HEAD_SIZE + content > capacity - used) return false;
        std::memcpy(out + used, krv_spec_of(c)->packet_head, KRV_PACKET_HEAD_SIZE);
        used += KRV_PACKET_HEAD_SIZE;
        if (!io_seek(c, walk.content_at) || io_read(c, out + used, content) != content) return false;
        used += content;
    }
    *taken = used;
    return outcome == step::ended && walk.left == 0;
}

} // namespace

void krv_read_packets(CFILE* c) {
    krv_spec* spec = krv_spec_of(c);
    uint32_t offset = packet_offset(c);
    uint32_t words = load_u32le(spec->header + KRV_AT_PACKET_WORDS);
    if (offset == 0 || words == 0) return;
    spec->stored_words = words;
    int64_t end = (int64_t{offset} + 1) / 2 + int64_t{words};
    if (krv_words_to_follow(spec->header) + 2 >= end) {
        load_library_packets(c, words, false);
        return;
    }
    rzl_warn("rzl_open_r: WARNING - Application packet infile out of position");
    int64_t limit = image_limit(c);
    if (offset < limit && words < limit && !load_library_packets(c, words, true)) return;
    if (spec->overview_packet == nullptr) forget_packets(c);
}

void krv_drop_app_packet(CFILE* c) {
    krv_spec* spec = krv_spec_of(c);
    if (has_flag(c, FLAG_PACKET_OWNED)) mem_free(const_cast<void*>(spec->app_packet));
    spec->app_packet = nullptr;
    set_flag(c, FLAG_PACKET_OWNED, false);
}

void krv_free_packets(CFILE* c) {
    krv_spec* spec = krv_spec_of(c);
    krv_drop_app_packet(c);
    mem_free(spec->overview_packet);
    mem_free(spec->jpeg_packet);
    mem_free(spec->other_packet);
    spec->overview_packet = nullptr;
    spec->jpeg_packet = nullptr;
    spec->other_packet = nullptr;
    spec->overview_at = 0;
    spec->stored_words = 0;
}

uint32_t krv_packet_total(const uint8_t* packet) {
    return packet != nullptr ? load_u32le(packet + 4) + KRV_PACKET_HEAD_WORDS : 0;
}

uint32_t krv_library_words(const krv_spec* spec) {
    return krv_packet_total(spec->overview_packet) + krv_packet_total(spec->jpeg_packet) +
           krv_packet_total(spec->other_packet);
}

uint32_t krv_app_words(const krv_spec* spec) {
    uint32_t words = load_u32le(spec->header + KRV_AT_PACKET_WORDS);
    uint32_t library = krv_library_words(spec);
    return words > library ? words - library : 0;
}

int krv_save_packets(CFILE* c) {
    krv_spec* spec = krv_spec_of(c);
    uint32_t words = krv_app_words(spec);
    if (words == 0 || spec->app_packet != nullptr || spec->stored_words == 0 || packet_offset(c) == 0) return 0;
    if (!is_readable(c)) return refuse(c, RZL_NEEDS_READ, SOURCE, "packets");
    if (int64_t{words} * 2 > io_size(c)) return refuse(c, RZL_READ_FAILED, SOURCE, "packets");
    size_t bytes = size_t{words} * 2;
    mem_guard<uint8_t> block(static_cast<uint8_t*>(mem_alloc_zeroed(bytes)));
    if (!block) return refuse(c, RZL_NO_MEMORY, SOURCE, "packets");
    size_t taken = 0;
    if (!collect_packets(c, block.get(), bytes, true, &taken)) return refuse(c, RZL_READ_FAILED, SOURCE, "packets");
    spec->app_packet = block.keep();
    set_flag(c, FLAG_PACKET_OWNED, true);
    return 0;
}

int krv_get_packet(CFILE* c, void* buffer) {
    krv_spec* spec = krv_spec_of(c);
    uint32_t words = krv_app_words(spec);
    if (packet_offset(c) == 0 || words == 0)
        return refuse(c, RZL_NO_PACKETS, SOURCE, "No application packet data found");
    if (!is_readable(c)) return refuse(c, RZL_NEEDS_READ, SOURCE, "packets");
    int64_t position = io_tell(c);
    size_t taken = 0;
    bool whole = collect_packets(c, static_cast<uint8_t*>(buffer), size_t{words} * 2, false, &taken);
    io_seek(c, position);
    if (!whole) return refuse(c, RZL_READ_FAILED, SOURCE, "packets");
    return taken != 0 ? 0 : refuse(c, RZL_NO_PACKETS, SOURCE, "No application packet data found");
}

int krv_put_packet(CFILE* c, const void* buffer) {
    if (!is_writable(c)) return refuse(c, RZL_NEEDS_WRITE, SOURCE, "packets");
    krv_drop_app_packet(c);
    krv_spec_of(c)->app_packet = buffer;
    return 0;
}
