// ASRP and USRP map sets: header fields and colours.
#include <cstring>

#include "raster/ADRG/adrg.h"
#include "raster/ADRG/asrp.h"

int asrp_get_hdr_data(CFILE* c, int32_t field, void* value) {
    const asrp_spec* spec = asrp_spec_of(c);
    set_give_field(c, field, value);
    switch (field) {
    case RZL_FIELD_VLT_TYPE: give_int(value, spec->color_count > 0 ? RZL_VLT_ENTRIES : RZL_VLT_NONE); break;
    case RZL_FIELD_VLT_ENTRIES: give_int(value, spec->color_count); break;
    case RZL_FIELD_MAP: std::memcpy(value, &spec->map, sizeof spec->map); break;
    default: break;
    }
    return 0;
}

// Entries behind the last colour are numbered, and black.
int asrp_get_vlt(CFILE* c, rzl_vlt_entry* entries) {
    constexpr int32_t MOST_ENTRIES = 256;
    const asrp_spec* spec = asrp_spec_of(c);
    if (spec->color_count == 0) return refuse(c, RZL_NO_VLT, "asrp/asrinfo", "asrp getvlt");
    if (rzl_get_vlt_of_table(c, entries) != 0) return 1;
    for (int32_t i = spec->color_count; i < MOST_ENTRIES; ++i)
        entries[i] = {static_cast<uint16_t>(i), 0, 0, 0};
    return 0;
}
