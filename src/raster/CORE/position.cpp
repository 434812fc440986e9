// Where the next line is: seeking, going back to the first line, and access in any order.
#include "raster/CORE/cfile.h"

namespace {

constexpr char SOURCE[] = "CORE/position";

} // namespace

void rzl_restart_squetch(CFILE* c, int32_t out_line) {
    if (!has_flag(c, FLAG_SQUETCH) || c->squetch == nullptr) return;
    c->squetch->flags |= SQUETCH_RELOAD;
    c->squetch->out_line = out_line;
    c->squetch->carry = 0;
}

// Under squetch `line` is an output line, which the format's Seek turns into the source line.
int rzl_seek(CFILE* c, int32_t line) {
    if (!handle_enter(c, "rzl_seek")) return 1;
    bool resampled = has_flag(c, FLAG_SQUETCH) && c->squetch != nullptr;
    if (line < 0 || (resampled && line >= c->squetch->out_ysize)) {
        fail(c, RZL_PAST_END, SOURCE, "rzl_seek");
        return handle_leave(c, 1);
    }
    int result = c->slots.Seek(c, line);
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
    return handle_leave(c, c->slots.Randomize(c));
}

int rzl_seek_default(CFILE* c, int32_t line) {
    if (!handle_is_valid(c, "Seek")) return 1;
    if (!has_flag(c, FLAG_TILED)) {
        fail(c, RZL_UNSUPPORTED, "CORE/dummy", "Seek");
        return 1;
    }
    c->line = line;
    c->status = 0;
    return 0;
}
