// The end of a handle.
#include "raster/CORE/fileword.h"
#include "raster/CORE/module.h"
#include "support/memory.h"

namespace {

constexpr char SOURCE[] = "CORE/close";

// The board that codes native JPEG data can't be reached on this platform: a handle that claims to hold it open can
// only be told so.
void close_board(CFILE* c) {
    if (c->jpeg == nullptr || (c->jpeg_flags & JPEG_BOARD_OPEN) == 0) return;
    c->jpeg_flags &= ~JPEG_BOARD_OPEN;
    fail(c, RZL_JPEG_HARDWARE_2, SOURCE, nullptr);
}

} // namespace

// Everything is released whatever fails on the way. The first failure is the outcome: later ones follow from it.
uint32_t rzl_finish(CFILE* c) {
    if (!handle_enter(c, "rzl_close")) return RZL_BAD_CFILE;
    c->slots.Close(c);
    uint32_t first = c->status;
    if (c->module != nullptr) c->slots.Free_specs(c);
    mem_free(c->spec);
    c->spec = nullptr;
    bool written = is_writable(c);
    bool closed = close_cfile_file(c) == 0;
    if (first == 0 && c->status == 0 && !closed && written) fail(c, RZL_WRITE_FAILED, SOURCE, nullptr);
    close_board(c);
    free_cfile_parts(c);
    uint32_t outcome = first != 0 ? first : c->status;
    c->status = outcome;
    (void)handle_leave(c, 0);
    free_cfile(c);
    return outcome;
}

void rzl_close(CFILE* c) {
    (void)rzl_finish(c);
}
