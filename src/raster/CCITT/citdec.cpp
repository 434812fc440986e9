// Decoding of whole images into a sink, and of one group 4 line from its place.
#include "raster/CCITT/citcode.h"
#include "support/memory.h"

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
