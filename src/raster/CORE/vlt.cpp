// The colour table: taken from the application for a file being written, and delivered from a file.
#include "raster/CORE/cfile.h"

namespace {
constexpr char SOURCE[] = "CORE/vlt";
}

int rzl_put_vlt(CFILE* c, const rzl_vlt_entry* entries) {
    if (!handle_enter(c, "rzl_put_vlt")) return 1;
    if (!is_writable(c)) return handle_leave(c, refuse(c, RZL_NEEDS_WRITE, SOURCE, "rzl_put_vlt"));
    c->vlt = entries;
    return handle_leave(c, 0);
}

int rzl_get_vlt(CFILE* c, rzl_vlt_entry* entries) {
    if (!handle_enter(c, "rzl_get_vlt")) return 1;
    if (entries == nullptr) return handle_leave(c, refuse(c, RZL_NO_OUTPUT_BUFFER, SOURCE, "rzl_get_vlt"));
    int result = c->slots.Get_vlt(c, entries);
    return handle_leave(c, slot_result(c, result));
}
