// Symbols of gadgets: loading one from a symbol file, and drawing it in any size.
#pragma once

#include "forms/ops.h"

// Opens the symbol file that the gadget's font_name names, whose font becomes the gadget's, and reads the symbol
// face->index. 0, or 1 without bits: no such file or symbol, or no memory.
int fi_load_face(FI_gadget* g, FI_face* face);
// The same from a file of any name; the font goes to *font.
int fi_load_symbol(const char* file_name, FI_face* face, uint32_t* font);

// Size of a symbol in a scale, pixels.
int fi_face_width(const FI_face* face, float x_scale);
int fi_face_height(const FI_face* face, float y_scale);

// Draws it with the top left corner of its box at x, y in the current colour. Nothing without bits.
void fi_draw_face(int window, int x, int y, uint32_t font, const FI_face* face, float x_scale, float y_scale);

// 1 when the file was found: then its path is in `path` (FILES_PATH_SIZE), and it is in the cache.
int fi_load_symbol_file(const char* name, char* path, uint32_t* id);
void fi_free_symbol_files();
