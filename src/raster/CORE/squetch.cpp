// Squetch: resampling while reading. A read delivers out_xsize by out_ysize pixels from the image.
//
// A source line is read into `line_buffers`, resampled in x into the second part of the same buffer, and from there
// goes into the caller's line directly or by way of the accumulators, which keep between calls what the next output
// line needs of lines already read. All of this depends on the number of channels that are resampled: when a call needs
// other channels than the last one, the source line is sought and read again.
#include <algorithm>
#include <cstring>

#include "raster/CORE/lines.h"
#include "raster/CORE/squetch.h"
#include "support/checked.h"

namespace {

constexpr char SOURCE[] = "CORE/squetch";
constexpr int LINES_LOST = -1;    // `loaded` after a failure: neither the accumulators nor the source line are known
constexpr int CHANNELS_LIMIT = 4; // of one call that is resampled channel by channel

bool has_filter(const squetch_record* s) {
    return (s->flags & SQUETCH_FILTER) != 0;
}
bool must_reload(const squetch_record* s) {
    return (s->flags & SQUETCH_RELOAD) != 0;
}

// Byte samples and bilevel lines can be resampled; deeper ones have no rule. The planes of a colour are bytes, whatever
// the file has.
bool can_resample(const CFILE* c) {
    if (format_is_bilevel(c->format)) return true;
    return planes_are_bytes(c);
}

// Planes that the image itself has.
int image_planes(const CFILE* c) {
    if (format_is_color(c->format)) return 3;
    return format_is_four(c->format) ? 4 : 1;
}

// Channels that a call resamples. An image of one sample gives real colours in three when it is asked for three and
// each is to be resampled by itself; otherwise it is resampled once.
int channels_to_resample(const CFILE* c, int channels) {
    int planes = image_planes(c);
    if (planes > 1) return planes;
    bool each = (c->squetch->flags & SQUETCH_EACH_CHANNEL) != 0 && !format_is_bilevel(c->format);
    return each && channels == 3 ? 3 : 1;
}

// ---- the record

// Releases a record that is not, or no longer, the handle's.
void free_record(CFILE* c, squetch_record* s) {
    squetch_record* kept = c->squetch;
    bool in_force = has_flag(c, FLAG_SQUETCH);
    c->squetch = s;
    free_squetch_record(c);
    c->squetch = kept;
    set_flag(c, FLAG_SQUETCH, in_force);
}

// Buffers of one channel for the handle's line size.
bool make_channel(CFILE* c, squetch_record* s, int channel) {
    auto out = static_cast<size_t>(s->out_xsize);
    size_t bytes = 0;
    size_t sums = 0;
    bool fits = checked_add(s->source_bytes, out + 16, &bytes) && checked_mul(out, sizeof(int64_t) * 2, &sums);
    uint8_t*& line = s->line_buffers[channel];
    int64_t*& rows = s->accumulators[channel];
    if (fits && line == nullptr) line = static_cast<uint8_t*>(mem_alloc_zeroed(bytes));
    if (fits && rows == nullptr) rows = static_cast<int64_t*>(mem_alloc_zeroed(sums));
    if (line != nullptr && rows != nullptr) return true;
    return fails(c, RZL_NO_MEMORY, SOURCE, "squetch");
}

// Makes the buffers fit the image that is active now.
bool make_buffers(CFILE* c, squetch_record* s, int channels) {
    size_t source = line_bytes(c, c->xsize);
    if (s->source_bytes != source) {
        for (int i = 0; i < s->channels; ++i) {
            mem_free(s->line_buffers[i]);
            s->line_buffers[i] = nullptr;
        }
        s->source_bytes = source;
        s->loaded = 0;
    }
    for (int i = 0; i < channels; ++i)
        if (!make_channel(c, s, i)) return false;
    return true;
}

squetch_record* new_record(CFILE* c, int32_t out_xsize, int32_t out_ysize, uint32_t flags) {
    auto* s = mem_new<squetch_record>();
    if (s == nullptr) return nullptr;
    s->out_xsize = out_xsize;
    s->out_ysize = out_ysize;
    s->flags = flags | SQUETCH_RELOAD;
    s->channels = CHANNELS_LIMIT;
    s->line_buffers = static_cast<uint8_t**>(mem_alloc_zeroed(CHANNELS_LIMIT * sizeof(uint8_t*)));
    s->accumulators = static_cast<int64_t**>(mem_alloc_zeroed(CHANNELS_LIMIT * sizeof(int64_t*)));
    bool whole = s->line_buffers != nullptr && s->accumulators != nullptr && make_buffers(c, s, image_planes(c));
    if (whole) return s;
    free_record(c, s);
    return nullptr;
}

// ---- a source line

// The caller's line, as the output goes into it.
struct output {
    int channels;                    // that are resampled
    uint8_t* planes[CHANNELS_LIMIT]; // null for one that is not wanted
    size_t step;                     // bytes from pixel to pixel
};

uint8_t* resampled(const squetch_record* s, int channel) {
    return s->line_buffers[channel] + s->source_bytes;
}

// Whether the source line that comes next can be there. Lines that are put, or data that are copied, to a file that can
// be read back move it away from the output line.
bool has_source_line(CFILE* c) {
    if (c->line < 0 || c->line >= c->ysize) return fails(c, RZL_PAST_END, SOURCE, "squetch");
    return rzl_has_line(c, c->line, SOURCE, "squetch");
}

// Reads the next source line and resamples it in x. False when it could not be read whole.
bool squetch_line(CFILE* c, int channels) {
    squetch_record* s = c->squetch;
    flag_guard planes(c, FLAG_INTERLEAVED, false);
    read_line_slot read = has_flag(c, FLAG_TILED) ? c->slots.Getlinefromtile : c->slots.Get_line;
    if (!has_source_line(c)) return false;
    int pixels = read(c, channels, s->line_buffers);
    if (c->status == 0 && pixels < c->xsize) fail(c, RZL_READ_FAILED, SOURCE, "squetch");
    if (c->status != 0) return false;
    for (int i = 0; i < channels; ++i) {
        if (format_is_bilevel(c->format)) {
            rzl_squetch_bits(s->line_buffers[i], c->xsize, resampled(s, i), s->out_xsize, has_filter(s));
        } else {
            squetch_bytes(s->line_buffers[i], c->xsize, resampled(s, i), s->out_xsize, has_filter(s));
        }
    }
    return true;
}

// Passes over `lines` source lines.
bool skip_lines(CFILE* c, int64_t lines) {
    read_line_slot read = has_flag(c, FLAG_TILED) ? c->slots.Getlinefromtile : c->slots.Get_line;
    for (int64_t i = 0; i < lines; ++i)
        if (!has_source_line(c) || read(c, 0, nullptr) <= 0 || c->status != 0) return false;
    return true;
}

// Source lines of the group of the output line, at least one and none past the image.
int64_t lines_in_group(const CFILE* c) {
    double r = static_cast<double>(c->ysize) / c->squetch->out_ysize;
    auto end = static_cast<int64_t>((c->squetch->out_line + 1) * r);
    return std::max(std::min(end, int64_t{c->ysize}) - c->line, int64_t{1});
}

// Source line at or before the output line, when the height is enlarged.
int64_t source_of(const CFILE* c, int32_t out_line) {
    double r = static_cast<double>(c->squetch->out_ysize) / c->ysize;
    return static_cast<int64_t>(out_line / r);
}

bool crosses_source_line(const CFILE* c) {
    int32_t out_line = c->squetch->out_line;
    return must_reload(c->squetch) || source_of(c, out_line - 1) != source_of(c, out_line);
}

void deliver_resampled(const CFILE* c, const output& out) {
    auto pixels = static_cast<size_t>(c->squetch->out_xsize);
    for (int i = 0; i < out.channels; ++i) {
        const uint8_t* line = resampled(c->squetch, i);
        if (out.planes[i] == nullptr) continue;
        if (out.step == 1) {
            std::memcpy(out.planes[i], line, pixels);
            continue;
        }
        for (size_t x = 0; x < pixels; ++x)
            out.planes[i][x * out.step] = line[x];
    }
}

// ---- more than one bit a sample

bool enlarge_plain(CFILE* c, const output& out) {
    if (crosses_source_line(c) && c->line < c->ysize && !squetch_line(c, out.channels)) return false;
    deliver_resampled(c, out);
    return true;
}

// The second accumulator row takes the line last resampled; the first takes what the second held.
bool advance_rows(CFILE* c, int channels) {
    squetch_record* s = c->squetch;
    auto pixels = static_cast<size_t>(s->out_xsize);
    for (int i = 0; i < channels; ++i)
        std::memcpy(s->accumulators[i], s->accumulators[i] + pixels, pixels * sizeof(int64_t));
    // Behind the last source line that line is held.
    if (c->line >= c->ysize) return true;
    if (!squetch_line(c, channels)) return false;
    for (int i = 0; i < channels; ++i)
        std::copy_n(resampled(s, i), pixels, s->accumulators[i] + pixels);
    return true;
}

bool enlarge_filtered(CFILE* c, const output& out) {
    squetch_record* s = c->squetch;
    if (must_reload(s) && !advance_rows(c, out.channels)) return false;
    if (crosses_source_line(c) && !advance_rows(c, out.channels)) return false;
    double r = static_cast<double>(s->out_ysize) / c->ysize;
    double fraction = (s->out_line - static_cast<double>(source_of(c, s->out_line)) * r) / r;
    for (int i = 0; i < out.channels; ++i) {
        const int64_t* a = s->accumulators[i];
        const int64_t* b = a + s->out_xsize;
        for (int32_t x = 0; out.planes[i] != nullptr && x < s->out_xsize; ++x) {
            auto part = static_cast<int64_t>(static_cast<double>(b[x] - a[x]) * fraction);
            out.planes[i][static_cast<size_t>(x) * out.step] = static_cast<uint8_t>(a[x] + part);
        }
    }
    return true;
}

bool reduce_plain(CFILE* c, const output& out) {
    int64_t lines = lines_in_group(c);
    if (!squetch_line(c, out.channels)) return false;
    deliver_resampled(c, out);
    return skip_lines(c, lines - 1);
}

// Adds the line last resampled to the sums, or, at the start of a box, puts it there.
void weigh(const squetch_record* s, int channels, int64_t weight, bool anew) {
    for (int i = 0; i < channels; ++i) {
        const uint8_t* line = resampled(s, i);
        int64_t* sums = s->accumulators[i];
        for (int32_t x = 0; x < s->out_xsize; ++x)
            sums[x] = (anew ? 0 : sums[x]) + line[x] * weight;
    }
}

void deliver_sums(const squetch_record* s, const output& out, int64_t weight) {
    for (int i = 0; i < out.channels; ++i)
        for (int32_t x = 0; out.planes[i] != nullptr && x < s->out_xsize; ++x)
            out.planes[i][static_cast<size_t>(x) * out.step] = static_cast<uint8_t>(s->accumulators[i][x] / weight);
}

bool reduce_filtered(CFILE* c, const output& out) {
    squetch_record* s = c->squetch;
    if (must_reload(s)) {
        s->carry = 0;
        for (int i = 0; i < out.channels; ++i)
            std::memset(s->accumulators[i], 0, static_cast<size_t>(s->out_xsize) * sizeof(int64_t));
    }
    double r = static_cast<double>(c->ysize) / s->out_ysize;
    auto weight = static_cast<int64_t>(static_cast<double>(SQUETCH_UNIT) * r);
    int64_t need = weight - s->carry;
    while (true) {
        // Weights are cut to whole units, so a box ends within the image; the last line is held all the same.
        if (c->line < c->ysize && !squetch_line(c, out.channels)) return false;
        if (need <= SQUETCH_UNIT || c->line >= c->ysize) break;
        weigh(s, out.channels, SQUETCH_UNIT, false);
        need -= SQUETCH_UNIT;
    }
    weigh(s, out.channels, need, false);
    deliver_sums(s, out, weight);
    int64_t rest = std::max(SQUETCH_UNIT - need, int64_t{0});
    weigh(s, out.channels, rest, true);
    s->carry = static_cast<int32_t>(rest);
    return true;
}

// ---- one bit a sample

// An output bit is set when at least half of the group's lines have it; without filter, when the first line has it.
bool reduce_bits(CFILE* c, const output& out) {
    squetch_record* s = c->squetch;
    int64_t* counts = s->accumulators[0];
    int64_t lines = lines_in_group(c);
    int64_t read = has_filter(s) ? lines : 1;
    std::memset(counts, 0, static_cast<size_t>(s->out_xsize) * sizeof(int64_t));
    for (int64_t i = 0; i < read; ++i) {
        if (!squetch_line(c, 1)) return false;
        for (int32_t x = 0; x < s->out_xsize; ++x)
            counts[x] += bilevel_bit(resampled(s, 0), x) ? 2 : 0;
    }
    std::memset(out.planes[0], 0, line_bytes(c, s->out_xsize));
    int64_t enough = has_filter(s) ? lines : 1;
    for (int32_t x = 0; x < s->out_xsize; ++x)
        if (counts[x] >= enough) set_bilevel_bit(out.planes[0], x);
    return skip_lines(c, lines - read);
}

bool enlarge_bits(CFILE* c, const output& out) {
    if (crosses_source_line(c) && c->line < c->ysize && !squetch_line(c, 1)) return false;
    std::memcpy(out.planes[0], resampled(c->squetch, 0), line_bytes(c, c->squetch->out_xsize));
    return true;
}

// ---- one output line

bool resample_line(CFILE* c, const output& out) {
    squetch_record* s = c->squetch;
    bool reduces = s->out_ysize < c->ysize;
    if (format_is_bilevel(c->format)) return reduces ? reduce_bits(c, out) : enlarge_bits(c, out);
    if (reduces) return has_filter(s) ? reduce_filtered(c, out) : reduce_plain(c, out);
    bool interpolates = has_filter(s) && s->out_ysize > c->ysize;
    return interpolates ? enlarge_filtered(c, out) : enlarge_plain(c, out);
}

// Where the channels go. False when there is nowhere.
bool make_output(const CFILE* c, int channels, read_planes buffers, output* out) {
    if (channels <= 0 || buffers == nullptr) return false;
    out->channels = channels_to_resample(c, channels);
    bool together = has_flag(c, FLAG_INTERLEAVED);
    out->step = together && out->channels > 1 ? static_cast<size_t>(interleave_step(c)) : 1;
    bool wanted = false;
    for (int i = 0; i < out->channels; ++i) {
        uint8_t* plane = nullptr;
        if (together) {
            plane = buffers[0] != nullptr ? buffers[0] + i : nullptr;
        } else if (i < channels) {
            plane = buffers[i];
        }
        out->planes[i] = plane;
        wanted = wanted || plane != nullptr;
    }
    return wanted;
}

// An image of one sample resampled once gives its result to all channels of the call.
void spread(CFILE* c, int channels, read_planes buffers) {
    bool bilevel = format_is_bilevel(c->format);
    if (bilevel && channels == 3 && has_trait(c, MODULE_COLORS)) {
        rzl_bits_to_values(buffers[0], c->squetch->out_xsize);
        rzl_spread_bits(c, buffers, buffers[0], c->squetch->out_xsize);
        return;
    }
    bool all = buffers[0] != nullptr && channels == 3 && buffers[1] != nullptr && buffers[2] != nullptr;
    if (all && bits_have_colors(c)) {
        rzl_apply_color_table_to_bits(c, buffers[0], buffers[1], buffers[2], c->squetch->out_xsize);
        return;
    }
    if (channels == 3 && !bilevel) {
        rzl_apply_color_table(c, buffers[0], buffers[1], buffers[2], c->squetch->out_xsize);
        return;
    }
    for (int i = 1; i < channels; ++i)
        if (buffers[i] != nullptr) std::memcpy(buffers[i], buffers[0], line_bytes(c, c->squetch->out_xsize));
}

// Goes back to the source line of the output line that comes next, so that it can be read for other channels.
bool load_again(CFILE* c, int channels) {
    squetch_record* s = c->squetch;
    bool elsewhere = s->loaded == LINES_LOST || (!must_reload(s) && s->loaded != channels);
    if (elsewhere) {
        if (c->slots.Seek(c, s->out_line) != 0) return false;
        s->flags |= SQUETCH_RELOAD;
    }
    s->loaded = channels;
    return true;
}

} // namespace

int rzl_squetch(CFILE* c, int channels, read_planes buffers) {
    output out = {};
    if (c->squetch == nullptr || !make_output(c, channels, buffers, &out))
        return fails(c, RZL_NO_OUTPUT_BUFFER, SOURCE, "squetch");
    if (!can_resample(c) || c->xsize <= 0 || c->ysize <= 0) return fails(c, RZL_UNSUPPORTED, SOURCE, "squetch");
    squetch_record* s = c->squetch;
    if (!make_buffers(c, s, out.channels) || !load_again(c, out.channels)) return 0;
    if (!resample_line(c, out)) {
        s->loaded = LINES_LOST;
        return 0;
    }
    ++s->out_line;
    s->flags &= ~SQUETCH_RELOAD;
    if (out.channels == 1 && !has_flag(c, FLAG_INTERLEAVED) && channels > 1) spread(c, channels, buffers);
    return s->out_xsize;
}

int rzl_set_squetch(CFILE* c, int32_t out_xsize, int32_t out_ysize, uint32_t flags) {
    if (!handle_enter(c, "rzl_set_squetch")) return 1;
    uint32_t refusal = 0;
    if (!is_readable(c)) {
        refusal = RZL_NEEDS_READ;
    } else if (out_xsize <= 0 || out_ysize <= 0 || (flags & ~(SQUETCH_FILTER | SQUETCH_EACH_CHANNEL)) != 0) {
        refusal = RZL_BAD_FIELD_VALUE;
    } else if (!can_resample(c) || c->xsize <= 0 || c->ysize <= 0) {
        refusal = RZL_UNSUPPORTED;
    }
    squetch_record* fresh = refusal == 0 ? new_record(c, out_xsize, out_ysize, flags) : nullptr;
    if (fresh == nullptr) {
        // A resampling that is in force stays so.
        fail(c, refusal != 0 ? refusal : RZL_NO_MEMORY, SOURCE, "rzl_set_squetch");
        return handle_leave(c, 1);
    }
    free_squetch_record(c);
    c->squetch = fresh;
    set_flag(c, FLAG_SQUETCH, true);
    return handle_leave(c, rzl_rewind(c));
}

int rzl_clear_squetch(CFILE* c) {
    if (!handle_enter(c, "rzl_clear_squetch")) return 1;
    if (c->squetch == nullptr) return handle_leave(c, 0);
    free_squetch_record(c);
    return handle_leave(c, rzl_rewind(c));
}
