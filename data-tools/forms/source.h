// Form sources: JSON with the names of items.h. What is left out takes the default of its record; orig_width and
// orig_height that of the rectangle, and design_width and design_height that of the form's.
#pragma once

#include <nlohmann/json.hpp>
#include <string>

#include "forms/form.h"

// Reads a text of JSON. False, with the reason in `problem`, when it is none, or says a name twice in one object.
bool parse_source(const std::string& text, nlohmann::ordered_json* source, std::string* problem);

// The version that a source asks for, or `otherwise`. 0, with the reason, when it isn't one of FRM_OLDEST to
// FRM_NEWEST.
int source_version(const nlohmann::ordered_json& source, int otherwise, std::string* problem);

// Fills a form that has no gadgets. False, with the place and the reason in `problem`, when a name is unknown or a
// value has the wrong kind or doesn't fit a file of that version.
bool read_source(const nlohmann::ordered_json& source, int version, FI_form* form, std::string* problem);
