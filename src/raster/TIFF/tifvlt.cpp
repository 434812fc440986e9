// TIFF: the colour map, three planes of 16-bit values as long as the samples have values.
#include <cstring>

#include "raster/TIFF/tiff.h"
#include "support/memory.h"

namespace {
constexpr const char* SOURCE = "TIFF/tifvlt";
constexpr size_t TABLE_SIZE = 3 * TIF_MAP_ENTRIES;
} // namespace

bool tif_need_map(tif_image* image) {
    if (image->colour_map != nullptr) return true;
    image->colour_map = static_cast<uint16_t*>(mem_alloc_zeroed(TABLE_SIZE * sizeof(uint16_t)));
    if (image->colour_map == nullptr) return false;
    size_t entries = size_t{1} << tif_bits(image);
    for (size_t plane = 0; plane < 3; ++plane)
        for (size_t i = 0; i < entries; ++i)
            image->colour_map[plane * entries + i] = static_cast<uint16_t>(i * 0xFFFF / (entries - 1));
    return true;
}

bool tif_take_vlt(CFILE* c, tif_image* image) {
    if ((image->flags & TIF_HAS_MAP) == 0 || tif_bits(image) > 8) return true;
    if (!tif_need_map(image)) {
        fail(c, RZL_NO_MEMORY, SOURCE, nullptr);
        return false;
    }
    size_t entries = size_t{1} << tif_bits(image);
    for (int32_t i = 0; c->vlt != nullptr && i < image->colour_map_count; ++i) {
        const rzl_vlt_entry& entry = c->vlt[i];
        if (entry.slot >= entries) continue;
        image->colour_map[entry.slot] = entry.red;
        image->colour_map[entries + entry.slot] = entry.green;
        image->colour_map[2 * entries + entry.slot] = entry.blue;
    }
    return true;
}

// The high bytes, as triples.
bool tif_make_color_table(CFILE* c, const tif_image* image) {
    bool has_map = (image->flags & TIF_HAS_MAP) != 0 && image->colour_map != nullptr && tif_bits(image) <= 8;
    if (!has_map) {
        mem_free(c->color_table);
        c->color_table = nullptr;
        c->vlt_bits = 0;
        return true;
    }
    if (c->color_table == nullptr) c->color_table = static_cast<uint8_t*>(mem_alloc_zeroed(TABLE_SIZE));
    if (c->color_table == nullptr) return false;
    std::memset(c->color_table, 0, TABLE_SIZE);
    size_t entries = size_t{1} << tif_bits(image);
    for (size_t i = 0; i < entries; ++i)
        for (size_t plane = 0; plane < 3; ++plane)
            c->color_table[3 * i + plane] = static_cast<uint8_t>(image->colour_map[plane * entries + i] >> 8);
    c->vlt_bits = 8;
    return true;
}

// As many entries as field 6 tells.
int tif_get_vlt(CFILE* c, rzl_vlt_entry* entries) {
    const tif_image* image = tif_image_of(c);
    if ((image->flags & TIF_HAS_MAP) == 0 || image->colour_map == nullptr) {
        return tif_refuse(c, RZL_NO_VLT, SOURCE, "tif get vlt");
    }
    size_t count = size_t{1} << tif_bits(image);
    for (size_t i = 0; i < count; ++i)
        entries[i] = {static_cast<uint16_t>(i), image->colour_map[i], image->colour_map[count + i],
                      image->colour_map[2 * count + i]};
    return 0;
}
