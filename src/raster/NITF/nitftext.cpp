// NITF files: the texts of headers and subheaders, in the order of the file.
#include <algorithm>
#include <cstddef>
#include <cstring>
#include <iterator>

#include "raster/NITF/nitf.h"

namespace {

using header = rzl_nitf_header;
using image = rzl_nitf_image;
using band = rzl_nitf_band;

// A text fills its place in the record but for the zero byte.
#define TEXT(record, member) sizeof(record::member) - 1, offsetof(record, member)

constexpr nitf_text HEADER[] = {
    {"MessageTypeAndVersion.", TEXT(header, type_and_version), "NITF02.00"},
    {"ComplianceLevel.", TEXT(header, compliance_level), "00"},
    {"SystemType.", TEXT(header, system_type), nullptr},
    {"OriginatingStationID.", TEXT(header, station_id), nullptr},
    {"MessageDateAndTime.", TEXT(header, date_and_time), nullptr},
    {"MessageTitle.", TEXT(header, title), nullptr},
    {"MessageSecureityClassification.", TEXT(header, security), "U"},
    {"MessageCodewords.", TEXT(header, codewords), nullptr},
    {"MessageControlAndHandling.", TEXT(header, handling), nullptr},
    {"MessageReleasingInstructions.", TEXT(header, releasing), nullptr},
    {"MessageClassificationAuthority.", TEXT(header, authority), nullptr},
    {"MessageSecurityControlNumber.", TEXT(header, control_number), nullptr},
    {"MessageSecurityDowngrade.", TEXT(header, downgrade), nullptr},
};
constexpr nitf_text MORE[] = {
    {"MessageCopyNumber.", TEXT(header, copy_number), "00000"},
    {"MessageNumberOfCopies.", TEXT(header, number_of_copies), "00000"},
    {"Encryption.", TEXT(header, encryption), "0"},
    {"OriginatorsName.", TEXT(header, originator), nullptr},
    {"OriginatorsPhoneNumber.", TEXT(header, phone), nullptr},
    {"MessageLength.", TEXT(header, message_length), "000000000000"},
    {"NITFHeaderLength.", TEXT(header, header_length), "000000"},
    {"NumberOfImages.", TEXT(header, number_of_images), "001"},
};
constexpr nitf_text IMAGE[] = {
    {"MessagePartType.", TEXT(image, part_type), "IM"},
    {"ImageID.", TEXT(image, id), nullptr},
    {"ImageDateAndTime.", TEXT(image, date_and_time), nullptr},
    {"TargetID.", TEXT(image, target_id), nullptr},
    {"ImageTitle.", TEXT(image, title), nullptr},
    {"ImageSecurityClassification.", TEXT(image, security), "U"},
    {"ImageCodewords.", TEXT(image, codewords), nullptr},
    {"ImageControlAndHandling.", TEXT(image, handling), nullptr},
    {"ImageReleasingInstructions.", TEXT(image, releasing), nullptr},
    {"ImageClassificationAuthority.", TEXT(image, authority), nullptr},
    {"ImageSecurityControlNumber.", TEXT(image, control_number), nullptr},
    {"ImageSecurityDowngrade.", TEXT(image, downgrade), nullptr},
};
constexpr nitf_text PIXEL[] = {
    {"Encryption.", TEXT(image, encryption), "0"},
    {"ImageSource.", TEXT(image, source), nullptr},
    {"NumberOfSignRows.", TEXT(image, rows), "00000000"},
    {"NumberOfSignCols.", TEXT(image, columns), "00000000"},
    {"PixelValueType.", TEXT(image, value_type), "INT"},
    {"ImageRepresentation.", TEXT(image, representation), "MONO"},
    {"ImageClass.", TEXT(image, image_class), "VIS"},
    {"ActualBPP.", TEXT(image, actual_bits), "08"},
    {"PixelJustification.", TEXT(image, justification), "R"},
    {"ImageCoordinateSystem.", TEXT(image, coordinate_system), "N"},
};
constexpr nitf_text BAND[] = {
    {"BandComponentRepresentation.", TEXT(band, representation), nullptr},
    {"BandSignificanceForImageCategory.", TEXT(band, significance), nullptr},
    {"BandImageFilterCondition.", TEXT(band, filter_condition), "N"},
    {"BandStandardImageFilterCode.", TEXT(band, filter_code), nullptr},
    {"BandNumberOfLUTS.", TEXT(band, lut_count), "0"},
};
constexpr nitf_text BLOCK[] = {
    {"ImageSyncCode.", TEXT(image, sync_code), "0"},
    {"ImageMode.", TEXT(image, mode), "S"},
    {"NumberOfBlocksPerRow.", TEXT(image, blocks_per_row), "0000"},
    {"NumberOfBlocksPerColumn.", TEXT(image, blocks_per_column), "0000"},
    {"NumberOfPixelsPerBlocksHorizontal.", TEXT(image, block_width), "0000"},
    {"NumberOfPixelsPerBlocksVertical.", TEXT(image, block_height), "0000"},
    {"NumberOfBitsPerPixelPerBand.", TEXT(image, stored_bits), "08"},
    {"DisplayLevel.", TEXT(image, display_level), "000"},
    {"AttachmentLevel.", TEXT(image, attachment_level), "000"},
    {"ImageLocation.", TEXT(image, place), nullptr},
    {"ImageMagnification.", TEXT(image, magnification), nullptr},
};

// Texts that the tables do not list, for they are not always there.
constexpr nitf_text OTHERS[] = {
    {"", TEXT(header, user_data_length), "00000"},
    {"", TEXT(header, extended_data_length), "00000"},
};
constexpr nitf_text IMAGE_OTHERS[] = {
    {"", TEXT(image, comment_count), "0"},
    {"", TEXT(image, compression), "NC"},
    {"", TEXT(image, band_count), "1"},
    {"", TEXT(image, user_data_length), "00000"},
    {"", TEXT(image, extended_data_length), "00000"},
};

template <size_t N> constexpr nitf_texts all(const nitf_text (&texts)[N]) {
    return {texts, texts + N};
}

void set_text(void* record, const nitf_text& text) {
    char* at = static_cast<char*>(record) + text.at;
    std::memset(at, ' ', text.width);
    if (text.initial != nullptr) std::memcpy(at, text.initial, std::strlen(text.initial));
    at[text.width] = '\0';
}

void set_texts(void* record, const nitf_texts& texts) {
    for (const nitf_text& text : texts)
        set_text(record, text);
}

} // namespace

const nitf_texts NITF_HEADER_TEXTS = all(HEADER);
const nitf_texts NITF_MORE_TEXTS = all(MORE);
const nitf_texts NITF_IMAGE_TEXTS = all(IMAGE);
const nitf_texts NITF_PIXEL_TEXTS = all(PIXEL);
const nitf_texts NITF_BAND_TEXTS = all(BAND);
const nitf_texts NITF_BLOCK_TEXTS = all(BLOCK);
const nitf_text NITF_EVENT_TEXT = {"MessageDowngradingEvent.", TEXT(header, downgrading_event), nullptr};
const nitf_text NITF_IMAGE_EVENT_TEXT = {"ImageDowngradeEvent.", TEXT(image, downgrading_event), nullptr};
const nitf_text NITF_LOCATION_TEXT = {"ImageGeographicLocation.", TEXT(image, location), nullptr};
const nitf_text NITF_RATE_TEXT = {"CompressionRateCode.", TEXT(image, rate_code), nullptr};

const nitf_part NITF_PART_TABLE[NITF_PARTS] = {
    {"NumberOfSymbols.", "LengthOfSymbolSubHeader.", "LengthOfSymbol.", offsetof(header, number_of_symbols), 4, 6},
    {"NumberOfLabels.", "LengthOfLabelSubHeader.", "LengthOfLabel.", offsetof(header, number_of_labels), 4, 3},
    {"NumberOfText.", "LengthOfTextSubHeader.", "LengthOfText.", offsetof(header, number_of_texts), 4, 5},
    {"NumberOfDataExt.", "LengthOfDataExtSubHeader.", "LengthOfDataExt.", offsetof(header, number_of_data_extensions),
     4, 9},
    {"NumberOfReservedExt.", "LengthOfReservedExtSubHeader.", "LengthOfReservedExt.",
     offsetof(header, number_of_reserved_extensions), 4, 7},
};

void nitf_set_initial(rzl_nitf_header* h) {
    set_texts(h, NITF_HEADER_TEXTS);
    set_text(h, NITF_EVENT_TEXT);
    set_texts(h, NITF_MORE_TEXTS);
    set_texts(h, all(OTHERS));
    for (const nitf_part& part : NITF_PART_TABLE)
        nitf_put_number(reinterpret_cast<char*>(h) + part.at, 3, 0);
}

void nitf_set_initial_image(rzl_nitf_image* i) {
    *i = {};
    set_texts(i, NITF_IMAGE_TEXTS);
    set_text(i, NITF_IMAGE_EVENT_TEXT);
    set_texts(i, NITF_PIXEL_TEXTS);
    set_text(i, NITF_LOCATION_TEXT);
    set_text(i, NITF_RATE_TEXT);
    set_texts(i, NITF_BLOCK_TEXTS);
    set_texts(i, all(IMAGE_OTHERS));
    set_texts(&i->bands[0], NITF_BAND_TEXTS);
    nitf_put_number(i->bands[0].lut_entries, 5, 0);
}

bool nitf_number(const char* text, int64_t* number) {
    bool good = text_integer(text, std::strlen(text), number) && *number >= 0;
    if (!good) *number = 0;
    return good;
}

void nitf_put_number(char* text, size_t width, int64_t number) {
    for (size_t i = width; i > 0; --i, number /= 10)
        text[i - 1] = static_cast<char>('0' + number % 10);
    text[width] = '\0';
}
