// XBM files: the text before the array, which also tells them from others, header fields, and the module.
#include <algorithm>
#include <cstring>

#include "raster/XBM/xbm.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "XBM/xbmopen";

// ---- words of the text ---------------------------------------------------------------------------------------------

constexpr size_t WORD_SIZE = 128; // of a word that means something; what is longer is cut

struct scanner {
    CFILE* c;
    size_t left; // characters that may still be taken
};

int take(scanner* s) {
    if (s->left == 0) return -1;
    --s->left;
    return io_getc(s->c);
}

// Passes over a comment, whose first character was taken. False: it is none.
bool pass_comment(scanner* s, int ch) {
    if (ch != '/') return false;
    int before = take(s);
    if (before != '*') return false;
    before = 0;
    for (int at = take(s); at >= 0 && !(before == '*' && at == '/'); at = take(s))
        before = at;
    return true;
}

// The next word into `word`: characters between blanks and commas, or the brace that opens the array. False at the end.
bool next_word(scanner* s, char* word) {
    size_t length = 0;
    for (int ch = take(s); ch >= 0; ch = take(s)) {
        bool ends = is_blank(ch) || ch == 0 || pass_comment(s, ch);
        if (ends && length > 0) break;
        if (ends) continue;
        if (length < WORD_SIZE - 1) word[length++] = static_cast<char>(ch);
        if (ch != '{') continue;
        word[0] = '{';
        length = 1;
        break;
    }
    word[length] = '\0';
    return length > 0;
}

bool is_word(const char* word, const char* wanted) {
    return std::strcmp(word, wanted) == 0;
}

bool ends_in(const char* word, const char* ending) {
    size_t length = std::strlen(word);
    size_t wanted = std::strlen(ending);
    return length >= wanted && std::strcmp(word + length - wanted, ending) == 0;
}

// ---- what stands before the array ----------------------------------------------------------------------------------

struct definitions {
    int64_t width, height, x_hot, y_hot;
};

void take_definition(definitions* d, const char* name, const char* text) {
    int64_t value = 0;
    (void)text_integer(text, std::strlen(text), &value);
    if (ends_in(name, "_width")) d->width = value;
    if (ends_in(name, "_height")) d->height = value;
    if (ends_in(name, "_x_hot")) d->x_hot = value;
    if (ends_in(name, "_y_hot")) d->y_hot = value;
}

// Reads up to the brace, or to the end of what may be taken. False: the array's numbers are no bytes.
bool read_definitions(scanner* s, definitions* d) {
    char word[WORD_SIZE];
    char name[WORD_SIZE];
    while (next_word(s, word) && word[0] != '{') {
        bool defines = is_word(word, "#define");
        if (is_word(word, "#")) defines = next_word(s, word) && is_word(word, "define");
        if (defines && next_word(s, name) && next_word(s, word)) take_definition(d, name, word);
        if (is_word(word, "short")) return false;
        if (word[0] == '{') break;
    }
    return true;
}

bool is_size(int64_t value) {
    return value >= 1 && value <= INT32_MAX;
}

bool xbm_probe(const file_probe* p) {
    if (!io_seek(p->c, 0)) return false;
    scanner s = {p->c, XBM_PROBE_BYTES};
    definitions d = {};
    return read_definitions(&s, &d) && d.width != 0 && d.height != 0;
}

// Up to 31 characters of a file's name without its directory, of which only letters and digits are kept.
void take_name(xbm_spec* spec, const char* path) {
    const char* slash = std::strrchr(path, '/');
    const char* from = slash != nullptr ? slash + 1 : path;
    std::memset(spec->name, 0, sizeof spec->name);
    for (size_t i = 0; i + 1 < sizeof spec->name && from[i] != '\0'; ++i) {
        char ch = from[i];
        bool keeps = is_digit(ch) || (ch >= 'a' && ch <= 'z') || (ch >= 'A' && ch <= 'Z');
        spec->name[i] = keeps ? ch : '_';
    }
}

int32_t hot_of(int64_t value) {
    return static_cast<int32_t>(std::clamp<int64_t>(value, INT32_MIN, INT32_MAX));
}

int xbm_open(CFILE* c, const char* name) {
    xbm_spec* spec = xbm_spec_of(c);
    scanner s = {c, SIZE_MAX};
    definitions d = {};
    bool good = read_definitions(&s, &d) && is_size(d.width) && is_size(d.height);
    if (!good) return refuse(c, RZL_READ_FAILED, SOURCE, "header");
    c->xsize = static_cast<int32_t>(d.width);
    c->ysize = static_cast<int32_t>(d.height);
    c->format = RZL_FORMAT_BILEVEL;
    (void)format_layout(c->format, &c->samples, &c->bits);
    spec->x_hot = hot_of(d.x_hot);
    spec->y_hot = hot_of(d.y_hot);
    if (name != nullptr) take_name(spec, name);
    spec->data_offset = io_tell(c);
    constexpr int64_t LEAST_TEXT = 4; // "0x0" and what separates it
    return rzl_record_lines(c, spec->data_offset, (d.width + 7) / 8 * LEAST_TEXT - 1);
}

int xbm_initialise(CFILE* c) {
    c->format = RZL_FORMAT_BILEVEL;
    return format_layout(c->format, &c->samples, &c->bits) ? 0 : 1;
}

// ---- fields --------------------------------------------------------------------------------------------------------

// Fields whose answer is the handle's. Others are none of the format's.
constexpr int32_t KNOWN[] = {
    RZL_FIELD_MATRIX,      RZL_FIELD_VLT_TYPE,    RZL_FIELD_VLT_ENTRIES,    RZL_FIELD_PACKET_WORDS,
    RZL_FIELD_RESOLUTION,  RZL_FIELD_ORIENTATION, RZL_FIELD_APPLICATION,    RZL_FIELD_SCANNABLE,
    RZL_FIELD_VERSION,     RZL_FIELD_OVERVIEWS,   RZL_FIELD_OVERVIEW_VALUE, RZL_FIELD_VLT_ROOM,
    RZL_FIELD_COMPRESSION, RZL_FIELD_PLANAR,
};

// A field that the format does not have gives the answer of the handle, and the status tells.
int xbm_get_hdr_data(CFILE* c, int32_t field, void* value) {
    const xbm_spec* spec = xbm_spec_of(c);
    switch (field) {
    case RZL_FIELD_ASPECT_RATIO: give_number(value, 0); break; // not told
    case RZL_FIELD_XBM_X_HOT: give_int(value, spec->x_hot); break;
    case RZL_FIELD_XBM_Y_HOT: give_int(value, spec->y_hot); break;
    case RZL_FIELD_XBM_NAME: give_text(value, sizeof spec->name, spec->name); break;
    default: note_unknown_field(c, KNOWN, field, SOURCE);
    }
    return 0;
}

int xbm_set_hdr_data(CFILE* c, int32_t field, const void* value) {
    xbm_spec* spec = xbm_spec_of(c);
    bool resizes = field == RZL_FIELD_XSIZE || field == RZL_FIELD_YSIZE;
    if (has_flag(c, FLAG_HEADER_EXISTS)) return resizes ? refuse(c, RZL_NEEDS_WRITE, SOURCE, "size") : 0;
    switch (field) {
    case RZL_FIELD_FORMAT:
        if (!format_is_bilevel(int_of(value))) return refuse(c, RZL_NOT_STANDARD, SOURCE, "format");
        return 0;
    case RZL_FIELD_XBM_X_HOT: spec->x_hot = int_of(value); return 0;
    case RZL_FIELD_XBM_Y_HOT: spec->y_hot = int_of(value); return 0;
    case RZL_FIELD_XBM_NAME: take_name(spec, static_cast<const char*>(value)); return 0;
    default: return 0;
    }
}

// Only sizes that are not set yet are taken.
int xbm_set_stat(CFILE* c, const rzl_stat* stat) {
    if (stat->xsize < 0 || stat->ysize < 0) return refuse(c, RZL_BAD_FIELD_VALUE, SOURCE, "Set_stat");
    if (c->xsize == 0) c->xsize = stat->xsize;
    if (c->ysize == 0) c->ysize = stat->ysize;
    return 0;
}

// Hot spot and name; the lines are put one by one.
int xbm_copydata(CFILE* from, CFILE* to) {
    if (to->module != from->module) {
        fail(from, RZL_UNSUPPORTED, SOURCE, "copydata");
        return refuse(to, RZL_UNSUPPORTED, SOURCE, "copydata");
    }
    const xbm_spec* in = xbm_spec_of(from);
    xbm_spec* out = xbm_spec_of(to);
    out->x_hot = in->x_hot;
    out->y_hot = in->y_hot;
    std::memcpy(out->name, in->name, sizeof out->name);
    return 0;
}

int64_t xbm_image_offset(CFILE* c) {
    return xbm_spec_of(c)->data_offset;
}

void xbm_free_specs(CFILE* c) {
    xbm_spec* spec = xbm_spec_of(c);
    if (spec == nullptr) return;
    mem_free(spec->row);
    spec->row = nullptr;
}

constexpr int32_t FORMATS[] = {RZL_FORMAT_BILEVEL};

constexpr field_type TYPES[] = {{RZL_FIELD_XBM_NAME, field_kind::text, XBM_NAME_SIZE}};

constexpr format_slots SLOTS = {
    .Get_line = xbm_get_line,
    .Put_line = xbm_put_line,
    .Get_hdr_data = xbm_get_hdr_data,
    .Set_hdr_data = xbm_set_hdr_data,
    .Set_stat = xbm_set_stat,
    .copydata = xbm_copydata,
    .Wrt_hdr = xbm_write_header,
    .Randomize = rzl_randomize_nothing,
    .Free_specs = xbm_free_specs,
    .Get_Image_Offset = xbm_image_offset,
};

} // namespace

extern const format_module xbm_module;
const format_module xbm_module = {
    .word = SOURCE,
    .squetch_word = "xbm squetch",
    .slots = &SLOTS,
    .spec_size = sizeof(xbm_spec),
    .formats = FORMATS,
    .types = TYPES,
    .traits = MODULE_RESIZES | MODULE_WIDTH | MODULE_NO_TABLE,
    .probe = xbm_probe,
    .open = xbm_open,
    .initialise = xbm_initialise,
};

bool xbm_go_to_line(CFILE* c) {
    xbm_spec* spec = xbm_spec_of(c);
    bool stands = spec->file_line == c->line;
    int64_t place = spec->data_offset + c->line * static_cast<int64_t>(xbm_text_bytes(c));
    if (!stands && !io_seek(c, place)) return false;
    // Where reads and writes can follow each other, each is sought.
    spec->file_line = c->mode == MODE_WRITE ? c->line + 1 : -1;
    return true;
}
