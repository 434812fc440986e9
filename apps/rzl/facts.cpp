#include "facts.h"

#include <string>

namespace {

using json = nlohmann::ordered_json;

// Without blanks at the end; texts of nothing but blanks say nothing.
void add_text(json* facts, const char* key, std::string text) {
    while (!text.empty() && (text.back() == ' ' || text.back() == '\0'))
        text.pop_back();
    // A file can hold any bytes, and such a text only some.
    for (char& c : text)
        if (c < ' ' || c > '~') c = '?';
    if (!text.empty()) (*facts)[key] = text;
}

// ---- documents

void add_document(const raster_source* s, json* facts) {
    constexpr struct {
        int32_t field;
        const char* key;
    } TEXTS[] = {
        {RZL_FIELD_CALS_SOURCE_ID, "source_document"},
        {RZL_FIELD_CALS_DESTINATION_ID, "destination_document"},
        {RZL_FIELD_CALS_CLASS, "security"},
        {RZL_FIELD_CALS_NOTES, "notes"},
        {RZL_FIELD_CALS_TEXT_FILE_ID, "text_file"},
        {RZL_FIELD_CALS_FIGURE_ID, "figure"},
        {RZL_FIELD_CALS_GRAPHICS, "source_graphics"},
        {RZL_FIELD_CALS_SPECIFICATION, "specification"},
        {RZL_FIELD_CALS_DATA_FILE_ID, "data_file"},
        {RZL_FIELD_CALS_MODULE_ID, "module"},
        {RZL_FIELD_CALS_ITEM_ID, "data_item"},
        {RZL_FIELD_CALS_PUBLICATION_ID, "publication"},
    };
    (*facts)["type"] = source_field(s, RZL_FIELD_CALS_TYPE, 0);
    add_text(facts, "variant", std::string(1, static_cast<char>(source_field(s, RZL_FIELD_CALS_VARIANT, ' '))));
    for (const auto& known : TEXTS) {
        char text[128] = {};
        if (rzl_get_hdr_data(s->file, known.field, text) == 0) add_text(facts, known.key, text);
    }
}

// ---- images with headers of texts

// Four corners of 15 characters: north or south, and east or west, or a square of a grid.
void add_corners(const rzl_nitf_image& image, json* facts) {
    constexpr size_t CORNER = 15;
    std::string all = image.location;
    bool has_place = image.coordinate_system[0] != 'N' && all.find_first_not_of(' ') != std::string::npos;
    add_text(facts, "coordinate_system", image.coordinate_system);
    if (!has_place) return;
    json corners = json::array();
    for (size_t i = 0; i < 4; ++i) {
        json one;
        add_text(&one, "at", all.substr(i * CORNER, CORNER));
        corners.push_back(one.contains("at") ? one["at"] : json(nullptr));
    }
    (*facts)["corners"] = corners;
}

void add_headers(const raster_source* s, int32_t active, json* facts) {
    const rzl_nitf_header* header = nullptr;
    if (rzl_get_hdr_data(s->file, RZL_FIELD_NITF, &header) != 0 || active >= header->image_count) return;
    const rzl_nitf_image& image = header->images[active];
    add_text(facts, "title", header->title);
    add_text(facts, "date", header->date_and_time);
    add_text(facts, "security", header->security);
    add_text(facts, "station", header->station_id);
    add_text(facts, "originator", header->originator);
    add_text(facts, "image_id", image.id);
    add_text(facts, "image_title", image.title);
    add_text(facts, "image_date", image.date_and_time);
    add_text(facts, "image_security", image.security);
    add_text(facts, "image_source", image.source);
    add_corners(image, facts);
}

} // namespace

void add_standard_facts(const raster_source* source, const char* path, int32_t image, json* facts) {
    if (rzl_is_catalog(path) != 0) (*facts)["catalog"] = true;
    switch (source_field(source, RZL_FIELD_STANDARD, -1)) {
    case RZL_STANDARD_CALS: add_document(source, facts); break;
    case RZL_STANDARD_NITF: add_headers(source, image, facts); break;
    default: break;
    }
}
