// What kind of file a path names, by its extension.
#pragma once

#include <cstdint>

constexpr int CLASS_RASTER = 5;
constexpr int CLASS_RENDERED_IMAGE = 7;

constexpr uint32_t TYPE_UNKNOWN = 1;
constexpr uint32_t TYPE_DIRECTORY = 8;
constexpr uint32_t TYPE_DRIVE = 0x80000000u;
constexpr uint32_t TYPE_RASTER = 1u << CLASS_RASTER;
constexpr uint32_t TYPE_RENDERED_IMAGE = 1u << CLASS_RENDERED_IMAGE;
constexpr uint32_t TYPE_MISSING = 0; // with a result of -1

// Stores the type as a bit mask in `classes` (may be null). Returns 0, or -1 with no class for a path that does not
// exist. The table is filetype.dat of the product root while that file exists, else a built-in one.
int file_type(const char* path, uint32_t* classes);

// Releases the table that was read; for the end of a program.
void file_types_free();
