// The coder of LZW strips, and the differences that a predictor makes of their samples.
//
// LZW as TIFF packs it: codes most significant bit first, one code earlier to the next width than other users of it.
//
// The decoder keeps no strings: the string of a code stands in the output already written, where the code before it was
// put out, and goes on by one byte. Its first 8 bytes stand in the table as well, so that short strings, which are most
// of them, are one store. The encoder looks a longer string up in one step: its table has a place for every byte behind
// every code. What is slow in it are wrong guesses of whether a string goes on, and this has one branch for that. The
// places of a byte are together, so the few bytes of a picture's noise touch few lines of memory. Codes wait for the
// end of their table: then those of one width become bits four at a time.
#include <algorithm>
#include <cstring>

#include "raster/TIFF/tiff.h"

namespace {

constexpr uint32_t CLEAR = 256;
constexpr uint32_t END = 257;
constexpr uint32_t FIRST_FREE = 258;
constexpr uint32_t LAST_CODE = 4094; // the table starts over when this code is in use
constexpr int FIRST_WIDTH = 9;
constexpr int LAST_WIDTH = 12;
constexpr uint32_t INLINE_BYTES = 8;

// ---- bits in

struct bit_source {
    const uint8_t* next;
    const uint8_t* end;
    uint64_t bits; // left-aligned
    int count;     // of them that are valid
};

// At least 56 bits, or what is left.
void refill(bit_source* s) {
    if (s->end - s->next >= 8) {
        uint64_t word;
        std::memcpy(&word, s->next, sizeof word);
        s->bits |= __builtin_bswap64(word) >> s->count;
        s->next += (63 - s->count) >> 3;
        s->count |= 56;
        return;
    }
    for (; s->count <= 56 && s->next != s->end; s->count += 8)
        s->bits |= static_cast<uint64_t>(*s->next++) << (56 - s->count);
}

// ---- the decoder

struct lzw_strings {
    uint64_t head[4096];   // first bytes, the first one lowest
    uint32_t start[4096];  // where in the output the string stands
    uint16_t length[4096]; // bytes
};

void put_string(const lzw_strings& strings, uint32_t code, uint8_t* target, size_t at) {
    std::memcpy(target + at, &strings.head[code], INLINE_BYTES);
    size_t length = strings.length[code];
    const uint8_t* from = target + strings.start[code];
    for (size_t i = INLINE_BYTES; i < length; i += INLINE_BYTES)
        std::memcpy(target + at + i, from + i, INLINE_BYTES);
}

// The string of `previous`, which stands at `start`, and one byte more.
void add_string(lzw_strings* strings, uint32_t code, uint32_t previous, uint32_t start, uint64_t byte) {
    uint32_t length = strings->length[previous];
    uint64_t head = strings->head[previous];
    strings->head[code] = length < INLINE_BYTES ? head | byte << (8 * length) : head;
    strings->length[code] = static_cast<uint16_t>(length + 1);
    strings->start[code] = start;
}

void begin_strings(lzw_strings* strings) {
    for (uint32_t i = 0; i < FIRST_FREE; ++i) {
        strings->head[i] = i & 0xFF;
        strings->length[i] = 1;
        strings->start[i] = 0;
    }
}

struct lzw_decoder {
    bit_source in;
    uint8_t* target;
    size_t limit;
    size_t at;         // bytes written
    uint32_t start;    // where the string of the last code was put
    uint32_t previous; // the last code
    bool ended, sound;
};

void end_decoding(lzw_decoder* d, bool sound) {
    d->ended = true;
    d->sound = sound;
}

bool take_code(bit_source* in, int width, uint32_t* code) {
    refill(in);
    if (in->count < width) return false;
    *code = static_cast<uint32_t>(in->bits >> (64 - width));
    in->bits <<= width;
    in->count -= width;
    return true;
}

// The first code of a table, a byte that stands for itself.
void take_first(lzw_decoder* d) {
    uint32_t code = CLEAR;
    while (code == CLEAR) {
        if (!take_code(&d->in, FIRST_WIDTH, &code)) return end_decoding(d, true);
    }
    if (code >= CLEAR) return end_decoding(d, code == END);
    if (d->at >= d->limit) return end_decoding(d, true);
    d->start = static_cast<uint32_t>(d->at);
    d->previous = code;
    d->target[d->at++] = static_cast<uint8_t>(code);
}

// The string that would pass the limit, up to there.
void put_last(const lzw_strings& strings, lzw_decoder* d, uint32_t code) {
    uint64_t head = strings.head[code];
    size_t length = std::min<size_t>(strings.length[code], d->limit - d->at);
    for (size_t i = 0; i < length; ++i)
        d->target[d->at + i] =
            i < INLINE_BYTES ? static_cast<uint8_t>(head >> (8 * i)) : d->target[strings.start[code] + i];
    d->at += length;
    end_decoding(d, true);
}

// A full table starts over by itself; writers that send a clear code all the same find it taken.
void pass_clear(bit_source* in) {
    bit_source ahead = *in;
    uint32_t code = 0;
    if (take_code(&ahead, LAST_WIDTH, &code) && code == CLEAR) *in = ahead;
}

// Codes of one width up to the code `last`, which is the last that the width can name. False when the table ended.
bool take_codes(lzw_strings* strings, lzw_decoder* d, uint32_t* next, int width, uint32_t last) {
    lzw_decoder s = *d; // in registers
    uint32_t free = *next;
    uint32_t code = 0;
    bool on = true;
    while (free <= last) {
        if (s.in.count < width) {
            refill(&s.in);
            if (s.in.count < width) {
                end_decoding(&s, true);
                on = false;
                break;
            }
        }
        code = static_cast<uint32_t>(s.in.bits >> (64 - width));
        s.in.bits <<= width;
        s.in.count -= width;
        if (code == CLEAR || code == END || code > free) {
            if (code != CLEAR) end_decoding(&s, code == END);
            on = false;
            break;
        }
        uint64_t first = strings->head[code == free ? s.previous : code] & 0xFF;
        add_string(strings, free++, s.previous, s.start, first);
        size_t length = strings->length[code];
        if (length > s.limit - s.at) {
            put_last(*strings, &s, code);
            on = false;
            break;
        }
        put_string(*strings, code, s.target, s.at);
        s.start = static_cast<uint32_t>(s.at);
        s.previous = code;
        s.at += length;
    }
    *next = free;
    *d = s;
    return on;
}

// One table, from its first code to a clear code or the end.
void take_table(lzw_strings* strings, lzw_decoder* d) {
    take_first(d);
    uint32_t next = FIRST_FREE;
    for (int width = FIRST_WIDTH; width <= LAST_WIDTH && !d->ended; ++width) {
        uint32_t last = width == LAST_WIDTH ? LAST_CODE : (1u << width) - 2;
        if (!take_codes(strings, d, &next, width, last)) return;
    }
    if (!d->ended) pass_clear(&d->in);
}

// ---- bits out

struct bit_sink {
    uint8_t* next;
    uint64_t bits; // the lowest `count` are waiting
    int count;
};

// Puts up to 56 bits: stores eight bytes, and moves behind those that are whole.
void put_bits(bit_sink* s, uint64_t bits, int width) {
    s->bits = s->bits << width | bits;
    s->count += width;
    store_u64le(s->next, __builtin_bswap64(s->bits << (64 - s->count)));
    s->next += s->count >> 3;
    s->count &= 7;
}

void put_rest(bit_sink* s) {
    if (s->count > 0) *s->next++ = static_cast<uint8_t>(s->bits << (8 - s->count));
}

// ---- the encoder

constexpr uint32_t MOST_CODES = LAST_CODE - END; // of one table: each brings a string into use

// Ends a table: puts out `count` codes, from its first one on, and takes its `strings` strings, of which there are no
// more than codes, out one by one, since they are few beside the places. Each alone would wait, the one for its bits
// and the other for memory. A width lasts until the widest code that it can name is in use; the reader's table is one
// string behind.
void end_table(bit_sink* out, tif_lzw_table* table, uint32_t count, uint32_t strings) {
    bit_sink s = *out; // in registers
    uint16_t* places = table->longer[0];
    const uint16_t* codes = table->codes;
    uint32_t i = 0;
    for (int width = FIRST_WIDTH; i < count; ++width) {
        uint32_t end = width == LAST_WIDTH ? count : std::min(count, (1u << width) - 1 - END);
        for (uint32_t both = std::min(end, strings); i + 4 <= both; i += 4) {
            uint64_t four = codes[i];
            for (uint32_t next = i + 1; next < i + 4; ++next)
                four = four << width | codes[next];
            for (uint32_t next = i; next < i + 4; ++next)
                places[table->used[next]] = 0;
            put_bits(&s, four, 4 * width);
        }
        for (; i < end; ++i) {
            put_bits(&s, codes[i], width);
            if (i < strings) places[table->used[i]] = 0;
        }
    }
    table->run_count = 0;
    *out = s;
}

// Blank stretches of a page: the string that one byte begins is then often a long run, which is found at once.
constexpr size_t RUN_BEGIN = 16;

bool begins_run(const uint8_t* p, uint32_t byte) {
    uint64_t pattern = byte * 0x0101010101010101u;
    return load_u64le(p + RUN_BEGIN / 2) == pattern && load_u64le(p) == pattern;
}

// Takes as much of the run that goes on at `p` as the table has a code for, which becomes *prefix. How many bytes.
size_t take_run(tif_lzw_table* table, const uint8_t* p, const uint8_t* end, uint32_t* prefix) {
    const uint16_t* longer = table->longer[*prefix];
    if (table->run_byte != *prefix) table->run_count = 0;
    table->run_byte = *prefix;
    uint32_t longest = table->run_count != 0 ? table->runs[table->run_count - 1] : *prefix;
    for (; longer[longest] != 0; longest = table->runs[table->run_count++])
        table->runs[table->run_count] = longer[longest];
    size_t most = std::min<size_t>(table->run_count, static_cast<size_t>(end - p));
    size_t length = most != 0 ? tif_run_length(p, p + most) : 0;
    if (length != 0) *prefix = table->runs[length - 1];
    return length;
}

} // namespace

size_t tif_lzw_decode(const uint8_t* source, size_t size, uint8_t* target, size_t limit, bool* sound) {
    lzw_strings strings;
    begin_strings(&strings);
    lzw_decoder d = {};
    d.in = {source, source + size, 0, 0};
    d.target = target;
    d.limit = std::min<size_t>(limit, UINT32_MAX);
    while (!d.ended)
        take_table(&strings, &d);
    *sound = d.sound;
    return d.at;
}

size_t tif_lzw_encode(const uint8_t* source, uint8_t* target, size_t length, tif_lzw_table* table) {
    bit_sink out = {target, 0, 0};
    put_bits(&out, CLEAR, FIRST_WIDTH);
    uint32_t count = 0; // of the table's codes
    uint32_t prefix = length > 0 ? source[0] : 0;
    uint16_t* places = table->longer[0];
    for (size_t i = 1; i < length; ++i) {
        uint32_t byte = source[i];
        size_t place = byte * TIF_LZW_CODES + prefix; // of longer[byte][prefix]
        uint32_t longer = places[place];
        if (longer != 0) {
            prefix = longer;
            continue;
        }
        places[place] = static_cast<uint16_t>(FIRST_FREE + count);
        table->used[count] = static_cast<uint32_t>(place);
        table->codes[count] = static_cast<uint16_t>(prefix);
        prefix = byte;
        if (++count == MOST_CODES) {
            end_table(&out, table, count, count);
            put_bits(&out, CLEAR, LAST_WIDTH);
            count = 0;
        }
        if (length - i > RUN_BEGIN && begins_run(source + i + 1, byte))
            i += take_run(table, source + i + 1, source + length, &prefix);
    }
    uint32_t all = count;
    if (length > 0) table->codes[all++] = static_cast<uint16_t>(prefix);
    table->codes[all++] = END;
    end_table(&out, table, all, count);
    put_rest(&out);
    return static_cast<size_t>(out.next - target);
}

// ---- differences between neighbours ---------------------------------------------------------------------------------

namespace {

template <typename Word> Word load_word(const uint8_t* p, bool big) {
    if constexpr (sizeof(Word) == 1) return *p;
    if constexpr (sizeof(Word) == 2) return big ? load_u16be(p) : load_u16le(p);
    if constexpr (sizeof(Word) == 4) return big ? load_u32be(p) : load_u32le(p);
}
template <typename Word> void store_word(uint8_t* p, bool big, Word v) {
    if constexpr (sizeof(Word) == 1) *p = v;
    if constexpr (sizeof(Word) == 2) big ? store_u16be(p, v) : store_u16le(p, v);
    if constexpr (sizeof(Word) == 4) big ? store_u32be(p, v) : store_u32le(p, v);
}

template <typename Word> void make_word_differences(uint8_t* row, size_t count, size_t step, bool big) {
    for (size_t i = count; i-- > step;) {
        uint8_t* p = row + i * sizeof(Word);
        store_word<Word>(p, big,
                         static_cast<Word>(load_word<Word>(p, big) - load_word<Word>(p - step * sizeof(Word), big)));
    }
}

template <typename Word> void undo_word_differences(uint8_t* row, size_t count, size_t step, bool big) {
    for (size_t i = step; i < count; ++i) {
        uint8_t* p = row + i * sizeof(Word);
        store_word<Word>(p, big,
                         static_cast<Word>(load_word<Word>(p, big) + load_word<Word>(p - step * sizeof(Word), big)));
    }
}

// The sums of each place of a pixel stay in registers.
template <size_t Step> void undo_byte_differences(uint8_t* row, size_t count) {
    uint8_t sums[Step] = {};
    for (size_t i = 0; i + Step <= count; i += Step) {
        for (size_t s = 0; s < Step; ++s)
            row[i + s] = sums[s] = static_cast<uint8_t>(sums[s] + row[i + s]);
    }
}

// Samples that are no whole words: through the bits. Differences are taken on the way, from the first sample on, so
// that the row can be written over itself.
void change_packed(uint8_t* row, int bits, size_t count, size_t step, bool undo) {
    uint32_t before[TIF_MAX_SAMPLES] = {};
    sample_reader in = {row, 0, 0};
    sample_writer out = {row, 0, 0};
    for (size_t i = 0; i < count; ++i) {
        uint32_t value = next_sample(&in, bits);
        uint32_t& last = before[i % step];
        uint32_t changed = undo ? last + value : value - last;
        last = undo ? changed : value;
        put_sample(&out, bits, changed);
    }
    end_samples(&out);
}

} // namespace

void tif_make_differences(uint8_t* row, int bits, bool big, size_t count, size_t step) {
    switch (bits) {
    case 8: return make_word_differences<uint8_t>(row, count, step, false);
    case 16: return make_word_differences<uint16_t>(row, count, step, big);
    case 32: return make_word_differences<uint32_t>(row, count, step, big);
    default: return change_packed(row, bits, count, step, false);
    }
}

void tif_undo_differences(uint8_t* row, int bits, bool big, size_t count, size_t step) {
    switch (bits) {
    case 8:
        if (step == 1) return undo_byte_differences<1>(row, count);
        if (step == 3) return undo_byte_differences<3>(row, count);
        if (step == 4) return undo_byte_differences<4>(row, count);
        return undo_word_differences<uint8_t>(row, count, step, false);
    case 16: return undo_word_differences<uint16_t>(row, count, step, big);
    case 32: return undo_word_differences<uint32_t>(row, count, step, big);
    default: return change_packed(row, bits, count, step, true);
    }
}
