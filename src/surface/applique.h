// What a surface carries: a plain colour, or a raster pattern with a placement.
#pragma once

#include <cstdint>

struct applique {
    double a0, a1, a2;   // colour: red, green, blue, 0.0 to 1.0; pattern: origin u, origin v, m00
    double a3, a4, a5;   // pattern: m01, m10, m11
    double a6, a7;       // pattern: s0, t0
    char* file;          // owned: the pattern's raster file; null for a colour
    double rotation;     // of a pattern, as it was given: degrees,
    double size;         // its size,
    int32_t mirror;      // and whether it is mirrored
    int32_t is_color;    // 1 colour, 0 pattern
    applique* next_free; // while the record waits for its next use
};

// A record with `file` null and `is_color` 0, or null after a message.
applique* applique_new();

// Releases the file name, and keeps the record for the next applique_new(). Null does nothing.
void applique_free(applique* a);

// Releases the records that wait. For the end of a program.
void applique_free_all();

// 1 when the two say the same: both null, colours with equal numbers, or patterns with equal file and placement.
int applique_equal(const applique* a, const applique* b);

// Fills a pattern record from a rotation in degrees, a mirror flag, and a size: 1 makes one repeat cover the whole u,v
// range of the surface. Returns false after a message, with nothing stored, for a size that is not above 0, or so near
// to it that its repeats have no number.
bool applique_set_placement(applique* a, double rotation, int mirror, double size);
