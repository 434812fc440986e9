// The pages of the gallery: opening them, and what their gadgets do.
#include <cstdio>

#include "forms/forms.h"
#include "gallery.h"
#include "platform/files.h"
#include "platform/window/desk.h"
#include "surface/paths.h"
#include "tools/toolfile.h"
#include "tools/windows.h"

const gallery_page gallery_pages[] = {
    {"g_button", "Buttons", 11},
    {"g_toggle", "Toggles", 11},
    {"g_check", "Checklists", 11},
    {"g_text", "Texts", 0},
    {"g_static", "Symbols, lines, rectangles, bevels", 0},
    {"g_group", "Groups, links, keyboard", 11},
    {"g_slider", "Sliders", 11},
    {"g_dial", "Dials", 11},
    {"g_bar", "Bars", 32},
    {"g_scroll", "Scroll bars", 11},
    {"g_field", "Fields", 11},
    {"g_fieldlist", "Fields that scroll, and lists", 11},
    {"g_mcf", "Multi-column fields", 11},
    {"g_busy", "A panel", 11},
};
const int gallery_page_count = sizeof gallery_pages / sizeof gallery_pages[0];

gallery_notice gallery_last = {};

namespace {

constexpr int PAGE_X = 204, PAGE_Y = 30;
constexpr int INDEX_X = 8, INDEX_Y = 30;
constexpr int INDEX_FORM = -1; // labels of forms: pages have their number
constexpr int POPUP_FORM = 100;
constexpr int POPUPS = 8;

FI_form* index_form = nullptr;
FI_form* page_form = nullptr;
int page_number = -1;
FI_form* popups[POPUPS] = {};
int popup_count = 0;
bool keyboard_on_index = false;

// ---- windows with a frame and a title, so that forms can be moved, resized and minimised by hand

int create_framed(int /*screen*/, int level, int x1, int y1, int x2, int y2, int* window) {
    const char* title = page_number >= 0 && index_form != nullptr ? gallery_pages[page_number].title : "Index";
    return Create_win_flags(WINDOW_FRAME | WINDOW_CAPTION, level, title, x1, y1, x2, y2, window);
}

void note(int form, int label, double value) {
    gallery_last = {form, label, gallery_last.count + 1, value};
}

bool load(const char* file, int label, FI_notification routine, FI_form** form) {
    char name[64];
    std::snprintf(name, sizeof name, "%s.frm", file);
    const int status = FIf_new(label, name, routine, form);
    if (status != FI_SUCCESS) gallery_failed("FIf_new of %s: status %d", name, status);
    return status == FI_SUCCESS;
}

bool show_at(FI_form* form, int x, int y) {
    const int scale = gallery_scale();
    int width = 0, height = 0;
    FIf_get_size(form, &width, &height);
    FIf_set_size(form, width * scale, height * scale);
    FIf_set_location(form, x * scale, y * scale);
    const int status = FIf_display(form);
    if (status != FI_SUCCESS) gallery_failed("FIf_display: status %d", status);
    return status == FI_SUCCESS;
}

// ---- pop-ups

void on_popup(int form_label, int label, double value, FI_form* form);

void open_popup() {
    if (popup_count == POPUPS || !load("g_popup", POPUP_FORM + popup_count, on_popup, &popups[popup_count])) return;
    const int offset = 40 * popup_count;
    if (show_at(popups[popup_count], 300 + offset, 260 + offset)) ++popup_count;
}

// The one that is closed, and those above it.
void close_popup(FI_form* form) {
    while (popup_count > 0) {
        FI_form* top = popups[--popup_count];
        FIf_delete(top);
        if (top == form) return;
    }
}

void on_popup(int form_label, int label, double value, FI_form* form) {
    note(form_label, label, value);
    if (label == 11) close_popup(form);
    if (label == 12) open_popup();
}

// ---- the page of groups and links

constexpr int SHOWN_GROUP = 40;

void on_group_page(int label, FI_form* form) {
    switch (label) {
    case 31: FIg_start_seq(form, 11); break;
    case 32: FIg_erase(form, SHOWN_GROUP); break;
    case 33: FIg_display(form, SHOWN_GROUP); break;
    case 34: FIg_disable(form, SHOWN_GROUP); break;
    case 35: FIg_enable(form, SHOWN_GROUP); break;
    case 36: open_popup(); break;
    default: break;
    }
}

void on_page(int form_label, int label, double value, FI_form* form) {
    note(form_label, label, value);
    if (form_label >= 0 && form_label < gallery_page_count && gallery_pages[form_label].file == gallery_pages[5].file)
        on_group_page(label, form);
}

void on_index(int form_label, int label, double value, FI_form* /*form*/) {
    note(form_label, label, value);
    if (label == QUIT_BUTTON)
        gallery_quit = true;
    else
        gallery_show(label - FIRST_PAGE_BUTTON);
}

// The user may close a page's window; the form goes with it.
void on_window(int /*form_label*/, int code, FI_form* form) {
    if (code != FI_DELETED_EVENT) return;
    if (form == page_form) page_form = nullptr;
    if (form == index_form) {
        index_form = nullptr;
        gallery_quit = true; // without it nothing more can be chosen
    }
}

} // namespace

int gallery_scale() {
    return host_screen_size()->height > DESK_USUAL_LINES ? 2 : 1;
}

FI_form* gallery_form() {
    return page_form;
}

FI_form* gallery_index() {
    return index_form;
}

FI_form* gallery_popup() {
    return popup_count > 0 ? popups[popup_count - 1] : nullptr;
}

bool gallery_show(int page) {
    if (page < 0 || page >= gallery_page_count) return false;
    if (page_form != nullptr) FIf_delete(page_form);
    page_form = nullptr;
    page_number = page;
    if (!load(gallery_pages[page].file, page, on_page, &page_form)) return false;
    FIf_set_window_event_routine(page_form, on_window);
    return show_at(page_form, PAGE_X, PAGE_Y);
}

bool gallery_open() {
    char path[FILES_PATH_SIZE + 16];
    std::snprintf(path, sizeof path, "%stinct", root_dir);
    if (FI_enter() != FI_SUCCESS || FI_set_form_path(path) != FI_SUCCESS) return false;
    FI_set_graphic_env(15, reinterpret_cast<FI_routine>(create_framed));
    page_number = -1;
    popup_count = 0;
    if (!load("gallery", INDEX_FORM, on_index, &index_form)) return false;
    FIf_set_window_event_routine(index_form, on_window);
    if (!show_at(index_form, INDEX_X, INDEX_Y)) return false;
    FIg_set_state_on(index_form, FIRST_PAGE_BUTTON);
    return gallery_show(0);
}

void gallery_close() {
    FI_leave();
    index_form = page_form = nullptr;
}

void gallery_key() {
    FI_clear_event(0x1);
    FI_form* page = page_form;
    keyboard_on_index = !keyboard_on_index || page == nullptr || gallery_pages[page_number].first == 0;
    if (keyboard_on_index && index_form != nullptr)
        FIg_start_seq(index_form, FIRST_PAGE_BUTTON);
    else if (page != nullptr)
        FIg_start_seq(page, gallery_pages[page_number].first);
}
