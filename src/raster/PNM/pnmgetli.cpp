// Reading lines of PNM files.
#include <algorithm>
#include <cstring>

#include "raster/PNM/pnm.h"

namespace {

constexpr char SOURCE[] = "PNM/pnmgetli";

// ---- samples -------------------------------------------------------------------------------------------------------

uint8_t scaled(const pnm_spec* spec, uint32_t value) {
    if (value < 256) return spec->scale[value];
    auto max = static_cast<uint32_t>(spec->max_value);
    value = std::min(value, max);
    return max < 256 ? spec->scale[max] : static_cast<uint8_t>((value * 255 + max / 2) / max);
}

// Stored values are given as they are when they are asked for and bytes hold them.
bool is_scaled(const CFILE* c) {
    int32_t max = pnm_spec_of(c)->max_value;
    return max > 255 || (max != 255 && !has_flag(c, FLAG_RAW_SAMPLES));
}

void scale_bytes(const pnm_spec* spec, uint8_t* bytes, size_t count) {
    for (size_t i = 0; i < count; ++i)
        bytes[i] = spec->scale[bytes[i]];
}

// Samples of two bytes into bytes: always scaled, since a byte does not hold them.
void unpack_words(const CFILE* c, const uint8_t* row, size_t pixels, uint8_t* const* planes, size_t samples) {
    const pnm_spec* spec = pnm_spec_of(c);
    for (size_t s = 0; s < samples; ++s)
        for (size_t i = 0; planes[s] != nullptr && i < pixels; ++i)
            planes[s][i] = scaled(spec, load_u16be(row + (i * samples + s) * 2));
}

void unpack_bytes_of(const CFILE* c, const uint8_t* row, size_t pixels, uint8_t* const* planes, size_t samples) {
    if (samples == 3) {
        split_pixels(row, pixels, 3, planes, 3);
    } else if (planes[0] != nullptr && planes[0] != row) {
        std::memcpy(planes[0], row, pixels);
    }
    for (size_t s = 0; s < samples && is_scaled(c); ++s)
        if (planes[s] != nullptr) scale_bytes(pnm_spec_of(c), planes[s], pixels);
}

// Pixels as a raw line has them.
void unpack(const CFILE* c, const uint8_t* row, size_t pixels, uint8_t* const* planes, size_t samples) {
    bool words = pnm_step(pnm_spec_of(c)) == 2;
    (words ? unpack_words : unpack_bytes_of)(c, row, pixels, planes, samples);
}

// ---- lines of text -------------------------------------------------------------------------------------------------

constexpr size_t PIXELS_AT_ONCE = 256;

// Numbers go by way of a piece of a raw line.
bool read_numbers(CFILE* c, uint8_t* const* planes, size_t samples) {
    size_t step = pnm_step(pnm_spec_of(c));
    auto width = static_cast<size_t>(c->xsize);
    text_reader t = text_begin(c);
    bool good = true;
    for (size_t x = 0; x < width && good; x += PIXELS_AT_ONCE) {
        uint8_t row[PIXELS_AT_ONCE * 3 * 2] = {};
        size_t wanted = std::min(width - x, PIXELS_AT_ONCE) * samples;
        size_t taken = pnm_take_numbers(&t, step, wanted, row);
        good = taken == wanted;
        uint8_t* at[3] = {};
        for (size_t s = 0; s < samples; ++s)
            at[s] = planes[s] != nullptr ? planes[s] + x : nullptr;
        unpack(c, row, taken / samples, at, samples);
    }
    text_end(&t);
    return good;
}

// Eight digits that stand at hand, one behind the other or with a blank behind each, as bits. False: they do not.
bool take_eight_digits(text_reader* t, uint8_t* bits) {
    constexpr uint64_t GATHER = 0x8040201008040201; // the low bits of eight bytes into the top byte, the first on top
    if (t->end - t->next < 16) return false;
    uint64_t first = load_u64le(t->next);
    if ((first & 0xFEFEFEFEFEFEFEFE) == 0x3030303030303030) {
        *bits = static_cast<uint8_t>((first & 0x0101010101010101) * GATHER >> 56);
        t->next += 8;
        return true;
    }
    uint64_t second = load_u64le(t->next + 8);
    bool spaced =
        (first & 0xFFFEFFFEFFFEFFFE) == 0x2030203020302030 && (second & 0x00FEFFFEFFFEFFFE) == 0x0030203020302030;
    if (!spaced) return false;
    // A bit in every other byte: the first four fill the high half.
    uint64_t halves = (first & 0x0001000100010001) * 0x0008000400020001 >> 48 << 4 & 0xF0;
    halves |= (second & 0x0001000100010001) * 0x0008000400020001 >> 48 & 0x0F;
    *bits = static_cast<uint8_t>(halves);
    t->next += 15;
    return true;
}

// One digit. False, with the status, at another character or the end of the file.
bool take_digit(text_reader* t, unsigned* bit) {
    int ch = pnm_skip_blanks(t);
    if (ch != '0' && ch != '1') {
        const char* word = ch < 0 ? "getline" : "Unexpected char in PBM file";
        return fails(t->c, RZL_READ_FAILED, SOURCE, word);
    }
    *bit = ch == '1' ? 1 : 0;
    ++t->next;
    return true;
}

// Bits as the file means them, packed, into `row`, which may be null.
bool read_digits(CFILE* c, uint8_t* row) {
    auto width = static_cast<size_t>(c->xsize);
    text_reader t = text_begin(c);
    bool good = true;
    for (size_t x = 0; x < width && good; x += 8) {
        size_t count = std::min<size_t>(width - x, 8);
        uint8_t bits = 0;
        if (pnm_skip_blanks(&t) < 0 || count < 8 || !take_eight_digits(&t, &bits)) {
            for (size_t i = 0; i < count && good; ++i) {
                unsigned bit = 0;
                good = take_digit(&t, &bit);
                bits = static_cast<uint8_t>(bits | bit << (7 - i));
            }
        }
        if (row != nullptr) row[x / 8] = bits;
    }
    text_end(&t);
    return good;
}

// ---- raw lines -----------------------------------------------------------------------------------------------------

// The file behind the line that comes next.
bool pass_row(CFILE* c) {
    if (pnm_go_to_line(c) && io_skip(c, pnm_line_bytes(c))) return true;
    pnm_spec_of(c)->file_line = -1;
    return fails(c, RZL_READ_FAILED, SOURCE, "getline");
}

// The line that comes next as the file has it, where it lies, in `room`, or else in `row`; null with the status.
const uint8_t* read_row(CFILE* c, uint8_t* room) {
    pnm_spec* spec = pnm_spec_of(c);
    if (room == nullptr && !pnm_need_row(c, true)) return nullptr;
    const uint8_t* row = nullptr;
    if (pnm_go_to_line(c)) row = io_take(c, static_cast<size_t>(pnm_line_bytes(c)), room != nullptr ? room : spec->row);
    if (row != nullptr) return row;
    spec->file_line = -1;
    fail(c, RZL_READ_FAILED, SOURCE, "getline");
    return nullptr;
}

// ---- lines by kind -------------------------------------------------------------------------------------------------

bool read_bits(CFILE* c, uint8_t* words) {
    auto width = static_cast<uint32_t>(c->xsize);
    if (pnm_is_text(pnm_spec_of(c))) {
        if (!read_digits(c, words)) return false;
        if (words != nullptr) bits_to_words(words, width, 0xFF, words);
        return true;
    }
    if (words == nullptr) return pass_row(c);
    const uint8_t* row = read_row(c, words);
    if (row != nullptr) bits_to_words(row, width, 0xFF, words);
    return row != nullptr;
}

bool read_samples(CFILE* c, uint8_t* const* planes, size_t samples, bool wanted) {
    const pnm_spec* spec = pnm_spec_of(c);
    if (pnm_is_text(spec)) return read_numbers(c, planes, samples) || fails(c, RZL_READ_FAILED, SOURCE, "getline");
    if (!wanted) return pass_row(c);
    bool direct = samples == 1 && pnm_step(spec) == 1;
    const uint8_t* row = read_row(c, direct ? planes[0] : nullptr);
    if (row == nullptr) return false;
    unpack(c, row, static_cast<size_t>(c->xsize), planes, samples);
    return true;
}

// False, with the status: the call does not fit the file. A line that is passed over fits any.
bool channels_fit(CFILE* c, int channels, bool wanted) {
    if (wanted && channels != 1 && channels != 3) return fails(c, RZL_NOT_STANDARD, SOURCE, "getline");
    return !wanted || channels == 3 || c->samples == 1 || fails(c, RZL_NOT_STANDARD, SOURCE, "getline");
}

// A line of one plane into the first of the caller's planes that can take it.
bool read_plane(CFILE* c, int channels, read_planes buffers, bool wanted) {
    uint8_t* first = channels > 0 ? buffers[0] : nullptr;
    if (format_is_bilevel(c->format)) return read_bits(c, first);
    if (wanted && first == nullptr) { // the other planes are as the first, which is not wanted
        first = buffers[1] != nullptr ? buffers[1] : buffers[2];
    }
    if (!read_samples(c, &first, 1, wanted)) return false;
    for (int p = 0; p < channels && wanted; ++p)
        if (buffers[p] != nullptr && buffers[p] != first) std::memcpy(buffers[p], first, static_cast<size_t>(c->xsize));
    return true;
}

} // namespace

void pnm_make_scale(pnm_spec* spec) {
    auto max = static_cast<uint32_t>(spec->max_value);
    for (uint32_t v = 0; v < 256; ++v)
        spec->scale[v] = static_cast<uint8_t>((std::min(v, max) * 255 + max / 2) / max);
}

int pnm_get_line(CFILE* c, int channels, read_planes buffers) {
    bool wanted = is_wanted(channels, buffers);
    if (!channels_fit(c, channels, wanted)) return 0;
    if (!has_flag(c, FLAG_HEADER_EXISTS)) return fails(c, RZL_READ_FAILED, SOURCE, "getline"); // a new file
    if (pnm_has_places(c) && pnm_is_text(pnm_spec_of(c)) && !pnm_go_to_line(c))
        return fails(c, RZL_READ_FAILED, SOURCE, "getline");
    uint8_t* const nothing[3] = {};
    bool read = c->samples == 3 ? read_samples(c, wanted ? buffers : nothing, 3, wanted)
                                : read_plane(c, channels, buffers, wanted);
    if (!read) return 0;
    ++c->line;
    return c->xsize;
}
