// Native files with a text header: "Raster!" and lines of text in the first 1024 bytes, behind them run-coded byte
// planes. After opening the handle is that of a native file of data format 27; writing its header puts the native
// header in the place of the text.
#include "raster/KRVN/krv.h"

namespace {

constexpr const char* SOURCE = "KRVN/krvorgb";
constexpr size_t TEXT_AT = 8; // behind "Raster!" and its newline
constexpr int32_t TEXT_VERSION = 1;

// The text that is left, zero-ended. `failed` stays set once something could not be taken.
struct text_cursor {
    const char* next;
    bool failed;
};

void skip_space(text_cursor* text) {
    while (is_blank(*text->next))
        ++text->next;
}

// A decimal number that fits 32 bits. The white space behind it stays.
int32_t take_number(text_cursor* text) {
    skip_space(text);
    bool negative = *text->next == '-';
    if (negative || *text->next == '+') ++text->next;
    if (!is_digit(*text->next)) text->failed = true;
    int64_t value = 0;
    for (; is_digit(*text->next); ++text->next) {
        value = value * 10 + (*text->next - '0');
        if (value > int64_t{INT32_MAX} + 1) {
            text->failed = true;
            value = 0;
        }
    }
    value = negative ? -value : value;
    if (value > INT32_MAX) text->failed = true;
    return text->failed ? 0 : static_cast<int32_t>(value);
}

// A number and the white space behind it.
int32_t take_number_line(text_cursor* text) {
    int32_t value = take_number(text);
    skip_space(text);
    return value;
}

void pass_word(text_cursor* text) {
    skip_space(text);
    if (*text->next == '\0') text->failed = true;
    while (*text->next != '\0' && !is_blank(*text->next))
        ++text->next;
    skip_space(text);
}

// The rest of the line, of which `size` - 1 characters go into `out`; an empty one is a failure.
void take_line(text_cursor* text, uint8_t* out, size_t size) {
    const char* start = text->next;
    while (*text->next != '\0' && *text->next != '\n')
        ++text->next;
    auto length = static_cast<size_t>(text->next - start);
    if (length == 0) text->failed = true;
    std::memcpy(out, start, length < size ? length : size - 1);
    skip_space(text);
}

// Takes the lines of the text into the native header. The status, 0 for good.
uint32_t parse_text(const char* bytes, uint8_t* header) {
    text_cursor text = {bytes, false};
    int32_t version = take_number(&text);
    if (text.failed) return RZL_READ_FAILED;
    if (version != TEXT_VERSION) return RZL_NOT_STANDARD_2;
    pass_word(&text);
    int32_t xsize = take_number_line(&text);
    int32_t ysize = take_number_line(&text);
    store_u32le(header + KRV_AT_PIXELS_PER_LINE, static_cast<uint32_t>(xsize));
    store_u32le(header + KRV_AT_LINES, static_cast<uint32_t>(ysize));
    for (size_t i = 0; i < 3; ++i) {
        store_u32le(header + KRV_AT_APP_VALUES + 4 * i, static_cast<uint32_t>(take_number_line(&text)));
    }
    take_number_line(&text);
    take_line(&text, header + KRV_AT_DESCRIPTION, KRV_DESCRIPTION_SIZE);
    take_line(&text, header + KRV_AT_COMMENT, KRV_COMMENT_SIZE);
    if (text.failed) return RZL_READ_FAILED;
    return xsize < 0 || ysize < 0 ? RZL_BAD_IMAGE_SIZE : 0;
}

uint32_t read_text_header(CFILE* c) {
    uint8_t bytes[KRV_HEADER_SIZE + 1] = {};
    if (!krv_read_header(c, 0, TEXT_AT, bytes)) return RZL_READ_FAILED;
    uint8_t* header = krv_spec_of(c)->header;
    store_u16le(header + KRV_AT_DATA_TYPE, RZL_FORMAT_PLANE_RUNS);
    store_u16le(header + KRV_AT_APPLICATION_TYPE, KRV_APPLICATION_9);
    return parse_text(reinterpret_cast<const char*>(bytes) + TEXT_AT, header);
}

} // namespace

int krv_open_text(CFILE* c, const char*) {
    krv_init_spec(c);
    uint32_t status = read_text_header(c);
    if (status != 0) return refuse(c, status, SOURCE, "text header");
    set_flag(c, FLAG_NATIVE, true);
    uint8_t header[KRV_HEADER_SIZE];
    std::memcpy(header, krv_spec_of(c)->header, KRV_HEADER_SIZE);
    return krv_load_image(c, 0, header) ? 0 : 1;
}
