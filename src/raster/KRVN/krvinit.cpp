// Native files: making one file from another. The header's fields, the overview directory and the coded pixels are
// copied each on its own, so that a caller can change what lies between.
#include "raster/KRVN/krv.h"
#include "support/memory.h"

namespace {

constexpr const char* SOURCE = "KRVN/krvinit";
constexpr int32_t LINE_AFTER_COPY = 0x7FFFFFFF;

int refuse_both(CFILE* from, CFILE* to, uint32_t status, const char* detail) {
    fail(from, status, SOURCE, detail);
    return refuse(to, status, SOURCE, detail);
}

bool are_native(const CFILE* from, const CFILE* to) {
    return has_flag(from, FLAG_NATIVE) && has_flag(to, FLAG_NATIVE) && from->spec != nullptr && to->spec != nullptr;
}

// What both header copies ask of the two handles. `to` must be new: a header that exists describes data.
int check_pair(CFILE* from, CFILE* to, const char* detail) {
    if (!is_readable(from)) return refuse(from, RZL_NEEDS_READ, SOURCE, detail);
    if (!is_writable(to) || has_flag(to, FLAG_HEADER_EXISTS)) return refuse(to, RZL_NEEDS_WRITE, SOURCE, detail);
    if (has_flag(from, FLAG_RAW) || has_flag(to, FLAG_RAW) || !are_native(from, to)) {
        return refuse_both(from, to, RZL_NOT_STANDARD, detail);
    }
    return 0;
}

// Up to the end of the image: the next image of a chain is no part of it.
int64_t data_end(CFILE* c) {
    return krv_next_image(c) != 0 ? int64_t{krv_next_image(c)} : io_size(c);
}

// Moves blocks until the data end. False: a write came back short.
bool copy_blocks(CFILE* from, CFILE* to, int64_t bytes) {
    uint8_t block[512];
    while (bytes > 0) {
        size_t wanted = bytes < int64_t{sizeof block} ? static_cast<size_t>(bytes) : sizeof block;
        size_t got = io_read(from, block, wanted);
        if (got == 0) return true;
        if (io_write(to, block, got) != got) return false;
        bytes -= static_cast<int64_t>(got);
    }
    return true;
}

// The header of `from` without what speaks of places in its file. Packets that `to` already holds keep their room.
void take_fields(const CFILE* from, CFILE* to) {
    krv_spec* spec = krv_spec_of(to);
    std::memcpy(spec->header, krv_spec_of(from)->header, KRV_HEADER_SIZE);
    store_u16le(spec->header + KRV_AT_TYPE, KRV_TYPE);
    store_u16le(spec->header + KRV_AT_WORDS_TO_FOLLOW, KRV_PLAIN_WORDS);
    store_u32le(spec->header + KRV_AT_NEXT_IMAGE, 0);
    store_u16le(spec->header + KRV_AT_VLT_TYPE, 0);
    store_u32le(spec->header + KRV_AT_VLT_ENTRIES, 0);
    store_u32le(spec->header + KRV_AT_PACKET_OFFSET, 0);
    store_u32le(spec->header + KRV_AT_PACKET_WORDS, krv_library_words(spec));
    spec->data_type = krv_spec_of(from)->data_type;
    spec->base_tile = krv_spec_of(from)->base_tile;
    if (has_flag(to, FLAG_SIZE_FIXED)) return;
    spec->xsize = krv_spec_of(from)->xsize;
    spec->ysize = krv_spec_of(from)->ysize;
    to->xsize = spec->xsize;
    to->ysize = spec->ysize;
}

} // namespace

int krv_copydata(CFILE* from, CFILE* to) {
    if (!is_readable(from)) return refuse(from, RZL_NEEDS_READ, SOURCE, "copydata");
    if (!is_writable(to)) return refuse(to, RZL_NEEDS_WRITE, SOURCE, "copydata");
    if (has_flag(from, FLAG_NO_RAW_COPY)) return refuse_both(from, to, RZL_NOT_STANDARD, "copydata");
    bool plain = !has_flag(from, FLAG_FIELD_36) && !has_flag(to, FLAG_FIELD_36) && are_native(from, to);
    if (!plain) return refuse_both(from, to, RZL_UNSUP_COPY, "copydata");
    if (!has_flag(to, FLAG_HEADER_EXISTS) && krv_write_header(to) != 0) return 1;
    int64_t start = krv_data_start(from);
    int64_t bytes = data_end(from) - start;
    if (!io_seek(from, start)) return refuse_both(from, to, RZL_READ_FAILED, "copydata");
    bool copied = io_seek(to, krv_data_start(to)) && copy_blocks(from, to, bytes);
    from->line = LINE_AFTER_COPY;
    to->line = LINE_AFTER_COPY;
    return copied ? 0 : refuse_both(from, to, RZL_WRITE_FAILED, "copydata");
}

int krv_init_std_hdr(CFILE* from, CFILE* to) {
    if (check_pair(from, to, "init std hdr") != 0) return 1;
    if (!krv_need_ccitt(to, krv_spec_of(from)->data_type)) return 1;
    krv_drop_app_packet(to);
    take_fields(from, to);
    set_flag(to, FLAG_SCANNABLE, (krv_spec_of(to)->header[KRV_AT_SCANNABLE] & 1) != 0);
    if (rzl_setup_tiles(to, krv_spec_of(to)->base_tile, 0) != 0) return 1;
    int32_t bits = from->bits;
    if (!krv_apply_data_type(to)) return 1;
    to->bits = bits;
    if (from->compression != CLASS_CCITT) return 0;
    to->compression = CLASS_CCITT;
    to->compression_variant = from->compression_variant == 1 ? 1 : 4;
    return 0;
}

int krv_init_ov(CFILE* from, CFILE* to) {
    if (check_pair(from, to, "init ov") != 0) return 1;
    const krv_spec* source = krv_spec_of(from);
    krv_spec* target = krv_spec_of(to);
    int32_t count = krv_overview_count(target);
    if (krv_overview_count(source) < count) count = krv_overview_count(source);
    if (count == 0) return refuse(to, RZL_NO_OVERVIEWS, SOURCE, "init ov");
    for (int32_t i = 0; i < count; ++i)
        krv_store_overview(target, i, krv_load_overview(source, i));
    set_flag(to, FLAG_OVERVIEWS_CHANGED, true);
    return 0;
}
