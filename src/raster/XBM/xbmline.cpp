// Lines of XBM files: bytes out of the text, and the header and bytes as text.
#include <algorithm>
#include <cstdio>
#include <cstring>

#include "raster/XBM/xbm.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "XBM/xbmline";

// ---- reading -------------------------------------------------------------------------------------------------------

constexpr uint8_t NO_DIGIT = 255;

struct digit_table {
    uint8_t value[256];
};
constexpr digit_table make_digits() {
    digit_table t = {};
    for (uint8_t& v : t.value)
        v = NO_DIGIT;
    for (uint8_t i = 0; i < 10; ++i)
        t.value['0' + i] = i;
    for (uint8_t i = 0; i < 6; ++i)
        t.value['a' + i] = t.value['A' + i] = static_cast<uint8_t>(10 + i);
    return t;
}
constexpr digit_table DIGITS = make_digits();

bool is_separator(int ch) {
    return ch == ',' || ch == ' ' || ch == '\n' || ch == '\t' || ch == '\r' || ch == '}';
}

// A number of at most two digits out of characters at hand: "0x7f" with what separates it before. False: nothing is
// taken.
constexpr ptrdiff_t NUMBER_ROOM = 16;
bool take_usual_number(text_reader* t, uint8_t* value) {
    const uint8_t* p = t->next;
    for (int i = 0; i < 8 && is_separator(*p); ++i)
        ++p;
    unsigned high = DIGITS.value[p[2]];
    unsigned low = DIGITS.value[p[3]];
    bool usual = p[0] == '0' && p[1] == 'x' && high < 16 && low < 16 && is_separator(p[4]);
    if (!usual) return false;
    *value = static_cast<uint8_t>(high << 4 | low);
    t->next = p + 4;
    return true;
}

// A number of any count of digits, which must have the value of a byte.
bool take_number(text_reader* t, uint8_t* value) {
    while (is_separator(text_peek(t)))
        ++t->next;
    if (text_peek(t) != '0') return false;
    ++t->next;
    int ch = text_peek(t);
    if (ch != 'x' && ch != 'X') return false;
    ++t->next;
    unsigned number = 0;
    ch = text_peek(t);
    bool good = ch >= 0 && DIGITS.value[ch] != NO_DIGIT;
    for (; good && ch >= 0 && DIGITS.value[ch] != NO_DIGIT; ch = text_peek(t)) {
        number = number << 4 | DIGITS.value[ch];
        good = number < 256;
        ++t->next;
    }
    *value = static_cast<uint8_t>(number);
    // A comment or the end of the file ends a number, too; a letter does not.
    return good && (is_separator(ch) || ch < 0 || ch == ';' || ch == '/');
}

// The bytes of a line as the file has them, into `row`, which may be null.
bool read_row(CFILE* c, uint8_t* row) {
    auto bytes = (static_cast<size_t>(c->xsize) + 7) / 8;
    text_reader t = text_begin(c);
    bool good = true;
    for (size_t i = 0; i < bytes && good; ++i) {
        uint8_t value = 0;
        good = (t.end - t.next >= NUMBER_ROOM && take_usual_number(&t, &value)) || take_number(&t, &value);
        if (row != nullptr) row[i] = reversed_bits(value);
    }
    text_end(&t);
    return good;
}

// ---- writing -------------------------------------------------------------------------------------------------------

// A byte of the line as text, with its bits the other way round.
struct byte_table {
    char text[256][XBM_BYTE_TEXT];
};
constexpr byte_table make_bytes() {
    constexpr char HEX[] = "0123456789abcdef";
    byte_table t = {};
    for (unsigned v = 0; v < 256; ++v) {
        const char text[XBM_BYTE_TEXT] = {'0', 'x', HEX[reversed_bits(v) >> 4], HEX[reversed_bits(v) & 15], ',', ' '};
        for (size_t i = 0; i < XBM_BYTE_TEXT; ++i)
            t.text[v][i] = text[i];
    }
    return t;
}
constexpr byte_table BYTES = make_bytes();

// The text of a line whose bits stand at the end of its room.
void store_row(const uint8_t* bits, size_t bytes, bool is_last, uint8_t* out) {
    for (size_t i = 0; i < bytes; ++i) {
        std::memcpy(out, BYTES.text[bits[i]], XBM_BYTE_TEXT);
        out += XBM_BYTE_TEXT;
        if (i % XBM_LINE_BYTES == XBM_LINE_BYTES - 1 && i + 1 < bytes) *out++ = '\n';
    }
    if (is_last) {
        out[-2] = '}';
        out[-1] = ';';
    }
    *out = '\n';
}

bool write_text(CFILE* c, xbm_spec* spec) {
    char text[5 * (XBM_NAME_SIZE + 40)];
    const char* n = spec->name;
    int size = std::snprintf(text, sizeof text,
                             "#define %s_width %d\n#define %s_height %d\n#define %s_x_hot %d\n#define %s_y_hot %d\n"
                             "static char %s_bits[] = {\n",
                             n, c->xsize, n, c->ysize, n, spec->x_hot, n, spec->y_hot, n);
    spec->data_offset = size;
    return put_all(c, text, static_cast<size_t>(size), SOURCE);
}

} // namespace

int xbm_get_line(CFILE* c, int channels, read_planes buffers) {
    bool wanted = is_wanted(channels, buffers);
    if (wanted && channels != 1) return fails(c, RZL_UNSUPPORTED, SOURCE, "getline");
    bool there = has_flag(c, FLAG_HEADER_EXISTS) && (!xbm_has_places(c) || xbm_go_to_line(c));
    uint8_t* words = wanted ? buffers[0] : nullptr;
    if (!there || !read_row(c, words)) return fails(c, RZL_READ_FAILED, SOURCE, "getline");
    if (words != nullptr) bits_to_words(words, static_cast<uint32_t>(c->xsize), 0, words);
    ++c->line;
    return c->xsize;
}

// A file that was opened has its header and keeps it, and so does one whose header is written.
int xbm_write_header(CFILE* c) {
    xbm_spec* spec = xbm_spec_of(c);
    if (!is_writable(c)) return refuse(c, RZL_NEEDS_WRITE, SOURCE, "Wrt_hdr");
    if (has_flag(c, FLAG_HEADER_EXISTS)) return 0;
    if (c->xsize < 1 || c->ysize < 1) return refuse(c, RZL_BAD_IMAGE_SIZE, SOURCE, "Wrt_hdr");
    c->format = RZL_FORMAT_BILEVEL;
    (void)format_layout(c->format, &c->samples, &c->bits);
    bool at_start = io_tell(c) == 0 || io_seek(c, 0); // a pipe can't be sought, and need not be
    if (!at_start) return refuse(c, RZL_WRITE_FAILED, SOURCE, nullptr);
    auto bits = (static_cast<size_t>(c->xsize) + 7) / 8;
    mem_free(spec->row);
    spec->row = mem_new_array<uint8_t>(xbm_text_bytes(c) + bits);
    if (spec->row == nullptr) return refuse(c, RZL_NO_MEMORY, SOURCE, nullptr);
    if (!write_text(c, spec)) return 1;
    spec->file_line = 0;
    c->line = 0;
    set_flag(c, FLAG_HEADER_EXISTS, true);
    return 0;
}

int xbm_put_line(CFILE* c, int channels, write_planes buffers) {
    xbm_spec* spec = xbm_spec_of(c);
    if (channels != 1) return fails(c, RZL_UNSUPPORTED, SOURCE, "putline");
    // Lines of another program's text are of any length.
    if (!xbm_has_places(c))
        return fails(c, RZL_MODIFY_COMPRESSED, SOURCE, "Cannot modify compressed or scan format data");
    auto bytes = (static_cast<size_t>(c->xsize) + 7) / 8;
    uint8_t* bits = spec->row + xbm_text_bytes(c);
    if (buffers[0] != nullptr) {
        words_to_bits(buffers[0], static_cast<uint32_t>(c->xsize), 0, bits);
    } else {
        std::memset(bits, 0, bytes); // a line that is not given is black
    }
    store_row(bits, bytes, c->line == c->ysize - 1, spec->row);
    if (!xbm_go_to_line(c)) return fails(c, RZL_WRITE_FAILED, SOURCE, nullptr);
    return put_all(c, spec->row, xbm_text_bytes(c), SOURCE) ? c->xsize : 0;
}
