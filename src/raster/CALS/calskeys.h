// The records of the header of text, in the order in which they are written, by the variant of the file.
#pragma once

#include <span>

#include "raster/CALS/cals.h"

enum class cals_value : uint8_t { text, type, rotation, size, density };

struct cals_key {
    const char* word;
    cals_value kind;
    cals_text text; // of a text
};

constexpr cals_key CALS_KEYS_A[] = {
    {"srcdocid", cals_value::text, CALS_SOURCE_ID},
    {"dstdocid", cals_value::text, CALS_DESTINATION_ID},
    {"txtfilid", cals_value::text, CALS_TEXT_FILE_ID},
    {"figid", cals_value::text, CALS_FIGURE_ID},
    {"srcgph", cals_value::text, CALS_SOURCE_GRAPHICS},
    {"doccls", cals_value::text, CALS_CLASS},
    {"rtype", cals_value::type, CALS_TEXTS},
    {"rorient", cals_value::rotation, CALS_TEXTS},
    {"rpelcnt", cals_value::size, CALS_TEXTS},
    {"rdensty", cals_value::density, CALS_TEXTS},
    {"notes", cals_value::text, CALS_NOTES},
};

constexpr cals_key CALS_KEYS_B[] = {
    {"specversion", cals_value::text, CALS_VERSION},
    {"srcdocid", cals_value::text, CALS_SOURCE_ID},
    {"dstdocid", cals_value::text, CALS_DESTINATION_ID},
    {"datfilid", cals_value::text, CALS_DATA_FILE_ID},
    {"moduleid", cals_value::text, CALS_MODULE_ID},
    {"dtype", cals_value::type, CALS_TEXTS},
    {"rorient", cals_value::rotation, CALS_TEXTS},
    {"rpelcnt", cals_value::size, CALS_TEXTS},
    {"rdensty", cals_value::density, CALS_TEXTS},
    {"didid", cals_value::text, CALS_ITEM_ID},
    {"doccls", cals_value::text, CALS_CLASS},
    {"fosipubid", cals_value::text, CALS_FORMAT_ID},
    {"notes", cals_value::text, CALS_NOTES},
};

inline std::span<const cals_key> cals_keys_of(char variant) {
    if (variant == 'A') return CALS_KEYS_A;
    if (variant == 'B') return CALS_KEYS_B;
    return {};
}
