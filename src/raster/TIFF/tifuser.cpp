// TIFF: tags of the application, and any tag of the file by its number.
#include <algorithm>
#include <cstring>

#include "raster/TIFF/tiff.h"
#include "support/checked.h"
#include "support/memory.h"

namespace {

constexpr const char* SOURCE = "TIFF/tifinfo";

const tif_user_tag* find_added(const tif_image* image, uint16_t tag) {
    for (uint32_t i = image->user_tag_count; i-- > 0;)
        if (image->user_tags[i].tag == tag) return &image->user_tags[i];
    return nullptr;
}

// Values of up to four bytes are in the record itself.
int give_value(CFILE* c, rzl_user_tag* tag, const uint8_t* values) {
    uint64_t bytes = tif_value_bytes(tag->type, tag->count);
    if (bytes > 4 && tag->data.pointer == nullptr) return tif_refuse(c, RZL_NO_OUTPUT_BUFFER_2, SOURCE, nullptr);
    void* to = bytes > 4 ? tag->data.pointer : static_cast<void*>(tag->data.bytes);
    if (bytes <= 4) std::memset(tag->data.bytes, 0, sizeof tag->data.bytes);
    std::memcpy(to, values, static_cast<size_t>(bytes));
    return 0;
}

int give_stored(CFILE* c, const uint8_t* entry, rzl_user_tag* tag) {
    const tif_spec* spec = tif_spec_of(c);
    uint64_t bytes = tif_value_bytes(tag->type, tag->count);
    uint8_t small[4];
    tif_copy_values(spec, tag->type, small, entry + 8, bytes <= 4 ? tag->count : 0);
    if (bytes <= 4 || tag->data.pointer == nullptr) return give_value(c, tag, small);
    if (static_cast<int64_t>(bytes) > io_size(c)) return tif_refuse(c, RZL_READ_FAILED, SOURCE, "user tag");
    auto* to = static_cast<uint8_t*>(tag->data.pointer);
    if (!tif_read_at(c, tif_u32(spec, entry + 8), to, static_cast<size_t>(bytes))) {
        return tif_refuse(c, RZL_READ_FAILED, SOURCE, "user tag");
    }
    tif_copy_values(spec, tag->type, to, to, tag->count);
    return 0;
}

} // namespace

int tif_get_user_tag(CFILE* c, rzl_user_tag* tag) {
    const tif_spec* spec = tif_spec_of(c);
    const tif_image* image = spec->image;
    const uint8_t* entry = tif_find_entry(spec, image, tag->tag);
    const tif_user_tag* added = find_added(image, tag->tag);
    if (entry == nullptr && added == nullptr) return tif_refuse(c, RZL_NO_SUCH_TAG, SOURCE, "Tag not found.\n");
    tag->type = added != nullptr ? added->type : tif_u16(spec, entry + 2);
    tag->count = added != nullptr ? added->count : tif_u32(spec, entry + 4);
    if (tif_type_size(tag->type) == 0) return tif_refuse(c, RZL_NO_SUCH_TAG, SOURCE, "Invalid user tag");
    if (c->mode == MODE_WRITE) return 0; // what is in the file can't be read back
    return added != nullptr ? give_value(c, tag, added->data) : give_stored(c, entry, tag);
}

bool tif_keep_user_tag(tif_image* image, uint16_t tag, uint16_t type, uint32_t count, const void* data) {
    uint64_t bytes = tif_value_bytes(type, count);
    if (bytes > INT32_MAX) return false;
    size_t rows = size_t{image->user_tag_count} + 1;
    auto* grown = static_cast<tif_user_tag*>(mem_realloc(image->user_tags, rows * sizeof(tif_user_tag)));
    if (grown == nullptr) return false;
    image->user_tags = grown;
    // Room for the widest value, so that short ones can be taken as values of four bytes.
    auto* copy = static_cast<uint8_t*>(mem_alloc_zeroed(std::max<size_t>(static_cast<size_t>(bytes), 4)));
    if (copy == nullptr) return false;
    std::memcpy(copy, data, static_cast<size_t>(bytes));
    grown[image->user_tag_count++] = {tag, type, count, copy};
    return true;
}

int tif_add_user_tag(CFILE* c, const rzl_user_tag* tag) {
    tif_image* image = tif_image_of(c);
    bool own = tif_is_managed(tag->tag) || tag->tag == TIF_TAG_PACKETS; // only the module writes those
    uint64_t bytes = tif_value_bytes(tag->type, tag->count);
    bool given = bytes <= 4 || tag->data.pointer != nullptr;
    if (own || !given || tag->count == 0) return tif_refuse(c, RZL_NO_SUCH_TAG, SOURCE, "Tag not found");
    if (bytes > INT32_MAX) return tif_refuse(c, RZL_BAD_FIELD_VALUE, SOURCE, "user tag");
    if (tif_type_size(tag->type) == 0 && debug_level() != 0) {
        rzl_report(RZL_NO_SUCH_TAG, SOURCE, __LINE__, "Bad generic tag");
    }
    const void* values = bytes > 4 ? tag->data.pointer : static_cast<const void*>(tag->data.bytes);
    if (!tif_keep_user_tag(image, tag->tag, tag->type, tag->count, values)) {
        return tif_refuse(c, RZL_NO_MEMORY, SOURCE, "user tag");
    }
    return 0;
}
