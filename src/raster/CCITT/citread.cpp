// Reading coded data: the line that comes next, whole images, and lines in any order.
#include <algorithm>
#include <cstring>

#include "raster/CCITT/citcode.h"
#include "support/memory.h"

// ---- the line that comes next ---------------------------------------------------------------------------------------
//
// The next line of coded data, with the codes around it: end-of-line codes, tag bits, fill, byte boundaries, the ends
// of an image; and how to go on where some of them are missing or a line is damaged.

namespace {

cit_line next_aligned(cit_stream* s, cit_changes* line, uint32_t width) {
    cit_stream_refill(s);
    cit_stream_skip(s, static_cast<uint32_t>(-cit_stream_place(s) & 7));
    if (cit_stream_ended(s)) return cit_line::lost;
    bool cut = false;
    return cit_decode_1d_runs(s, line, width, &cut);
}

// Takes an end-of-line code and the fill before it. False: no such code comes next, or the data ends in fill, which
// then stays.
bool take_end_of_line(cit_stream* s) {
    cit_stream_refill(s);
    if (!cit_stream_at_end_of_line(s)) return false;
    cit_stream ahead = *s;
    if (!cit_stream_pass_zeros(&ahead)) return false;
    *s = ahead;
    return true;
}

// Whether the data has nothing but fill left.
bool only_fill_left(cit_stream* s) {
    if (cit_stream_ended(s)) return true;
    cit_stream_refill(s);
    if (!cit_stream_at_end_of_line(s)) return false;
    cit_stream ahead = *s;
    return !cit_stream_pass_zeros(&ahead);
}

bool take_tag(cit_stream* s) {
    cit_stream_refill(s);
    bool one_dimensional = (s->buffer & 1) != 0;
    cit_stream_skip(s, 1);
    return one_dimensional;
}

// A line that the runs don't fill goes on at the next end-of-line code. One that was whole but too long does as well:
// where it should have ended is not known.
cit_line settle(cit_stream* s, cit_line line) {
    if (line == cit_line::stuck) line = cit_line::lost;
    if (line != cit_line::lost || cit_stream_overrun(s)) return line;
    return cit_stream_find_end_of_line(s) ? cit_line::damaged : cit_line::lost;
}

cit_line next_g3(cit_stream* s, bool tagged, const cit_changes* reference, cit_changes* line, uint32_t width,
                 bool* clean) {
    if (only_fill_left(s)) return cit_line::lost;
    bool marked = take_end_of_line(s);
    if (!marked && tagged) {
        // Nothing says how the line is coded.
        *clean = false;
        if (!cit_stream_find_end_of_line(s)) return cit_line::lost;
        marked = take_end_of_line(s);
    }
    if (!marked) *clean = false;
    bool one_dimensional = !tagged || take_tag(s);
    if (marked && take_end_of_line(s)) return cit_line::ended;
    if (!one_dimensional) return settle(s, cit_decode_2d_runs(s, reference, line, width));
    bool cut = false;
    cit_line result = cit_decode_1d_runs(s, line, width, &cut);
    return settle(s, cut && result == cit_line::whole ? cit_line::lost : result);
}

// The end of a group 4 block: an end-of-line code and the beginning of another, perhaps with fill in front of the
// first.
bool take_end_of_block(cit_stream* s) {
    cit_stream ahead = *s;
    if (!take_end_of_line(&ahead)) return false;
    cit_stream_refill(&ahead);
    if ((ahead.buffer & 0xFF) != 0) return false;
    cit_stream_skip(&ahead, CIT_END_OF_LINE_BITS);
    *s = ahead;
    return true;
}

cit_line next_g4(cit_stream* s, const cit_changes* reference, cit_changes* line, uint32_t width) {
    if (cit_stream_ended(s)) return cit_line::lost;
    cit_line result = cit_decode_2d_runs(s, reference, line, width);
    if (result != cit_line::stuck) return result;
    return take_end_of_block(s) ? cit_line::ended : cit_line::lost;
}

} // namespace

cit_line cit_next_line(cit_stream* s, cit_coding coding, const cit_changes* reference, cit_changes* line,
                       uint32_t width, bool* clean) {
    *clean = true;
    cit_end_changes(line, 0, width); // white where the decoder leaves nothing
    switch (coding) {
    case cit_coding::aligned: return next_aligned(s, line, width);
    case cit_coding::g3_1d: return next_g3(s, false, reference, line, width, clean);
    case cit_coding::g3_2d: return next_g3(s, true, reference, line, width, clean);
    default: return next_g4(s, reference, line, width);
    }
}

bool cit_take_end(cit_stream* s, cit_coding coding) {
    if (coding == cit_coding::aligned) return true;
    if (coding == cit_coding::g4) return take_end_of_block(s);
    cit_stream ahead = *s;
    if (!take_end_of_line(&ahead)) return false;
    if (coding == cit_coding::g3_2d) (void)take_tag(&ahead);
    if (!take_end_of_line(&ahead)) return false;
    *s = ahead;
    return true;
}

// ---- whole images ---------------------------------------------------------------------------------------------------

namespace {

struct decoder {
    cit_params* params;
    cit_sink* sink;
    cit_sink_call sink_line;
    cit_stream stream;
    cit_changes lines[2]; // the one before, and the one at hand, by the parity of the line number
    uint16_t* runs;       // owned: the line for the sink
    size_t room;          // words of it
    bool clean;           // no line was damaged, no code was missing
};

bool is_possible(const cit_params* params) {
    return params->width > 0 && params->width <= CIT_MAX_WIDTH;
}

// Hands a line over. Two words of 0 stand behind its runs, so that it can be walked beyond its end.
uint32_t hand_over(decoder* d, const cit_changes* line, uint32_t number) {
    size_t needed = cit_runs_of_changes(line, d->params->width) + 2;
    if (!cit_need_runs(&d->runs, &d->room, needed)) return CIT_NO_MEMORY;
    size_t count = cit_changes_to_runs(line, d->params->width, d->runs);
    d->runs[count] = 0;
    d->runs[count + 1] = 0;
    return d->sink_line(d->sink, d->runs, count, number);
}

uint32_t result_of(const decoder* d, bool ended) {
    return ended && d->clean ? CIT_OK : CIT_BAD_DATA;
}

uint32_t decode_lines(decoder* d, cit_coding coding, uint32_t limit) {
    for (uint32_t number = 1; number <= limit; ++number) {
        cit_changes* line = &d->lines[number & 1];
        bool clean = true;
        cit_line kind = cit_next_line(&d->stream, coding, &d->lines[~number & 1], line, d->params->width, &clean);
        if (kind == cit_line::no_room) return CIT_NO_MEMORY;
        if (kind == cit_line::ended) return result_of(d, true);
        if (kind == cit_line::lost) return CIT_BAD_DATA;
        if (!clean || kind == cit_line::damaged) d->clean = false;
        uint32_t result = hand_over(d, line, number);
        if (!cit_succeeded(result)) return result;
        d->params->lines = number;
    }
    return result_of(d, cit_take_end(&d->stream, coding));
}

uint32_t decode_image(cit_params* params, cit_sink* sink, cit_sink_call sink_line, cit_coding coding) {
    uint32_t limit = params->lines;
    params->lines = 0;
    params->words = 0;
    if (!is_possible(params)) return CIT_BAD_DATA;
    decoder d = {};
    d.params = params;
    d.sink = sink;
    d.sink_line = sink_line;
    d.clean = true;
    cit_stream_begin(&d.stream, params->data, params->bytes, 0);
    uint32_t result = CIT_NO_MEMORY;
    if (cit_changes_white(&d.lines[0], params->width) && cit_changes_white(&d.lines[1], params->width))
        result = decode_lines(&d, coding, limit);
    uint64_t taken = cit_stream_place(&d.stream);
    if (taken > cit_stream_size(&d.stream)) taken = cit_stream_size(&d.stream);
    params->words = static_cast<size_t>((taken + 15) / 16);
    cit_changes_free(&d.lines[0]);
    cit_changes_free(&d.lines[1]);
    mem_free(d.runs);
    return result;
}

} // namespace

uint32_t cit_decode_g4(cit_params* params, cit_sink* sink, cit_sink_call sink_line) {
    return decode_image(params, sink, sink_line, cit_coding::g4);
}

uint32_t cit_decode_g3(cit_params* params, cit_sink* sink, cit_sink_call sink_line) {
    return decode_image(params, sink, sink_line, params->k < 0 ? cit_coding::g3_1d : cit_coding::g3_2d);
}

uint32_t cit_decode_1d(cit_params* params, cit_sink* sink, cit_sink_call sink_line) {
    return decode_image(params, sink, sink_line, cit_coding::aligned);
}

uint32_t cit_decode_g4_line(const cit_params* params, const cit_changes* reference, cit_changes* current,
                            uint64_t* place, bool* ended) {
    *ended = false;
    if (!is_possible(params)) return CIT_BAD_DATA;
    if (!cit_changes_need(current, 0)) return CIT_NO_MEMORY;
    cit_stream s;
    cit_stream_begin(&s, params->data, params->bytes, *place);
    bool clean = true;
    cit_line kind = cit_next_line(&s, cit_coding::g4, reference, current, params->width, &clean);
    *place = cit_stream_place(&s);
    *ended = kind == cit_line::ended;
    if (kind == cit_line::no_room) return CIT_NO_MEMORY;
    return kind == cit_line::lost ? CIT_BAD_DATA : CIT_OK;
}

// ---- a reader of lines in any order ---------------------------------------------------------------------------------
//
// A cursor goes forward and decodes each line once; on its way it notes, at the first line of each block, the place in
// the data and the line before. To go back, the block with the line is decoded from there and kept as runs, so that
// reading from the bottom up, or the same few lines again and again, decodes a block once. What is kept never takes
// more memory than some times the data that it came from.

namespace {

constexpr uint32_t DEFAULT_BLOCK = 256; // lines
constexpr uint32_t LEAST_BLOCK = 64;    // so that notes take little memory beside lines of a few bits
constexpr uint32_t NO_BLOCK = UINT32_MAX;

struct cursor {
    cit_stream stream;
    cit_changes lines[2]; // a line and the one before it: line n is lines[~n & 1]
    uint32_t next;        // line that comes next
    bool over;            // no further line can be decoded
    bool sound;           // the line before `next` is neither damaged nor missing
};

struct checkpoint {
    uint64_t place; // of the block's first line, in bits
    int32_t* at;    // owned: the changes of the line before it, without guards; null for none
    size_t count;
};

struct block_cache {
    uint32_t block; // NO_BLOCK: nothing
    cit_sink sink;  // lines that the block has up to where the cursor had come
    uint8_t* sound; // owned, a line each
    uint32_t count;
    uint16_t* runs; // owned: a line on its way to the sink
    size_t room;
};

} // namespace

struct cit_reader {
    cit_coding coding;
    uint32_t width;
    uint32_t lines;
    const uint8_t* data;
    size_t bytes;
    uint32_t block_lines;
    cursor forward;
    cursor backward; // used while a block is decoded
    checkpoint* checkpoints;
    uint32_t checkpoint_count;
    uint32_t checkpoint_room;
    block_cache cache;
    bool damaged;
    bool unended;
};

namespace {

bool cursor_begin(cit_reader* r, cursor* c, uint64_t place, uint32_t next) {
    if (!cit_changes_white(&c->lines[0], r->width) || !cit_changes_white(&c->lines[1], r->width)) return false;
    cit_stream_begin(&c->stream, r->data, r->bytes, place);
    c->next = next;
    c->over = false;
    c->sound = true;
    return true;
}

void cursor_free(cursor* c) {
    cit_changes_free(&c->lines[0]);
    cit_changes_free(&c->lines[1]);
}

cit_changes* line_of(cursor* c, uint32_t number) {
    return &c->lines[~number & 1];
}

// Decodes the next line; the image is not over. False: no memory, and the cursor stands as it stood.
bool cursor_step(const cit_reader* r, cursor* c) {
    cit_stream stream = c->stream;
    cit_changes* line = line_of(c, c->next);
    bool clean = true;
    cit_line kind = cit_next_line(&stream, r->coding, line_of(c, c->next + 1), line, r->width, &clean);
    if (kind == cit_line::no_room) return false;
    c->stream = stream;
    c->sound = clean && kind == cit_line::whole;
    c->over = kind == cit_line::lost || kind == cit_line::ended;
    ++c->next;
    return true;
}

bool has_reference(const cit_reader* r) {
    return r->coding == cit_coding::g3_2d || r->coding == cit_coding::g4;
}

bool need_checkpoint(cit_reader* r) {
    if (r->checkpoint_count < r->checkpoint_room) return true;
    uint32_t room = r->checkpoint_room * 2 + 16;
    auto* grown = static_cast<checkpoint*>(mem_realloc(r->checkpoints, room * sizeof(checkpoint)));
    if (grown == nullptr) return false;
    r->checkpoints = grown;
    r->checkpoint_room = room;
    return true;
}

// Notes where the cursor stands. False: no memory.
bool note_checkpoint(cit_reader* r) {
    if (!need_checkpoint(r)) return false;
    const cit_changes* line = line_of(&r->forward, r->forward.next + 1);
    checkpoint note = {cit_stream_place(&r->forward.stream), nullptr, has_reference(r) ? line->count : 0};
    if (note.count != 0) {
        note.at = mem_new_array<int32_t>(note.count);
        if (note.at == nullptr) return false;
        std::memcpy(note.at, line->at, note.count * sizeof(int32_t));
    }
    r->checkpoints[r->checkpoint_count++] = note;
    return true;
}

bool step_forward(cit_reader* r) {
    cursor* c = &r->forward;
    bool begins = c->next % r->block_lines == 0 && c->next / r->block_lines == r->checkpoint_count;
    if (begins && !note_checkpoint(r)) return false;
    if (!cursor_step(r, c)) return false;
    if (!c->sound) r->damaged = true;
    if (c->next == r->lines && !c->over) r->unended = !cit_take_end(&c->stream, r->coding);
    return true;
}

// ---- going back

bool restore(cit_reader* r, cursor* c, uint32_t block) {
    const checkpoint* note = &r->checkpoints[block];
    uint32_t first = block * r->block_lines;
    if (!cursor_begin(r, c, note->place, first)) return false;
    cit_changes* before = line_of(c, first + 1);
    if (note->count == 0) return true;
    if (!cit_changes_need(before, note->count)) return false;
    std::memcpy(before->at, note->at, note->count * sizeof(int32_t));
    cit_end_changes(before, note->count, r->width);
    return true;
}

bool need_cache(cit_reader* r, uint32_t count) {
    block_cache* cache = &r->cache;
    cache->sink.may_grow = true;
    cache->sink.width = r->width;
    cache->sink.fill = 0;
    cache->count = 0;
    if (count <= cache->sink.height) return true;
    auto* offsets = static_cast<uint32_t*>(mem_realloc(cache->sink.offsets, count * sizeof(uint32_t)));
    if (offsets == nullptr) return false;
    cache->sink.offsets = offsets;
    auto* sound = static_cast<uint8_t*>(mem_realloc(cache->sound, count));
    if (sound == nullptr) return false;
    cache->sound = sound;
    cache->sink.height = count;
    return true;
}

// The line that the cursor has decoded last.
bool keep_line(cit_reader* r, cursor* c) {
    block_cache* cache = &r->cache;
    const cit_changes* line = line_of(c, c->next - 1);
    if (!cit_need_runs(&cache->runs, &cache->room, cit_runs_of_changes(line, r->width))) return false;
    size_t count = cit_changes_to_runs(line, r->width, cache->runs);
    if (!cit_succeeded(cit_sink_line(&cache->sink, cache->runs, count, cache->count + 1))) return false;
    cache->sound[cache->count++] = c->sound ? 1 : 0;
    return true;
}

// Decodes the block as far as the cursor has come.
bool load_block(cit_reader* r, uint32_t block) {
    r->cache.block = NO_BLOCK;
    uint32_t first = block * r->block_lines;
    uint32_t count = std::min(r->block_lines, r->forward.next - first);
    if (!need_cache(r, count) || !restore(r, &r->backward, block)) return false;
    while (r->cache.count < count)
        if (!cursor_step(r, &r->backward) || !keep_line(r, &r->backward)) return false;
    r->cache.block = block;
    return true;
}

// ---- where a line is

struct found_line {
    const cit_changes* changes; // or else
    const uint16_t* runs;
    size_t count; // of runs
    bool sound;
};

void find_kept(const cit_reader* r, uint32_t index, found_line* found) {
    const cit_sink* sink = &r->cache.sink;
    size_t begin = sink->offsets[index];
    size_t end = index + 1 < r->cache.count ? sink->offsets[index + 1] : sink->fill;
    *found = {nullptr, sink->runs + begin, end - begin, r->cache.sound[index] != 0};
}

uint32_t find_line(cit_reader* r, uint32_t number, found_line* found) {
    cursor* c = &r->forward;
    while (c->next <= number && !c->over && c->next < r->lines)
        if (!step_forward(r)) return CIT_NO_MEMORY;
    if (number >= c->next) {
        // Behind the end. The line in front of it can be asked for again.
        if (!cit_changes_white(&r->backward.lines[0], r->width)) return CIT_NO_MEMORY;
        r->damaged = true;
        *found = {&r->backward.lines[0], nullptr, 0, false};
        return CIT_OK;
    }
    if (number + 1 == c->next) {
        *found = {line_of(c, number), nullptr, 0, c->sound};
        return CIT_OK;
    }
    uint32_t block = number / r->block_lines;
    bool kept = r->cache.block == block && number % r->block_lines < r->cache.count;
    if (!kept && !load_block(r, block)) return CIT_NO_MEMORY;
    find_kept(r, number % r->block_lines, found);
    return CIT_OK;
}

} // namespace

cit_reader* cit_reader_new(cit_coding coding, uint32_t width, uint32_t lines, const uint8_t* data, size_t bytes,
                           uint32_t block_lines) {
    if (width == 0 || width > CIT_MAX_WIDTH) return nullptr;
    auto* r = mem_new<cit_reader>();
    if (r == nullptr) return nullptr;
    r->coding = coding;
    r->width = width;
    r->lines = lines;
    r->data = data;
    r->bytes = bytes;
    r->block_lines = block_lines == 0 ? DEFAULT_BLOCK : std::max(block_lines, LEAST_BLOCK);
    r->cache.block = NO_BLOCK;
    if (cursor_begin(r, &r->forward, 0, 0)) return r;
    cit_reader_free(r);
    return nullptr;
}

void cit_reader_free(cit_reader* reader) {
    if (reader == nullptr) return;
    for (uint32_t i = 0; i < reader->checkpoint_count; ++i)
        mem_free(reader->checkpoints[i].at);
    mem_free(reader->checkpoints);
    mem_free(reader->cache.sink.runs);
    mem_free(reader->cache.sink.offsets);
    mem_free(reader->cache.sound);
    mem_free(reader->cache.runs);
    cursor_free(&reader->forward);
    cursor_free(&reader->backward);
    mem_free(reader);
}

uint32_t cit_reader_bits(cit_reader* reader, uint32_t line, uint8_t* words) {
    found_line found;
    uint32_t result = find_line(reader, line, &found);
    if (!cit_succeeded(result)) return result;
    if (found.changes != nullptr) {
        cit_changes_to_bits(found.changes, reader->width, words);
    } else {
        cit_runs_to_bits(reader->width, found.runs, words);
    }
    return found.sound ? CIT_OK : CIT_BAD_DATA;
}

uint32_t cit_reader_runs(cit_reader* reader, uint32_t line, uint16_t* runs, size_t room, size_t* count) {
    found_line found;
    uint32_t result = find_line(reader, line, &found);
    *count = 0;
    if (!cit_succeeded(result)) return result;
    *count = found.changes != nullptr ? cit_runs_of_changes(found.changes, reader->width) : found.count;
    if (*count > room) return CIT_BUFFER_FULL;
    if (found.changes != nullptr) {
        (void)cit_changes_to_runs(found.changes, reader->width, runs);
    } else if (found.runs != nullptr) {
        std::memcpy(runs, found.runs, found.count * sizeof(uint16_t));
    }
    return found.sound ? CIT_OK : CIT_BAD_DATA;
}

bool cit_reader_damaged(const cit_reader* reader) {
    return reader->damaged;
}

bool cit_reader_unended(const cit_reader* reader) {
    return reader->unended;
}
