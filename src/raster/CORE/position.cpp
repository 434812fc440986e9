// Where the next line is: seeking, going back to the first line, access in any order, and the record of where lines
// begin.
#include <algorithm>

#include "raster/CORE/module.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "CORE/position";

const char* source_of(const CFILE* c) {
    return c->module != nullptr ? c->module->word : SOURCE;
}

const char* word_of(const CFILE* c) {
    return c->module != nullptr && c->module->squetch_word != nullptr ? c->module->squetch_word : "squetch";
}

// Reads on to `line`, each line telling where the next one begins.
int read_on_to(CFILE* c, int32_t line) {
    while (c->line < line) {
        int32_t before = c->line;
        if (c->slots.Get_line(c, 0, nullptr) <= 0 || c->status != 0 || c->line <= before) {
            if (c->status == 0) fail(c, RZL_READ_FAILED, source_of(c), "seek");
            return 1;
        }
        rzl_note_line(c);
    }
    return 0;
}

int seek_recorded(CFILE* c, int32_t line) {
    if (line < 0 || line >= c->ysize) return refuse(c, RZL_PAST_END, source_of(c), "seek");
    int32_t known = rzl_known_line(c, line);
    bool between = c->line <= line && c->line >= known; // the file stands nearer already
    if (between) return read_on_to(c, line);
    if (known < 0) return refuse(c, RZL_READ_FAILED, source_of(c), "seek");
    if (!io_seek(c, static_cast<int64_t>(c->line_offsets[known])))
        return refuse(c, RZL_READ_FAILED, source_of(c), "seek");
    c->line = known;
    set_flag(c, FLAG_LINE_CARRIES, false);
    return read_on_to(c, line);
}

} // namespace

// ---- public ---------------------------------------------------------------------------------------------------------

// Under squetch `line` is an output line, which the format's Seek turns into the source line.
int rzl_seek(CFILE* c, int32_t line) {
    if (!handle_enter(c, "rzl_seek")) return 1;
    bool resampled = has_flag(c, FLAG_SQUETCH) && c->squetch != nullptr;
    if (line < 0) return handle_leave(c, refuse(c, RZL_PAST_END, SOURCE, "rzl_seek"));
    if (resampled && line >= c->squetch->out_ysize)
        return handle_leave(c, refuse(c, RZL_PAST_END, source_of(c), word_of(c)));
    int result = slot_result(c, c->slots.Seek(c, line));
    if (result == 0) rzl_restart_squetch(c, line);
    return handle_leave(c, result);
}

// Takes no lock: it is used inside operations that hold it.
int rzl_rewind(CFILE* c) {
    if (!handle_is_valid(c, "rzl_rewind")) return 1;
    c->status = 0;
    c->slots.Rewind(c);
    set_last_status(c->status);
    rzl_restart_squetch(c, 0);
    return c->status == 0 ? 0 : 1;
}

int rzl_randomize(CFILE* c) {
    if (!handle_enter(c, "rzl_randomize")) return 1;
    return handle_leave(c, slot_result(c, c->slots.Randomize(c)));
}

// ---- squetch --------------------------------------------------------------------------------------------------------

void rzl_restart_squetch(CFILE* c, int32_t out_line) {
    if (!has_flag(c, FLAG_SQUETCH) || c->squetch == nullptr) return;
    c->squetch->flags |= SQUETCH_RELOAD;
    c->squetch->out_line = out_line;
    c->squetch->carry = 0;
}

bool rzl_seek_squetched(CFILE* c, int32_t* line, const char* source, const char* word) {
    const squetch_record* s = c->squetch;
    if (!has_flag(c, FLAG_SQUETCH) || s == nullptr) return true;
    if (*line < 0 || *line >= s->out_ysize) return fails(c, RZL_PAST_END, source, word);
    rzl_restart_squetch(c, *line);
    *line = static_cast<int32_t>(static_cast<double>(c->ysize) / s->out_ysize * *line);
    return true;
}

// ---- slots ----------------------------------------------------------------------------------------------------------

int rzl_seek_default(CFILE* c, int32_t line) {
    if (!handle_is_valid(c, "Seek")) return 1;
    if (!has_flag(c, FLAG_TILED)) return refuse(c, RZL_UNSUPPORTED, "CORE/dummy", "Seek");
    c->line = line;
    c->status = 0;
    return 0;
}

int rzl_seek_generic(CFILE* c, int32_t line) {
    if (!rzl_seek_squetched(c, &line, source_of(c), word_of(c))) return 1;
    if (!has_flag(c, FLAG_TILED) && c->line_offsets != nullptr) return seek_recorded(c, line);
    c->line = line;
    return 0;
}

int rzl_seek_tiled(CFILE* c, int32_t number, const char* word) {
    int64_t tiles = c->tile != nullptr ? int64_t{c->tile->tiles_across} * c->tile->tiles_down : 0;
    bool resampled = has_flag(c, FLAG_SQUETCH) && c->squetch != nullptr; // by lines of the output
    if (!resampled && number >= std::max(tiles, int64_t{c->ysize})) return refuse(c, RZL_PAST_END, source_of(c), word);
    return rzl_seek_generic(c, number);
}

void rzl_rewind_generic(CFILE* c) {
    c->line = 0;
    set_flag(c, FLAG_LINE_CARRIES, false);
    rzl_restart_squetch(c, 0);
    if (has_flag(c, FLAG_TILED) || c->line_offsets == nullptr || c->line_offset_count == 0) return;
    bool stands = c->line_offsets[0] != LINE_OFFSET_UNKNOWN && io_seek(c, static_cast<int64_t>(c->line_offsets[0]));
    // A file being created through a pipe stands where it is: it can only go forward.
    if (!stands && is_readable(c)) fail(c, RZL_READ_FAILED, source_of(c), "rewind");
}

// ---- the record of lines --------------------------------------------------------------------------------------------

int rzl_record_lines(CFILE* c, int64_t first, int64_t least) {
    rzl_forget_lines(c);
    if (c->ysize <= 0) return 0;
    int64_t entries = c->ysize;
    bool existing = c->mode == MODE_READ || c->mode == MODE_UPDATE;
    // A height can be anything; lines that the file does not have need no entry.
    if (existing)
        entries = std::min(entries, std::max<int64_t>(io_size(c) - first, 0) / std::max<int64_t>(least, 1) + 1);
    c->line_offsets = mem_new_array<uint64_t>(static_cast<size_t>(entries));
    if (c->line_offsets == nullptr) return refuse(c, RZL_NO_MEMORY, source_of(c), "line offsets");
    c->line_offset_count = static_cast<int32_t>(entries);
    std::fill_n(c->line_offsets, entries, LINE_OFFSET_UNKNOWN);
    c->line_offsets[0] = static_cast<uint64_t>(first);
    return 0;
}

void rzl_forget_lines(CFILE* c) {
    mem_free(c->line_offsets);
    c->line_offsets = nullptr;
    c->line_offset_count = 0;
}

void rzl_note_line(CFILE* c) {
    bool has_entry = c->line_offsets != nullptr && c->line < c->ysize && c->line >= 0 && c->line < c->line_offset_count;
    if (has_entry && !has_flag(c, FLAG_LINE_CARRIES)) c->line_offsets[c->line] = static_cast<uint64_t>(io_tell(c));
}

int32_t rzl_known_line(const CFILE* c, int32_t line) {
    int32_t at = std::min(line, c->line_offset_count - 1);
    while (at >= 0 && c->line_offsets[at] == LINE_OFFSET_UNKNOWN)
        --at;
    return at;
}
