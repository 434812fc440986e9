// Form files: any bytes load or are refused; what was loaded is shown, pressed, resized, reset and deleted again, and
// nothing of it stays.
#include "forms/forms.h"
#include "forms/ops.h"
#include "forms/press.h"
#include "platform/window/desk.h"
#include "scratch.h"
#include "support/memory.h"
#include "tools/events.h"
#include "tools/process.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

void demand(bool holds) {
    if (!holds) abort();
}

bool start() {
    scratch_silence();
    const host_screen screen = {640, 480, 8, 1};
    demand(host_start_with(&host_headless, &screen, "fuzz"));
    headless_run_freely(true);
    demand(Enter_tools() == 0 && FI_enter() == FI_SUCCESS);
    return true;
}

void ignore(int /*form_label*/, int /*label*/, double /*value*/, FI_form* /*form*/) {}

// All over the form; a press that waits for the mouse ends at once, since nothing holds the button.
void press_all_over(FI_form* form) {
    for (int y = 5; y < 480 && y < fi_form_height(form); y += 119)
        for (int x = 5; x < 640 && x < fi_form_width(form); x += 157)
            fi_form_button(form, x, y, 1, TRANS_CLICK, 0);
}

// Of every gadget that has a label.
void set_limits(FI_gadget* g) {
    if (g->type == FI_GROUP) fi_each_member(fi_as_group(g), set_limits);
    FIg_set_low_value(g->form, g->label, -7);
    FIg_set_high_value(g->form, g->label, 1e9);
    FIg_set_value(g->form, g->label, 5e8);
}

void work(FI_form* form) {
    if (FIf_display(form) != FI_SUCCESS) return;
    press_all_over(form);
    for (const double value : {3.0, -1e300, 1e300, -1004.0, 0.7})
        FIg_set_value(form, 0, value);
    set_limits(fi_common(form->root_group));
    FIg_disable(form, 0);
    FIg_enable(form, 0);
    if (fi_form_width(form) < 2000 && fi_form_height(form) < 2000)
        FIf_set_size(form, fi_form_width(form) * 2, fi_form_height(form) / 2 + 1);
    press_all_over(form);
    FIg_reset(form, 0);
    FIg_erase(form, 0);
    FIg_display(form, 0);
    FIf_erase(form);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    static const bool started = start();
    demand(started);
    const std::string path = scratch_file(data, size, ".frm");
    const long live = mem_live();
    FI_form* form = nullptr;
    const int status = FIf_new(1, path.c_str(), ignore, &form);
    demand((form != nullptr) == (status == FI_SUCCESS));
    if (form != nullptr) {
        work(form);
        demand(FIf_delete(form) == FI_SUCCESS);
    }
    FI_get_form_by_window(1, &form);
    demand(form == nullptr);
    Disable_events(~0U);
    demand(status == FI_SUCCESS || mem_live() <= live + 2); // the tables of labels and forms may have grown
    remove(path.c_str());
    return 0;
}
