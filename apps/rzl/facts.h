// What files of documents and maps tell beyond the fields that all have: rzl info.
#pragma once

#include <nlohmann/json.hpp>

#include "source.h"

// Adds titles, dates, security, places and the like, as far as the file's standard has them and they are not empty.
// `image` is the active one, and `path` the file's name. A catalog is told to be one.
void add_standard_facts(const raster_source* source, const char* path, int32_t image, nlohmann::ordered_json* facts);
