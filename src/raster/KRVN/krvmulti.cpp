// Native files: several images in one file, each with a header that tells where the next one stands.
//
// A chain is believed only as long as it moves forward by at least a header, which every chain does that was written by
// appending; so a walk ends whatever a file claims.
//
// An appended image is linked to the one before it when its own header is written, not when it is begun. Until then the
// file reads as if nothing had been started.
#include "raster/KRVN/krv.h"
#include "support/memory.h"

namespace {

constexpr const char* SOURCE = "KRVN/krvmulti";

// A place in the chain.
struct chain_place {
    int32_t index;
    int64_t at; // file offset of its header
    uint8_t header[KRV_HEADER_SIZE];
};

int64_t next_of(const chain_place& place) {
    return load_u32le(place.header + KRV_AT_NEXT_IMAGE);
}

bool first_place(CFILE* c, chain_place* place) {
    place->index = 0;
    place->at = 0;
    if (!krv_read_header(c, 0, 1, place->header)) return false;
    if (krv_words_to_follow(place->header) < KRV_PLAIN_WORDS) store_u32le(place->header + KRV_AT_NEXT_IMAGE, 0);
    return true;
}

// Steps to the next image. False: its header can't be read, or the chain does not go forward.
bool step_on(CFILE* c, chain_place* place) {
    int64_t next = next_of(*place);
    if (next < place->at + int64_t{KRV_OLD_HEADER_SIZE}) return false;
    place->at = next;
    ++place->index;
    return krv_read_header(c, next, KRV_HEADER_SIZE, place->header);
}

// Walks to image n or to the end of the chain, whichever comes first, from the active image where that lies before n.
bool walk_to(CFILE* c, int32_t image, chain_place* place) {
    if (image < c->active_image) {
        if (!first_place(c, place)) return false;
    } else {
        place->index = c->active_image;
        place->at = c->base_offset;
        std::memcpy(place->header, krv_spec_of(c)->header, KRV_HEADER_SIZE);
    }
    while (place->index < image && next_of(*place) != 0) {
        if (!step_on(c, place)) return false;
    }
    return true;
}

// Lets go of all that belongs to the image before.
void clear_image(CFILE* c) {
    krv_free_packets(c);
    mem_free(c->line_offsets);
    c->line_offsets = nullptr;
    c->line_offset_count = 0;
    mem_free(c->color_table);
    c->color_table = nullptr;
    mem_free(c->jpeg);
    c->jpeg = nullptr;
    c->vlt = nullptr;
    uint32_t cleared = FLAG_HEADER_EXISTS | FLAG_TILES_CHANGED | FLAG_OVERVIEWS_CHANGED | FLAG_PACKET_OWNED |
                       FLAG_SCANNABLE | FLAG_LINES_FROM_ZERO | FLAG_LINE_PADDING;
    set_flag(c, cleared, false);
}

// The handle becomes that of a new image at the end of the file, write-only, with an initial header. Size and data
// format go on from the image before, for callers that append more of the same.
int append_image(CFILE* c) {
    krv_spec* spec = krv_spec_of(c);
    if (!has_flag(c, FLAG_HEADER_EXISTS) && krv_write_header(c) != 0) return 1;
    int64_t at = io_size(c);
    if (at < 0) return refuse(c, RZL_WRITE_FAILED, SOURCE, "append image");
    if (at < krv_data_start(c)) at = krv_data_start(c);
    if (at > int64_t{UINT32_MAX}) return refuse(c, RZL_BAD_IMAGE_SIZE, SOURCE, "append image");
    int32_t data_type = spec->data_type;
    c->xsize = spec->xsize; // with an overview active the handle has the overview's
    c->ysize = spec->ysize;
    int64_t previous = c->base_offset;
    clear_image(c);
    krv_init_spec(c);
    spec->data_type = data_type;
    spec->link_from = previous;
    c->base_offset = at;
    c->mode = MODE_WRITE;
    ++c->active_image;
    set_flag(c, FLAG_MULTI_IMAGE, true);
    c->active_overview = OVERVIEW_UNSET;
    return krv_set_active_overview(c, OVERVIEW_BASE);
}

int go_to_image(CFILE* c, int32_t image) {
    if (image < c->active_image && !is_readable(c)) return refuse(c, RZL_NEEDS_READ, SOURCE, "set active image");
    chain_place place;
    if (!walk_to(c, image, &place)) return refuse(c, RZL_READ_FAILED, SOURCE, "set active image");
    if (place.index == image) {
        if (!krv_load_image(c, place.at, place.header)) return 1;
        c->active_image = image;
        return 0;
    }
    if (image != place.index + 1 || !is_writable(c))
        return refuse(c, RZL_NO_SUCH_IMAGE, SOURCE, "Invalid image number");
    if (place.index != c->active_image) {
        if (!krv_load_image(c, place.at, place.header)) return 1;
        c->active_image = place.index;
    }
    return append_image(c);
}

} // namespace

int krv_get_number_of_images(CFILE* c) {
    if (!is_readable(c)) return c->active_image + 1; // write-only: the last is the one that is being written
    int64_t position = io_tell(c);
    chain_place place;
    bool good = first_place(c, &place);
    while (good && next_of(place) != 0)
        good = step_on(c, &place);
    io_seek(c, position);
    if (good) return place.index + 1;
    return fails(c, RZL_READ_FAILED, SOURCE, "number of images");
}

int krv_set_number_of_images(CFILE* c, int32_t count) {
    set_flag(c, FLAG_MULTI_IMAGE, count >= 2);
    return 0;
}

int krv_set_active_image(CFILE* c, int32_t image) {
    int32_t target = image < 0 ? 0 : image;
    if (target == c->active_image) return 0;
    if (!has_flag(c, FLAG_MULTI_IMAGE) && !is_writable(c)) {
        return target == 0 ? 0 : refuse(c, RZL_NO_SUCH_IMAGE, SOURCE, "Invalid image number");
    }
    int64_t image_at = c->base_offset;
    int64_t position = io_tell(c);
    if (!krv_finish_coded(c) || !krv_flush_directories(c)) return 1;
    int result = go_to_image(c, target);
    // The image that stays active after a refusal is read on where it was.
    if (result != 0 && c->base_offset == image_at) io_seek(c, position);
    return result;
}
