#include "desktop/outputform.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>

#include "desktop/appforms.h"
#include "desktop/builtform.h"
#include "desktop/formtexts.h"
#include "desktop/mainform.h"
#include "desktop/modal.h"
#include "desktop/picker.h"
#include "output/target.h"
#include "tools/events.h"
#include "tools/windows.h"

namespace {

constexpr int FORM_LABEL = 333;
constexpr int WIDTH = 598, HEIGHT = 205;
constexpr uint32_t FORM_ATTRIBUTES = 25;
constexpr uint32_t FACE = FI_TEXT_GADGET;

enum : int {
    ACCEPT = 1,
    CANCEL = 4,
    FIRST_LINE = 9,
    SECOND_LINE = 10,
    TITLE = 11,
    SPECIFICATION = 13,
    BROWSE = 14,
    TYPES = 16, // the group of the buttons
    FIRST_TYPE = 17,
    LAST_TYPE = 22,
    COMPRESSION = 23,
    DEPTH = 24,
    CORRECT = 25,
    COLORS_TEXT = 26,
    COLORS = 27,
    GAMMA = 29,
    MAPPING = 30,
    GREY = 31,
    REDUCTION = 32, // the group of what belongs to 8 bits
};

// In the order that Tab leads through.
constexpr built_gadget GADGETS[] = {
    {FI_GROUP, TYPES, 0, 0, 0, 0, nullptr, nullptr, nullptr, 0, 0, 0, 0},
    {FI_GROUP, REDUCTION, 0, 0, 0, 0, nullptr, nullptr, nullptr, 0, 0, 0, 0},
    {FI_FIELD, FIRST_LINE, 15, 153, 558, 171, "", nullptr, FONT_FIELD, 15, 0, 0, 0},
    {FI_FIELD, SECOND_LINE, 15, 177, 558, 195, "", nullptr, FONT_FIELD, 15, 0, 0, 0},
    {FI_TEXT, TITLE, 295, 15, 300, 37, "", nullptr, FONT_TEXT, 18, 0, 0, 0},
    {FI_FIELD, SPECIFICATION, 15, 50, 513, 68, "", nullptr, FONT_FIELD, 15, 0, 0, 0},
    {FI_BUTTON, BROWSE, 520, 50, 580, 75, "Browse", nullptr, FONT_TEXT, 12, 0, FACE, 0},
    {FI_TEXT, 15, 15, 88, 55, 118, "Output\n Type", nullptr, FONT_TEXT, 12, 0, 0, 0},
    {FI_BUTTON, 17, 70, 90, 115, 115, "RGB", nullptr, FONT_TEXT, 15, 0, FACE, TYPES},
    {FI_BUTTON, 18, 115, 90, 160, 115, "TIF", nullptr, FONT_TEXT, 15, 0, FACE, TYPES},
    {FI_BUTTON, 19, 160, 90, 205, 115, "GIF", nullptr, FONT_TEXT, 15, 0, FACE, TYPES},
    {FI_BUTTON, 20, 205, 90, 250, 115, "TGA", nullptr, FONT_TEXT, 15, 0, FACE, TYPES},
    {FI_BUTTON, 21, 250, 90, 295, 115, "BMP", nullptr, FONT_TEXT, 15, 0, FACE, TYPES},
    {FI_BUTTON, 22, 295, 90, 340, 115, "PCX", nullptr, FONT_TEXT, 15, 0, FACE, TYPES},
    {FI_TOGGLE, COMPRESSION, 350, 90, 440, 115, "Cmprsd", "Uncmprsd", FONT_TEXT, 12, 0, FACE, 0},
    {FI_TOGGLE, DEPTH, 445, 90, 515, 115, "24-BPP", "8-BPP", FONT_TEXT, 12, 0, FACE, 0},
    {FI_BUTTON, CORRECT, 520, 80, 580, 115, "Correct\nExtens.", nullptr, FONT_TEXT, 12, 0, FACE, 0},
    {FI_TEXT, COLORS_TEXT, 70, 122, 120, 152, " Number\nof Colors", nullptr, FONT_TEXT, 12, 0, 0, REDUCTION},
    {FI_FIELD, COLORS, 126, 126, 153, 144, "", nullptr, FONT_FIELD, 15, 0, 0, REDUCTION},
    {FI_TEXT, 28, 180, 122, 225, 152, "Output\nGamma", nullptr, FONT_TEXT, 12, 0, 0, 0},
    {FI_SLIDER, GAMMA, 230, 126, 360, 146, "", nullptr, FONT_TEXT, 12, 0, 0, 0},
    {FI_TOGGLE, MAPPING, 380, 126, 471, 146, "Dither", "Closest-Fit", FONT_TEXT, 12, 0, FACE, REDUCTION},
    {FI_TOGGLE, GREY, 485, 126, 577, 146, "Color", "Grey Scale", FONT_TEXT, 12, 0, FACE, REDUCTION},
    {FI_BUTTON, ACCEPT, 563, 5, 593, 35, nullptr, nullptr, FONT_SYMBOLS, 15, 11, 0, 0},
    {FI_BUTTON, CANCEL, 533, 5, 563, 35, nullptr, nullptr, FONT_SYMBOLS, 15, 8, 0, 0},
};

constexpr const char* FILTERS[] = {"(*.rgb)", "(*.tif)", "(*.gif)", "(*.tga)", "(*.bmp)", "(*.pcx)", "(*.?\077\077)"};

// What lasts from one use to the next.
output_settings settings = OUTPUT_USUAL;
output_target target = {};

FI_form* form = nullptr;
const char* form_title = "";
int result = 0;

// ---- showing -------------------------------------------------------------------------------------------------------

void show_lines(const char* first, const char* second) {
    form_set_text(form, FIRST_LINE, first);
    form_set_text(form, SECOND_LINE, second);
}

void show_existing() {
    char first[SPEC_SIZE + 64], second[128];
    if (output_existing_message(&target, first, second) > 0) show_lines(first, second);
}

void show_target() {
    const char* text = target.spec != nullptr ? target.spec : target.directory;
    form_set_text(form, SPECIFICATION, text != nullptr ? text : "");
}

void show_settings() {
    const output_face face = output_face_of(&settings);
    FIg_set_state(form, COMPRESSION, face.uncompressed ? 1 : 0);
    form_enable(form, COMPRESSION, face.uncompressed_enabled);
    FIg_set_state(form, DEPTH, face.eight_bits ? 1 : 0);
    form_enable(form, DEPTH, face.eight_bits_enabled);
    if (face.reduces)
        FIg_display(form, REDUCTION);
    else
        FIg_erase(form, REDUCTION);
}

void show_all() {
    FIg_set_state_on(form, FIRST_TYPE + settings.standard);
    FIg_set_state(form, CORRECT, (settings.flags & OUTPUT_CORRECT) != 0 ? 1 : 0);
    FIg_set_state(form, MAPPING, (settings.flags & OUTPUT_CLOSEST) != 0 ? 1 : 0);
    FIg_set_state(form, GREY, (settings.flags & OUTPUT_GREY) != 0 ? 1 : 0);
    char colors[16];
    std::snprintf(colors, sizeof colors, "%3d", settings.colors);
    form_set_text(form, COLORS, colors);
    FIg_set_value(form, GAMMA, settings.gamma);
    show_settings();
    show_target();
    show_existing();
}

// ---- what is typed -------------------------------------------------------------------------------------------------

void tell_fault(int fault) {
    if (fault == OUTPUT_GOOD)
        show_existing();
    else
        show_lines(output_fault_text(fault), "");
}

// Takes the text of the field, unless it is the one that is there. OUTPUT_GOOD, or what is wrong with it; it stays
// then.
int take_specification() {
    char text[FORM_TEXT_SIZE], before[FORM_TEXT_SIZE];
    form_get_text(form, SPECIFICATION, text);
    const char* present = target.spec != nullptr ? target.spec : target.directory;
    std::snprintf(before, sizeof before, "%s", present != nullptr ? present : "");
    if (std::strcmp(text, before) == 0) return OUTPUT_GOOD;
    show_lines("Standby.  Verifying file names.", "");
    const int fault = output_verify_spec(text, &target);
    show_lines("", "");
    if (fault == OUTPUT_GOOD) show_target();
    tell_fault(fault);
    return fault;
}

void take_colors() {
    char text[FORM_TEXT_SIZE];
    form_get_text(form, COLORS, text);
    const int colors = std::atoi(text); // NOLINT(cert-err34-c): what is no number is refused below
    if (colors >= OUTPUT_COLORS_LOW && colors <= OUTPUT_COLORS_HIGH) settings.colors = colors;
    std::snprintf(text, sizeof text, "%3d", settings.colors);
    form_set_text(form, COLORS, text);
}

void correct_extensions() {
    const int fault = output_correct_extensions(&target, spec_standard_extension(settings.standard), true);
    show_target();
    tell_fault(fault);
}

void set_standard(int button) {
    output_set_standard(&settings, button - FIRST_TYPE);
    if ((settings.flags & OUTPUT_CORRECT) != 0) correct_extensions();
    show_settings();
}

void browse() {
    FIf_erase(form);
    char directory[FILES_PATH_SIZE];
    char** files = file_picker_run(form_title, target.directory != nullptr ? target.directory : current_directory(),
                                   PICK_CHANGE_DIR, FILTERS, static_cast<int>(std::size(FILTERS)), directory, nullptr);
    FIf_display(form);
    int fault = OUTPUT_NOTHING; // cancelled: the entry stays as it was
    if (files != nullptr)
        fault = output_verify_names(files, &target);
    else if (directory[0] != '\0')
        fault = output_verify_spec(directory, &target);
    picked_files_free(files);
    show_all();
    if (fault != OUTPUT_NOTHING) tell_fault(fault);
}

void set_flag(uint32_t flag, bool on) {
    settings.flags = on ? settings.flags | flag : settings.flags & ~flag;
}

// What has been typed and not yet left counts too.
void accept() {
    take_colors();
    if (take_specification() != OUTPUT_GOOD) return;
    if (target.files == nullptr || target.count == 0) {
        show_lines("Missing output specification", "");
        return;
    }
    set_flag(OUTPUT_OPEN, false);
    result = 0;
    modal_end(form);
}

void cancel() {
    set_flag(OUTPUT_OPEN, false);
    result = 1;
    modal_end(form);
}

void output_form_notify(int /*form_label*/, int gadget, double value, FI_form* /*f*/) {
    int state = 0;
    FIg_get_state(form, gadget, &state);
    if (gadget != ACCEPT) show_lines("", "");
    switch (gadget) {
    case ACCEPT: accept(); break;
    case CANCEL: cancel(); break;
    case SPECIFICATION: take_specification(); break;
    case BROWSE:
        FIg_set_state_off(form, BROWSE);
        browse();
        break;
    case COMPRESSION:
        output_set_compressed(&settings, state == 0);
        show_settings();
        break;
    case DEPTH:
        output_set_24_bits(&settings, state == 0);
        show_settings();
        break;
    case CORRECT:
        set_flag(OUTPUT_CORRECT, state != 0);
        if (state != 0) correct_extensions();
        break;
    case COLORS: take_colors(); break;
    case GAMMA: settings.gamma = std::clamp(value, OUTPUT_GAMMA_LOW, OUTPUT_GAMMA_HIGH); break;
    case MAPPING: set_flag(OUTPUT_CLOSEST, state != 0); break;
    case GREY: set_flag(OUTPUT_GREY, state != 0); break;
    default:
        if (gadget >= FIRST_TYPE && gadget <= LAST_TYPE) set_standard(gadget);
    }
}

// ---- the form ------------------------------------------------------------------------------------------------------

void finish_gadgets(const char* title, const char* message) {
    FIf_set_attr(form, FORM_ATTRIBUTES);
    FIg_set_justification(form, TITLE, FI_CENTER);
    FIg_set_text(form, TITLE, title);
    FIgrp_set_single_select_on(form, TYPES);
    FIbtn_set_auto_pop_up_on(form, ACCEPT);
    for (const int label : {FIRST_LINE, SECOND_LINE})
        FIfld_set_mode(form, label, 0, FI_REVIEW);
    FIfld_set_max_num_chars(form, SPECIFICATION, 0, 0);
    FIg_set_low_value(form, GAMMA, OUTPUT_GAMMA_LOW);
    FIg_set_high_value(form, GAMMA, OUTPUT_GAMMA_HIGH);
    FIg_set_increment(form, GAMMA, 0.1);
    FIg_set_orientation(form, GAMMA, FI_HORIZONTAL);
    FIg_set_display(form, GAMMA, FI_SHOW_LOW | FI_SHOW_VALUE | FI_SHOW_HIGH);
    FIg_set_digits(form, GAMMA, 3, 1);
    FIg_activate(form, GAMMA);
    form_set_text(form, FIRST_LINE, message);
}

bool is_over(void* /*user*/) {
    return (settings.flags & OUTPUT_OPEN) == 0;
}

// On the first use the entry is the current directory; one that has vanished since falls back to it.
void start_target() {
    const char* present = target.spec != nullptr ? target.spec : target.directory;
    if (target.files != nullptr && files_is_directory(target.directory)) return;
    if (present != nullptr && target.files == nullptr && output_verify_spec(present, &target) == OUTPUT_GOOD) return;
    output_target_free(&target);
    output_verify_spec(current_directory(), &target);
}

} // namespace

int output_form_run(const char* title, const char* message, char path[FILES_PATH_SIZE],
                    output_settings* chosen_settings) {
    const uint32_t kept = settings.flags & OUTPUT_CORRECT;
    output_settle(&settings);
    settings.flags |= kept;
    start_target();
    form_title = title;
    int status =
        build_form(FORM_LABEL, WIDTH, HEIGHT, GADGETS, static_cast<int>(std::size(GADGETS)), output_form_notify, &form);
    const char* call = "FIf_new";
    if (status == FI_SUCCESS) {
        finish_gadgets(title, message);
        call = "FIf_display";
        status = FIf_display(form);
    }
    if (status != FI_SUCCESS) {
        form_failed("Tinct Output", call, status);
        if (form != nullptr) FIf_delete(form);
        form = nullptr;
        return -1;
    }
    set_flag(OUTPUT_OPEN, true);
    result = 1;
    show_all();
    modal_loop(form, is_over, nullptr, ACCEPT, CANCEL);
    set_flag(OUTPUT_OPEN, false);
    form_take_away(form);
    form = nullptr;
    *chosen_settings = settings;
    path[0] = '\0';
    if (result == 0 && target.files != nullptr) std::snprintf(path, FILES_PATH_SIZE, "%s", target.files[0]);
    return result;
}

void output_form_end() {
    output_target_free(&target);
    settings = OUTPUT_USUAL;
}
