// The standards: one row each, which is all that detection, creating files, the programs and the public calls know of a
// format.
#pragma once

#include <cstdint>

struct CFILE;
struct file_probe;
struct format_module;

struct standard_row {
    int32_t id;             // RZL_STANDARD_, or a DETECTED_ word; a second row of an id is a further form of its files
    const char* name;       // as "TIFF"; null in a second row
    const char* extensions; // of file names, without the dot, separated by blanks; the first by choice
    bool (*test)(const file_probe* p); // null: the module's probe decides alone; without one, never found
    const format_module* module;       // null as long as this library does not have it
};

// The rows in the order of detection.
struct standard_rows {
    const standard_row* first;
    const standard_row* last; // one past it
    const standard_row* begin() const { return first; }
    const standard_row* end() const { return last; }
};
standard_rows all_standards();

// The first row of an id, or null.
const standard_row* find_standard(int32_t id);

// Words of `id` for what is no standard.
constexpr int32_t DETECTED_NOTHING = -1;
constexpr int32_t DETECTED_CATALOG = -2;   // several files in one; its standard is that of its members
constexpr int32_t DETECTED_COMPANION = -3; // opened through another file of its set only

// ---- detect.cpp -----------------------------------------------------------------------------------------------------

// Finds the format of the handle's file from its bytes and from its name (null: the standard input), and lets the
// format's module open it. The handle, or null with it closed and freed and the library-wide status set.
CFILE* detect_and_open(CFILE* c, const char* name);

// The standard that the detection finds, or one of the words above. Opens nothing; moves the file's position.
int32_t detected_standard(CFILE* c, const char* name);

// The first of the rows that takes the file, or null; with RZL_NO_MEMORY in the handle's status when a module could not
// be asked. Moves the file's position.
const standard_row* detect_row(CFILE* c, const char* name, standard_rows rows);

// The tests of the rows.
bool is_native(const file_probe* p);
bool is_tiff(const file_probe* p);
bool is_gif(const file_probe* p);
bool is_bmp(const file_probe* p);
bool is_text_native(const file_probe* p);
bool is_jfif(const file_probe* p);
bool is_png(const file_probe* p);
bool is_eps(const file_probe* p);
bool is_catalog(const file_probe* p);
bool is_mrg_companion(const file_probe* p);
bool is_mrg(const file_probe* p);
bool is_pnm(const file_probe* p);
bool is_sun(const file_probe* p);
bool is_adrg(const file_probe* p);
bool is_asrp(const file_probe* p);
bool is_hrf(const file_probe* p);
bool is_pcx(const file_probe* p);
bool is_sym(const file_probe* p);
bool is_ico(const file_probe* p);
bool is_cals(const file_probe* p);
bool is_nitf(const file_probe* p);
bool is_usgs(const file_probe* p);
bool is_vrlc(const file_probe* p);
bool is_targa(const file_probe* p);
