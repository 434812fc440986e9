// The table of operations by type of gadget, and what the files of the toolkit offer each other about records.
//
// ---- A tour ---------------------------------------------------------------------------------------------------------
//
// gadget.h and form.h are the records, forms.h the calls of the application, env.h the two tables of operations that it
// can replace, state.h what there is once. Everything inside works on records (functions fi_...) and everything outside
// on form and label (FI_, FIf_, FIg_ ...); the outer calls find the record, see to groups, and call an inner function.
//
//   life        FI_enter.cpp start and end; records.cpp making and freeing gadgets; parts.cpp private parts; groups.cpp
//               members, single select, size of a group; labels.cpp; hold.cpp safety against deletion
//   file        frmread.cpp head and gadgets, frmtypes.cpp the types' parts, fieldrows.cpp rows of fields
//   what it asks for   env.cpp tables; paths.cpp, fonts.cpp, symbols.cpp, colors.cpp, keys.cpp what stands behind them
//   drawing     surface.cpp windows, clip and colour for gadgets; edges.cpp bevels and hatches; drawtext.cpp texts
//   types       types.cpp the table; button.cpp, toggle.cpp, checklist.cpp, faces.cpp what these three share; text.cpp,
//               static.cpp (symbol, line, rectangle, bevel), slider.cpp, dial.cpp, numeric.cpp what these two share,
//               bar.cpp, scroll.cpp: their drawing, scaling, activation and press; range.cpp values in ranges
//   fields      fields.h and mcf.h begin with tours of fields and of tables
//   show        show.cpp draws, erases, enables, highlights and resets any gadget; formshow.cpp draws a form
//   events      dispatch.cpp what an event means; press.cpp a press on a form, completion; link.cpp values that travel;
//               sequence.cpp the keyboard; track.cpp loops that follow the mouse
//   calls       FI_*.cpp, FIf_*.cpp, FIg_*.cpp: forms.h, a file a theme
//
// A press, from the queue to the application: FI_process_event() (dispatch.cpp) finds the form of the window and calls
// fi_form_button() (press.cpp), which finds the gadget with the types' hit(), calls the initial notification, the
// type's press() and the command hooks, carries the value along its link (link.cpp), and notifies. Each step that calls
// out holds what it goes on with (hold.h).
//
// ---- To add a type --------------------------------------------------------------------------------------------------
//
// Give its row in types.cpp the slots below; a null slot is what its comment says, never a stand-in. Its life (record
// size, defaults, private parts, reading from the file) is there already for all types.
#pragma once

#include <cstddef>
#include <cstdint>

#include "forms/forms.h"
#include "forms/hold.h"
#include "forms/state.h"

// ---- records -------------------------------------------------------------------------------------------------------

// Invariants are checked in sanitizer builds.
#if defined(__SANITIZE_ADDRESS__)
constexpr bool fi_checks = true;
#else
constexpr bool fi_checks = false;
#endif
inline void fi_check(bool holds) {
    if (fi_checks && !holds) __builtin_trap();
}

template <typename T> inline constexpr int fi_type_of = -1;
template <> inline constexpr int fi_type_of<fi_slider> = FI_SLIDER;
template <> inline constexpr int fi_type_of<fi_toggle> = FI_TOGGLE;
template <> inline constexpr int fi_type_of<fi_field> = FI_FIELD;
template <> inline constexpr int fi_type_of<fi_checklist> = FI_CHECKLIST;
template <> inline constexpr int fi_type_of<fi_dial> = FI_DIAL;
template <> inline constexpr int fi_type_of<fi_text> = FI_TEXT;
template <> inline constexpr int fi_type_of<fi_button> = FI_BUTTON;
template <> inline constexpr int fi_type_of<fi_line> = FI_LINE;
template <> inline constexpr int fi_type_of<fi_bar> = FI_BAR;
template <> inline constexpr int fi_type_of<fi_rect> = FI_RECT;
template <> inline constexpr int fi_type_of<fi_scroll> = FI_SCROLL;
template <> inline constexpr int fi_type_of<fi_mcf> = FI_MCF;

// The typed record of a gadget of that type.
template <typename T> T* fi_as(FI_gadget* g) {
    fi_check(g->type == fi_type_of<T>);
    return reinterpret_cast<T*>(g);
}
template <typename T> const T* fi_as(const FI_gadget* g) {
    fi_check(g->type == fi_type_of<T>);
    return reinterpret_cast<const T*>(g);
}
inline FI_gadget* fi_common(FI_group* g) {
    return &g->common;
}

// A group or a multi-column field: a gadget with members.
inline bool fi_has_members(const FI_gadget* g) {
    return g->type == FI_GROUP || g->type == FI_MCF;
}
inline FI_group* fi_as_group(FI_gadget* g) {
    fi_check(fi_has_members(g));
    return reinterpret_cast<FI_group*>(g);
}
inline const FI_group* fi_as_group(const FI_gadget* g) {
    fi_check(fi_has_members(g));
    return reinterpret_cast<const FI_group*>(g);
}

inline bool fi_has(const FI_gadget* g, uint32_t attributes) {
    return (g->attr_mask & attributes) != 0;
}

// ---- the table -----------------------------------------------------------------------------------------------------

constexpr int FI_MAX_PARTS = 5; // private gadgets that one gadget can have

struct fi_sequence;                                    // sequence.h
enum class fi_leave : uint8_t { stop, forward, back }; // where the keyboard goes after a gadget's turn

struct fi_gadget_ops {
    const char* name; // "FI_SLIDER"; mandatory
    size_t size;      // of the record, bytes; mandatory

    // ---- life, for all types there is
    int (*init)(FI_gadget*) = nullptr;  // defaults that aren't zero, and parts. FI_status. Null: none
    void (*free)(FI_gadget*) = nullptr; // strings and parts of the type. Null: none
    int (*parts)(const FI_gadget*,
                 FI_gadget** parts) = nullptr; // its private gadgets, up to FI_MAX_PARTS; how many. Null: none

    // ---- look. A type without draw() is shown nowhere and takes no press
    void (*draw)(FI_gadget*, int window) = nullptr;
    void (*erase)(FI_gadget*, int window) = nullptr; // in the current colour. Null: fills its rectangle
    // Its font and size follow a form that changed by these factors, which have been applied to x1 to y2. Null: nothing
    // more follows.
    void (*scale)(FI_gadget*, float x_factor, float y_factor) = nullptr;
    void (*activate)(FI_gadget*) = nullptr; // loads, measures, lays out. Null: there is nothing to do
    void (*shifted)(FI_gadget*) = nullptr;  // its rectangle and parts were moved. Null: nothing is derived
    void (*extent)(const FI_gadget*,
                   fi_box* box) = nullptr; // all that it draws on, with shown parts. Null: its rectangle

    // ---- reaction
    bool (*hit)(FI_gadget*, int x, int y) = nullptr; // of one that is shown and enabled. Null: its rectangle
    // Which of its private gadgets a hit there is for, or itself. Null: itself
    FI_gadget* (*part_at)(FI_gadget*, int x, int y) = nullptr;
    // The mouse was pressed on it: tracks, changes, draws. `complete` (false before) and `value` (the gadget's before)
    // are for the notification. A result other than 0 ends the handling. Null: complete at once.
    int (*press)(FI_gadget*, int window, int x, int y, int transition, bool* complete, double* value) = nullptr;
    // The keyboard sequence comes to it: runs until it leaves, and says where to. Null: the loop of sequence.cpp, if it
    // has a key()
    fi_leave (*input)(FI_gadget*, bool forward, int from_label) = nullptr;
    bool (*takes_input)(const FI_gadget*) = nullptr; // whether it does as it is now. Null: yes, with an input()
    // A key came in the loop of sequence.cpp. True: used. Null: the sequence passes it by, unless it has an input()
    bool (*key)(FI_gadget*, fi_sequence*, int key) = nullptr;
    void (*reset)(FI_gadget*) = nullptr; // instead of putting back value and attributes. Null: that

    // ---- value
    int (*set_value)(FI_gadget*, double) = nullptr;              // limits, draws, carries the link. Null: stores it
    int (*get_value)(const FI_gadget*, double* value) = nullptr; // Null: `value`
    int (*set_text)(FI_gadget*, const char*) = nullptr;          // Null: the common way
    int (*get_text)(FI_gadget*, char* buffer,
                    int* length) = nullptr; // either may be null; length with the terminator. Null: `text`
    int (*set_limit)(FI_gadget*, bool high, double) = nullptr; // Null: FI_INVALID_GADGET_TYPE
    // The value as a text for a link, for fi_string_free(); null without memory. Null: "%lf" of the value
    char* (*link_text)(FI_gadget*) = nullptr;
    // Takes over what came along a link. Null: ignores it
    void (*take_link)(FI_gadget*, const char* text) = nullptr;
    // One of its private scroll bars reports a value, or a command at or below -1000. May call out. Null: it has none
    void (*bar_moved)(FI_gadget*, FI_gadget* bar, double value) = nullptr;
    // A field's arrow was pressed. Null: it has none
    void (*arrow)(FI_gadget*, int direction, int transition) = nullptr;
};

extern const fi_gadget_ops fi_types[FI_TYPES];

inline const fi_gadget_ops& fi_ops(const FI_gadget* g) {
    return fi_types[g->type];
}

// ---- records.cpp ---------------------------------------------------------------------------------------------------

extern char fi_empty_text[1];
char* fi_string_dup(const char* text); // null without memory
void fi_string_free(char* text);
int fi_string_set(char** place, const char* text); // frees the old one. FI_status; the old one stays at a failure

// Makes a gadget with the defaults of its type. It goes into the root group, unless its label is negative and it is no
// group: then it is private to whoever made it. FI_INVALID_GADGET_TYPE, FI_NO_MEMORY. Labels aren't checked.
int fi_new_gadget(FI_form* form, int type, int label, FI_gadget** result);
// One in a group, whatever its label.
int fi_new_member(FI_group* group, int type, int label, FI_gadget** result);
// One that is private to `owner`, whatever its label.
int fi_new_part(FI_gadget* owner, int type, int label, FI_gadget** result);
// A group that is in no group, for the root of a form.
FI_group* fi_new_root(FI_form* form, int slots);
// Erases and frees it with its parts and members. With keep_hints its label can be given again.
void fi_free_gadget(FI_gadget* gadget, bool keep_hints);

int fi_parts(const FI_gadget* g, FI_gadget** parts);
// Has `act` work on each private part.
template <typename F> void fi_each_part(FI_gadget* g, F act) {
    FI_gadget* parts[FI_MAX_PARTS];
    const int count = fi_parts(g, parts);
    for (int i = 0; i < count; ++i)
        act(parts[i]);
}

// ---- groups.cpp ----------------------------------------------------------------------------------------------------

// The next member at or behind slot *at, or null; *at is then behind it. The walk goes on safely when members go.
FI_gadget* fi_next_member(const FI_group* group, int* at);
// Has `act` work on each member, in slot order. The group must be held if `act` may call out.
template <typename F> void fi_each_member(FI_group* group, F act) {
    int at = 0;
    while (FI_gadget* member = fi_next_member(group, &at))
        act(member);
}

int fi_group_add(FI_group* group, FI_gadget* gadget);    // into the lowest free slot. FI_status
void fi_group_remove(FI_gadget* gadget, bool keep_hint); // leaves it in no group
int fi_group_room(FI_group* group, int slots);           // makes sure of that many slots. FI_status
void fi_single_select(FI_gadget* gadget);                // has been set on: sets the others off
fi_box fi_group_size(const FI_group* group);

// ---- labels.cpp ----------------------------------------------------------------------------------------------------

FI_gadget* fi_find_gadget(const FI_form* form, int label); // null when there is none. 0: the root group
FI_group* fi_find_group(const FI_form* form, int label);   // null, also when it is no group
int fi_next_free_label(FI_form* form);
int fi_next_private_label(FI_form* form);
bool fi_form_exists(const FI_form* form);
// FI_SUCCESS with the gadget, FI_NO_SUCH_FORM or FI_NO_SUCH_GADGET.
int fi_lookup(const FI_form* form, int label, FI_gadget** gadget);
// How operations on gadgets pass through groups: `act`, which gives an FI_status, works on the gadget, or on each
// member of a group that passes on, and those of groups in it. It may call out.
template <typename F> int fi_pass_on(FI_gadget* g, F act) {
    if (g->type != FI_GROUP) return act(g);
    const fi_hold hold(g);
    if (fi_as_group(g)->no_pass_on == 0) fi_each_member(fi_as_group(g), [&](FI_gadget* m) { fi_pass_on(m, act); });
    return 0;
}
// The same for the gadget of a label, if what is passed on is allowed; else FI_INVALID_ARGUMENT, once it is known that
// form and gadget exist.
template <typename F> int fi_pass_on(FI_form* form, int label, bool allowed, F act) {
    FI_gadget* g = nullptr;
    const int status = fi_lookup(form, label, &g);
    if (status != 0) return status;
    return allowed ? fi_pass_on(g, act) : int{FI_INVALID_ARGUMENT};
}
template <typename F> int fi_pass_on(FI_form* form, int label, F act) {
    return fi_pass_on(form, label, true, act);
}
