// How the format of an existing file is found: the tests on a file's first bytes and on its name, and the walk through
// the rows of standard.cpp that name them.
#include <algorithm>
#include <cctype>
#include <cstdio>
#include <cstring>

#include "raster/CORE/module.h"
#include "raster/CORE/standard.h"

namespace {

constexpr char SOURCE[] = "CORE/open";
bool begins(const file_probe* p, const char* text) {
    return std::memcmp(p->b, text, std::strlen(text)) == 0;
}

bool name_ends(const file_probe* p, const char* ending) {
    if (p->name == nullptr) return false;
    size_t length = std::strlen(p->name);
    size_t wanted = std::strlen(ending);
    return length >= wanted && std::strcmp(p->name + length - wanted, ending) == 0;
}

// Reads bytes from a place of the file. False when they are not all there.
bool read_at(CFILE* c, int64_t offset, void* buffer, size_t bytes) {
    return io_seek(c, offset) && io_read(c, buffer, bytes) == bytes;
}

bool digits_value(const uint8_t* text, size_t width, size_t* value) {
    return text_digits(reinterpret_cast<const char*>(text), width, value);
}

} // namespace

// ---- tests, in the order of the rows --------------------------------------------------------------------------------

// A native header: its words before the pixel data, less 2, fill blocks of 512 bytes.
bool is_native(const file_probe* p) {
    int words = static_cast<int8_t>(p->b[3]) * 256 + p->b[2];
    bool whole_blocks = words + 2 != 0 && (words + 2) % 256 == 0;
    bool old_type = p->b[0] == 0 || p->b[0] == 8 || p->b[0] == 9;
    return p->size >= 4 && whole_blocks && old_type && (p->b[1] == 0 || p->b[1] == 9);
}

bool is_tiff(const file_probe* p) {
    // The file with 64-bit offsets is refused by the module, under its name.
    bool big = begins(p, "II+") && p->size >= 4 && p->b[3] == 0;
    return begins(p, "II*") || begins(p, "MM") || big;
}
bool is_gif(const file_probe* p) {
    return begins(p, "GIF87a") || begins(p, "GIF89a");
}
bool is_bmp(const file_probe* p) {
    return begins(p, "BM");
}
bool is_text_native(const file_probe* p) {
    return begins(p, "Raster!");
}
// Files of today begin with other markers than the one that names the format.
bool is_jfif(const file_probe* p) {
    constexpr uint8_t START[3] = {0xFF, 0xD8, 0xFF};
    return std::memcmp(p->b + 6, "JFIF", 4) == 0 || (is_extended() && std::memcmp(p->b, START, sizeof START) == 0);
}
bool is_png(const file_probe* p) {
    constexpr uint8_t START[8] = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1A, '\n'};
    return std::memcmp(p->b, START, sizeof START) == 0;
}
bool is_eps(const file_probe* p) {
    return load_u32be(p->b) == 0xC5D0D3C6u;
}
bool is_catalog(const file_probe* p) {
    return begins(p, "SUPERT!");
}

// The red and the third layer's files of a set are opened through the set's head file only.
bool is_mrg_companion(const file_probe* p) {
    if (p->name == nullptr || std::strlen(p->name) <= 6) return false;
    return name_ends(p, "r.mrg") || name_ends(p, "R.MRG") || name_ends(p, "3.mrg") || name_ends(p, "3.MRG");
}
bool is_mrg(const file_probe* p) {
    return name_ends(p, "h.mrg") || name_ends(p, "p.mrg") || name_ends(p, "241.mrg") || name_ends(p, "H.MRG") ||
           name_ends(p, "P.MRG") || name_ends(p, "241.MRG");
}

bool is_pnm(const file_probe* p) {
    return p->b[0] == 'P' && p->b[1] >= '1' && p->b[1] <= '6';
}
bool is_sun(const file_probe* p) {
    return load_u32be(p->b) == 0x59A66A95u || load_u32be(p->b) == 0x956AA659u;
}

namespace {

// The leader of a data record file: lengths and addresses as decimal text lead to the name of the second record, which
// tells what is stored. 1 and 2: ADRG; 3: ASRP; 0: neither.
int record_file_kind(CFILE* c) {
    constexpr size_t BLOCK = 1024;
    uint8_t b[BLOCK];
    size_t length = 0;
    size_t ignored = 0;
    size_t base = 0;
    if (!read_at(c, 0, b, BLOCK) || !digits_value(b, 5, &length) || length + 12 + 5 > BLOCK) return 0;
    if (!digits_value(b + length, 5, &ignored) || !digits_value(b + length + 12, 5, &base)) return 0;
    if (length + base + 5 > BLOCK) return 0;
    const uint8_t* name = b + length + base;
    if (std::memcmp(name, "IMG01", 5) == 0) return 1;
    if (std::memcmp(name, "LEG", 3) == 0) return 2;
    return std::memcmp(name, "IMG", 3) == 0 ? 3 : 0;
}

bool is_record_file(const file_probe* p, int lowest, int highest) {
    if (std::memcmp(p->b + 5, "2L   ", 5) != 0) return false;
    int kind = record_file_kind(p->c);
    return kind >= lowest && kind <= highest;
}

} // namespace

bool is_adrg(const file_probe* p) {
    return is_record_file(p, 1, 2);
}
bool is_asrp(const file_probe* p) {
    return is_record_file(p, 3, 3);
}

bool is_hrf(const file_probe* p) {
    return begins(p, "CADC/KR RST");
}

bool is_pcx(const file_probe* p) {
    bool version = p->b[1] == 0 || (p->b[1] >= 2 && p->b[1] <= 5);
    bool bits = p->b[3] == 1 || p->b[3] == 2 || p->b[3] == 4 || p->b[3] == 8;
    return p->b[0] == 10 && version && bits;
}

bool is_sym(const file_probe* p) {
    return begins(p, "FONT");
}

// What its first image is like is for the module.
bool is_ico(const file_probe* p) {
    return p->size >= 14 && load_u32be(p->b) == 0x00000100u && p->b[9] == 0;
}

bool is_cals(const file_probe* p) {
    return begins(p, "srcdocid:") || begins(p, "specversion:") || p->b[0] == 160;
}

bool is_nitf(const file_probe* p) {
    size_t ignored = 0;
    return begins(p, "NITF") && digits_value(p->b + 4, 2, &ignored) && p->b[6] == '.' &&
           digits_value(p->b + 7, 2, &ignored);
}

namespace {

// A number field of the first record of a USGS file and the values that it can have.
struct record_field {
    size_t offset, width;
    long lowest, highest;
};

constexpr record_field USGS_FIELDS[] = {
    {141, 3, 1, 2}, {144, 6, 1, 999999}, {150, 6, 1, 999999}, {156, 3, 1, 9}, {159, 3, 0, 2}, {162, 3, 0, 4},
    {165, 2, 0, 4}, {167, 2, 1, 6},      {169, 2, 1, 6},      {195, 3, 0, 2}, {204, 3, 0, 4},
};

bool field_holds(const uint8_t* record, const record_field& field) {
    int64_t value = 0;
    const char* text = reinterpret_cast<const char*>(record + field.offset);
    return text_integer(text, field.width, &value) && value >= field.lowest && value <= field.highest;
}

constexpr size_t USGS_RECORD_SIZE = 400;

// Whether the four records, as far apart as lines are long, are text.
bool records_are_text(const file_probe* p) {
    int64_t width = 0;
    (void)text_integer(reinterpret_cast<const char*>(p->b) + 150, 6, &width);
    uint8_t record[USGS_RECORD_SIZE];
    auto is_text = [](uint8_t b) { return b >= ' ' && b <= '~'; };
    for (int64_t i = 0; i < 4; ++i) {
        bool text =
            read_at(p->c, i * width, record, sizeof record) && std::all_of(record, record + sizeof record, is_text);
        if (!text) return false;
    }
    return true;
}

// A test that a file has failed, which bit 2 of the debug level tells: of a file without a magic number nothing else
// says why it is taken for none.
bool is_no_usgs(const char* detail, int line = __builtin_LINE()) {
    constexpr int32_t DEBUG_USGS = 4;
    if ((debug_level() & DEBUG_USGS) != 0) rzl_report(RZL_NOT_STANDARD, SOURCE, line, detail);
    return false;
}

bool is_no_usgs_at(size_t offset, int line = __builtin_LINE()) {
    char detail[32];
    std::snprintf(detail, sizeof detail, "USGS (byte %zu)", offset);
    return is_no_usgs(detail, line);
}

} // namespace

// Four text records without a magic number: the fields have to make sense.
bool is_usgs(const file_probe* p) {
    constexpr double FULL_CIRCLE = 6.283185307179586;
    constexpr size_t ANGLE = 171;
    if (p->size < USGS_RECORD_SIZE) return is_no_usgs("USGS (size)");
    auto is_one_of = [](uint8_t v, const char* set) { return v != 0 && std::strchr(set, v) != nullptr; };
    if (!is_one_of(p->b[38], "NnSs ")) return is_no_usgs_at(38);
    if (!is_one_of(p->b[39], "EeWw ")) return is_no_usgs_at(39);
    for (const record_field& field : USGS_FIELDS) {
        if (!field_holds(p->b, field)) return is_no_usgs_at(field.offset);
    }
    double angle = 0;
    (void)text_number(reinterpret_cast<const char*>(p->b) + ANGLE, 24, &angle);
    if (!(angle > 0 && angle < FULL_CIRCLE)) return is_no_usgs_at(ANGLE);
    return records_are_text(p) || is_no_usgs("USGS (records of text)");
}

// The mark at the start of the directory that ends the file.
bool is_vrlc(const file_probe* p) {
    constexpr int64_t DIRECTORY_SIZE = 344;
    static constexpr uint8_t mark[16] = {0, 0, 0, 0, 0, 0, 0, 0, 0x1A, 0x1A, 'U', 'd', 's', 0x82, 'C', 'J'};
    uint8_t found[sizeof mark];
    int64_t size = io_size(p->c);
    return size > DIRECTORY_SIZE && read_at(p->c, size - DIRECTORY_SIZE, found, sizeof found) &&
           std::memcmp(found, mark, sizeof mark) == 0;
}

bool is_targa(const file_probe* p) {
    constexpr size_t HEADER_SIZE = 18;
    bool kind = (p->b[2] >= 1 && p->b[2] <= 3) || (p->b[2] >= 9 && p->b[2] <= 11);
    return p->size >= HEADER_SIZE && p->b[1] <= 1 && kind;
}

// ---- the walk through the rows --------------------------------------------------------------------------------------

namespace {

// Closes the file, frees the handle and tells that the file has no known format.
CFILE* refuse_unknown(CFILE* c, const char* name) {
    fail(c, RZL_READ_FAILED, SOURCE, name);
    abandon_cfile(c);
    return nullptr;
}

// A companion is no failure: it is opened through its set's head file.
CFILE* refuse_companion(CFILE* c) {
    c->status = 0;
    set_last_status(0);
    abandon_cfile(c);
    return nullptr;
}

// Whether the row and its module take the file. A module that refuses leaves nothing behind.
bool takes(const standard_row& row, const file_probe* p) {
    bool asked = row.module != nullptr && row.module->probe != nullptr;
    if (row.test == nullptr ? !asked : !row.test(p)) return false;
    if (!asked || row.module->probe(p)) return true;
    if (p->c->status != RZL_NO_MEMORY) p->c->status = 0;
    return false;
}

} // namespace

const standard_row* detect_row(CFILE* c, const char* name, standard_rows rows) {
    uint8_t bytes[PROBE_SIZE] = {};
    file_probe p = {c, name, bytes, 0};
    if (io_seek(c, 0)) p.size = io_read(c, bytes, PROBE_SIZE);
    uint32_t before = c->status; // that of a view that could not be had stays until the next call
    c->status = 0;
    for (const standard_row& row : rows) {
        bool taken = takes(row, &p);
        if (c->status == RZL_NO_MEMORY) return nullptr;
        if (!taken) continue;
        c->status = before;
        return &row;
    }
    return nullptr;
}

namespace {

CFILE* open_with_module(CFILE* c, const char* name, const standard_row* row) {
    const format_module* module = row->module;
    if (module == nullptr || module->open == nullptr || !io_seek(c, 0)) return refuse_unknown(c, name);
    if (row->id >= 0) c->standard = row->id;
    c->active_overview = OVERVIEW_UNSET;
    set_flag(c, FLAG_HEADER_EXISTS, true);
    if (install_module(c, module) && module->open(c, name) == 0) return c;
    if (c->status == 0) fail(c, RZL_READ_FAILED, module->word, name);
    abandon_cfile(c);
    return nullptr;
}

} // namespace

CFILE* detect_and_open(CFILE* c, const char* name) {
    const standard_row* row = detect_row(c, name, all_standards());
    if (row == nullptr && c->status == RZL_NO_MEMORY) {
        abandon_cfile(c);
        return nullptr;
    }
    if (row == nullptr) return refuse_unknown(c, name);
    return row->id == DETECTED_COMPANION ? refuse_companion(c) : open_with_module(c, name, row);
}

int32_t detected_standard(CFILE* c, const char* name) {
    const standard_row* row = detect_row(c, name, all_standards());
    return row != nullptr ? row->id : DETECTED_NOTHING;
}
