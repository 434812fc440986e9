// The data formats: their sample layouts, and the table of which combinations of standard, layout and data format are
// known. The table is handed out by rzl_get_global(); nothing in the library consults it.
#include "raster/CORE/formats.h"
#include "raster/CORE/cfile.h"

namespace {

// Rows of one standard that differ in one step of bits only: `count` rows from `layout` on.
struct row_family {
    int32_t standard;
    const char* name;
    int32_t format;
    uint32_t layout; // samples x 256 + bits
    int count;
    int32_t compression;
    const char* compression_name;
};

constexpr row_family FAMILIES[] = {
    {RZL_STANDARD_KRVN, "KRVN", 1, 0x101, 1, -1, "Uncomp."},
    {RZL_STANDARD_KRVN, "KRVN", 2, 0x108, 1, -1, "Uncomp."},
    {RZL_STANDARD_KRVN, "KRVN", 3, 0x110, 1, -1, "Uncomp."},
    {RZL_STANDARD_KRVN, "KRVN", 4, 0x120, 1, -1, "Uncomp."},
    {RZL_STANDARD_KRVN, "KRVN", 5, 0x120, 1, -1, "Uncomp."},
    {RZL_STANDARD_KRVN, "KRVN", 6, 0x140, 1, -1, "Uncomp."},
    {RZL_STANDARD_KRVN, "KRVN", 7, 0x140, 1, -1, "Uncomp."},
    {RZL_STANDARD_KRVN, "KRVN", 28, 0x308, 1, -1, "Uncomp."},
    {RZL_STANDARD_KRVN, "KRVN", 69, 0x408, 1, -1, "Uncomp."},
    {RZL_STANDARD_KRVN, "KRVN", 9, 0x101, 1, -1, "Run Length"},
    {RZL_STANDARD_KRVN, "KRVN", 10, 0x108, 1, -1, "Run Length"},
    {RZL_STANDARD_KRVN, "KRVN", 26, 0x108, 1, -1, "Run Length"},
    {RZL_STANDARD_KRVN, "KRVN", 26, 0x110, 1, -1, "Run Length"},
    {RZL_STANDARD_KRVN, "KRVN", 23, 0x101, 1, -1, "CCITT Group 3"},
    {RZL_STANDARD_KRVN, "KRVN", 24, 0x101, 1, -1, "CCITT Group 4"},
    {RZL_STANDARD_KRVN, "KRVN", 27, 0x308, 1, -1, "Mod. Run Length"},
    {RZL_STANDARD_KRVN, "KRVN", 29, 0x108, 1, -1, "Mod. Run Length"},
    {RZL_STANDARD_KRVN, "KRVN", 67, 0x408, 1, -1, "Mod. Run Length"},
    {RZL_STANDARD_KRVN, "KRVN", 30, 0x108, 1, -1, "Jpeg"},
    {RZL_STANDARD_KRVN, "KRVN", 31, 0x308, 1, -1, "Jpeg"},
    {RZL_STANDARD_KRVN, "KRVN", 32, 0x408, 1, -1, "Jpeg"},
    {RZL_STANDARD_TIFF, "TIFF", 23, 0x101, 1, 2, "CCITT Group 3b"},
    {RZL_STANDARD_TIFF, "TIFF", 24, 0x101, 1, 4, "CCITT Group 4"},
    {RZL_STANDARD_TIFF, "TIFF", 1, 0x101, 1, 1, "Uncomp."},
    {RZL_STANDARD_TIFF, "TIFF", 2, 0x102, 7, 1, "Uncomp."},
    {RZL_STANDARD_TIFF, "TIFF", 28, 0x301, 8, 1, "Uncomp."},
    {RZL_STANDARD_TIFF, "TIFF", 69, 0x401, 8, 1, "Uncomp."},
    {RZL_STANDARD_TIFF, "TIFF", 9, 0x101, 1, 5, "LZW"},
    {RZL_STANDARD_TIFF, "TIFF", 29, 0x102, 7, 5, "LZW"},
    {RZL_STANDARD_TIFF, "TIFF", 27, 0x301, 8, 5, "LZW"},
    {RZL_STANDARD_TIFF, "TIFF", 67, 0x401, 8, 5, "LZW"},
    {RZL_STANDARD_TIFF, "TIFF", 9, 0x101, 1, 32773, "Packbits"},
    {RZL_STANDARD_TIFF, "TIFF", 29, 0x102, 7, 32773, "Packbits"},
    {RZL_STANDARD_TIFF, "TIFF", 27, 0x301, 8, 32773, "Packbits"},
    {RZL_STANDARD_TIFF, "TIFF", 67, 0x401, 8, 32773, "Packbits"},
    {RZL_STANDARD_GIF, "GIF", 29, 0x101, 8, 1, "LZW"},
    {RZL_STANDARD_TARGA, "TGA", 28, 0x305, 1, 0, "Uncomp."},
    {RZL_STANDARD_TARGA, "TGA", 28, 0x308, 1, 0, "Uncomp."},
    {RZL_STANDARD_TARGA, "TGA", 2, 0x108, 1, 0, "Uncomp."},
    {RZL_STANDARD_TARGA, "TGA", 27, 0x305, 1, 1, "Comp."},
    {RZL_STANDARD_TARGA, "TGA", 27, 0x308, 1, 1, "Comp."},
    {RZL_STANDARD_TARGA, "TGA", 29, 0x108, 1, 1, "Comp."},
    {RZL_STANDARD_BMP, "BMP", 28, 0x308, 1, 0, "Uncomp."},
    {RZL_STANDARD_BMP, "BMP", 2, 0x108, 1, 0, "Uncomp."},
    {RZL_STANDARD_BMP, "BMP", 2, 0x104, 1, 0, "Uncomp."},
    {RZL_STANDARD_BMP, "BMP", 1, 0x101, 1, 0, "Uncomp."},
    {RZL_STANDARD_BMP, "BMP", 29, 0x108, 1, 1, "Comp."},
    {RZL_STANDARD_BMP, "BMP", 29, 0x104, 1, 1, "Comp."},
    {RZL_STANDARD_BMP, "BMP", 9, 0x101, 1, 1, "Comp."},
    {RZL_STANDARD_PCX, "PCX", 27, 0x308, 1, 1, "Comp."},
    {RZL_STANDARD_PCX, "PCX", 9, 0x101, 1, 1, "Comp."},
    {RZL_STANDARD_PCX, "PCX", 29, 0x104, 1, 1, "Comp."},
    {RZL_STANDARD_PCX, "PCX", 29, 0x108, 1, 1, "Comp."},
    {RZL_STANDARD_CALS, "CALS", 24, 0x101, 1, 0, "Comp."},
    {RZL_STANDARD_JFIF, "JFIF", 30, 0x108, 1, -1, "Jpeg"},
    {RZL_STANDARD_JFIF, "JFIF", 31, 0x308, 1, -1, "Jpeg"},
    {RZL_STANDARD_ADRG, "ADRI", 2, 0x108, 1, 0, "Uncomp."},
    {RZL_STANDARD_ADRG, "ADRG", 27, 0x308, 1, 0, "Uncomp."},
    {RZL_STANDARD_ASRP, "ASRP", 29, 0x108, 1, 1, "Run Length"},
    {RZL_STANDARD_USRP, "USRP", 29, 0x108, 1, 1, "Run Length"},
    {RZL_STANDARD_ICO, "ICO", 2, 0x104, 1, -1, "Uncomp."},
    {RZL_STANDARD_ICO, "ICO", 1, 0x101, 1, -1, "Uncomp."},
    {RZL_STANDARD_SYM, "SYM", 1, 0x101, 1, -1, "Uncomp."},
    {RZL_STANDARD_NITF, "NITF", 1, 0x101, 1, 0, "Uncomp."},
    {RZL_STANDARD_NITF, "NITF", 2, 0x102, 7, 0, "Uncomp."},
    {RZL_STANDARD_NITF, "NITF", 3, 0x109, 8, 0, "Uncomp."},
    {RZL_STANDARD_NITF, "NITF", 28, 0x308, 1, 0, "Uncomp."},
    {RZL_STANDARD_XBM, "XBM", 1, 0x101, 1, -1, "Uncomp."},
    {RZL_STANDARD_PNM, "PNM", 1, 0x101, 1, 0, "Uncomp."},
    {RZL_STANDARD_PNM, "PNM", 2, 0x108, 1, 0, "Uncomp."},
    {RZL_STANDARD_PNM, "PNM", 27, 0x308, 1, 0, "Uncomp."},
    {RZL_STANDARD_PNM, "PNM", 1, 0x101, 1, 7, "Ascii"},
    {RZL_STANDARD_PNM, "PNM", 2, 0x108, 1, 7, "Ascii"},
    {RZL_STANDARD_PNM, "PNM", 27, 0x308, 1, 7, "Ascii"},
    {RZL_STANDARD_SUN, "SUN", 1, 0x101, 1, -1, "Uncomp."},
    {RZL_STANDARD_SUN, "SUN", 2, 0x108, 1, -1, "Uncomp."},
    {RZL_STANDARD_SUN, "SUN", 27, 0x308, 1, -1, "Uncomp."},
    {RZL_STANDARD_SUN, "SUN", 9, 0x101, 1, -1, "Comp."},
    {RZL_STANDARD_USGS, "USGS", 2, 0x108, 1, -1, "Uncomp."},
    {RZL_STANDARD_USGS, "USGS", 28, 0x308, 1, -1, "Uncomp."},
    {RZL_STANDARD_MRG, "MRG", 1, 0x101, 1, -1, "Uncomp."},
    {RZL_STANDARD_MRG, "MRG", 2, 0x102, 3, -1, "Uncomp."},
    {RZL_STANDARD_HRF, "HRF", 9, 0x101, 1, -1, "Comp."},
    {RZL_STANDARD_HRF, "HRF", 29, 0x108, 1, -1, "Comp."},
    {RZL_STANDARD_HRF, "HRF", 27, 0x308, 1, -1, "Comp."},
    {RZL_STANDARD_HRF, "HRF", 1, 0x101, 1, -1, "Uncomp."},
    {RZL_STANDARD_HRF, "HRF", 2, 0x108, 1, -1, "Uncomp."},
    {RZL_STANDARD_HRF, "HRF", 28, 0x308, 1, -1, "Uncomp."},
    {RZL_STANDARD_VRLC, "IGS", 9, 0x101, 1, -1, "Comp."},
    {RZL_STANDARD_VRLC, "IGS", 29, 0x108, 1, -1, "Comp."},
};

constexpr int count_rows() {
    int rows = 0;
    for (const row_family& family : FAMILIES)
        rows += family.count;
    return rows;
}
static_assert(count_rows() == FORMAT_ROW_COUNT);

struct format_rows {
    rzl_format_row rows[FORMAT_ROW_COUNT];
};

constexpr format_rows expand_families() {
    format_rows table = {};
    int next = 0;
    for (const row_family& f : FAMILIES) {
        for (int i = 0; i < f.count; ++i) {
            table.rows[next++] = {
                f.standard, f.name, f.layout + static_cast<uint32_t>(i), f.format, f.compression, f.compression_name,
                {},         {}};
        }
    }
    return table;
}

constexpr format_rows FORMAT_TABLE = expand_families();

struct layout_row {
    int32_t format, samples, bits;
};

constexpr int32_t BITS_AS_SET = 0;

constexpr layout_row LAYOUTS[] = {
    {1, 1, 1},  {2, 1, 8},  {3, 1, 16}, {4, 1, 32}, {5, 1, 32}, {6, 1, 64},           {7, 1, 64}, {8, 1, 128},
    {9, 1, 1},  {10, 1, 8}, {23, 1, 1}, {24, 1, 1}, {25, 3, 8}, {26, 1, BITS_AS_SET}, {27, 3, 8}, {28, 3, 8},
    {29, 1, 8}, {30, 1, 8}, {31, 3, 8}, {32, 4, 8}, {67, 4, 8}, {69, 4, 8},
};

} // namespace

const rzl_format_row* format_table() {
    return FORMAT_TABLE.rows;
}

bool format_layout(int32_t format, int32_t* samples, int32_t* bits) {
    for (const layout_row& row : LAYOUTS) {
        if (row.format != format) continue;
        *samples = row.samples;
        if (row.bits != BITS_AS_SET) *bits = row.bits;
        return true;
    }
    return false;
}
