// ADRG map sets: header fields.
#include <cstring>

#include "raster/ADRG/adrg.h"

void set_give_field(const CFILE* c, int32_t field, void* value) {
    constexpr int32_t VERSION = 3;
    switch (field) {
    case RZL_FIELD_ORIENTATION:
    case RZL_FIELD_TILE_WIDTH:
    case RZL_FIELD_TILE_HEIGHT:
    case RZL_FIELD_TILES_ACROSS:
    case RZL_FIELD_TILES_DOWN: break; // as the handle tells
    case RZL_FIELD_VERSION: give_int(value, VERSION); break;
    default: {
        field_type type = field_type_of(c, field);
        if (type.kind != field_kind::record) std::memset(value, 0, type.size);
    }
    }
}

int adrg_get_hdr_data(CFILE* c, int32_t field, void* value) {
    set_give_field(c, field, value);
    if (field == RZL_FIELD_MAP) std::memcpy(value, &adrg_spec_of(c)->map, sizeof(rzl_map_info));
    return 0;
}
