// What the files of the gallery share.
#pragma once

#include <cstdint>

#include "forms/forms.h"

// ---- main.cpp
extern bool gallery_quit;
void gallery_failed(const char* format, ...) __attribute__((format(printf, 1, 2))); // says it, and the run fails

// ---- pages.cpp: one form a type of gadget
struct gallery_page {
    const char* file;  // without ".frm"
    const char* title; // of its window
    int first;         // gadget where the keyboard begins
};
extern const gallery_page gallery_pages[];
extern const int gallery_page_count;
constexpr int FIRST_PAGE_BUTTON = 11; // labels of the index
constexpr int QUIT_BUTTON = 30;

bool gallery_open(); // the toolkit's hooks, the index and the first page. False after gallery_failed()
void gallery_close();
bool gallery_show(int page);
FI_form* gallery_form(); // of the page that is shown
FI_form* gallery_index();
FI_form* gallery_popup(); // the last pop-up; null when none is up
int gallery_scale();      // how large forms are shown against their design: 2 on a screen whose frames are doubled
void gallery_key();       // a key came that no form took: goes on with the other form's gadgets

// The last notification, for checks.
struct gallery_notice {
    int form, label, count;
    double value;
};
extern gallery_notice gallery_last;

// ---- script.cpp: a run without a user
void gallery_script_start(const char* shots); // directory for screenshots, or null
