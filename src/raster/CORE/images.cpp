// Overviews, sub-images, application packets, and what is copied from one file to another: calls that take the lock and
// hand over to the module.
#include "raster/CORE/cfile.h"

#include <functional>

namespace {

constexpr char SOURCE[] = "CORE/images";

// Takes the locks of both handles, always in the same order, so that two threads that copy in opposite directions can't
// wait for each other.
bool enter_both(CFILE* from, CFILE* to, const char* word) {
    if (!handle_is_valid(from, word) || !handle_is_valid(to, word)) return false;
    bool from_first = std::less<>()(from, to);
    return handle_enter(from_first ? from : to, word) && handle_enter(from_first ? to : from, word);
}

int leave_both(CFILE* from, CFILE* to, int result) {
    bool failed = result != 0 || from->status != 0 || to->status != 0;
    (void)handle_leave(to, 0);
    (void)handle_leave(from, 0);
    // The library-wide status is that of the handle that failed.
    return failed ? 1 : 0;
}

int call_pair(CFILE* from, CFILE* to, int (*format_slots::*slot)(CFILE*, CFILE*), const char* word) {
    if (!enter_both(from, to, word)) return 1;
    int result = (from->slots.*slot)(from, to);
    uint32_t status = from->status != 0 ? from->status : to->status;
    int outcome = leave_both(from, to, result);
    set_last_status(status);
    return outcome;
}

} // namespace

int rzl_set_active_overview(CFILE* c, int32_t overview) {
    if (!handle_enter(c, "rzl_set_active_overview")) return 1;
    if (overview == c->active_overview) return handle_leave(c, 0);
    int result = c->slots.setactiveov(c, overview);
    if (result == 0) rzl_restart_squetch(c, 0);
    return handle_leave(c, slot_result(c, result));
}

int rzl_set_active_image(CFILE* c, int32_t image) {
    if (!handle_enter(c, "rzl_set_active_image")) return 1;
    int32_t before = c->active_image;
    int result = c->slots.Set_Active_Image(c, image);
    if (c->active_image != before) rzl_restart_squetch(c, 0);
    return handle_leave(c, slot_result(c, result));
}

int rzl_get_packet(CFILE* c, void* buffer) {
    if (!handle_enter(c, "rzl_get_packet")) return 1;
    if (buffer == nullptr) return handle_leave(c, refuse(c, RZL_NO_OUTPUT_BUFFER, SOURCE, "rzl_get_packet"));
    return handle_leave(c, slot_result(c, c->slots.Get_packet(c, buffer)));
}

int rzl_put_packet(CFILE* c, const void* buffer) {
    if (!handle_enter(c, "rzl_put_packet")) return 1;
    if (!is_writable(c)) return handle_leave(c, refuse(c, RZL_NEEDS_WRITE, SOURCE, "rzl_put_packet"));
    return handle_leave(c, slot_result(c, c->slots.Put_Packet(c, buffer)));
}

int rzl_init_header_from(CFILE* from, CFILE* to) {
    return call_pair(from, to, &format_slots::init_std_hdr, "rzl_init_header_from");
}

int rzl_init_overviews_from(CFILE* from, CFILE* to) {
    return call_pair(from, to, &format_slots::init_ov, "rzl_init_overviews_from");
}

int rzl_copy_data(CFILE* from, CFILE* to) {
    return call_pair(from, to, &format_slots::copydata, "rzl_copy_data");
}
