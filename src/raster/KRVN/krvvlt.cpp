// Native files: reading the colour table, as the table that lines are looked up in, and as the entries that an
// application asks for.
#include "raster/KRVN/krv.h"
#include "support/memory.h"

namespace {

constexpr const char* SOURCE = "KRVN/krvvlt";
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
    if (type != RZL_VLT_BYTES && type != RZL_VLT_ENTRIES) {
        fail(c, RZL_NO_VLT, SOURCE, "Krvn getvlt");
        return 1;
    }
    if (!is_readable(c)) {
        fail(c, RZL_NEEDS_READ, SOURCE, "Krvn getvlt");
        return 1;
    }
    bool bytes_only = type == RZL_VLT_BYTES;
    int64_t at = c->base_offset + static_cast<int64_t>(bytes_only ? KRV_SHORT_HEADER_SIZE : KRV_HEADER_SIZE);
    uint32_t count = load_u32le(header + KRV_AT_VLT_ENTRIES);
    int64_t position = io_tell(c);
    bool delivered = count <= MOST_STORED_ENTRIES && deliver_entries(c, at, bytes_only, count, entries);
    io_seek(c, position);
    if (delivered) return 0;
    fail(c, RZL_READ_FAILED, SOURCE, "Krvn getvlt");
    return 1;
}
