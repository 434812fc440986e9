// The items of forms and gadgets that stand in form files, by the names that they have in sources: where each is kept
// in its record, and what its place in the file can hold. Compiling and dumping both go by these tables, so that a dump
// compiles to the same form.
#pragma once

#include <cstddef>
#include <cstdint>
#include <span>
#include <string>

#include "forms/gadget.h"

// How the record keeps an item.
enum class kept : uint8_t { u8, s8, u16, s16, u32, s32, f32, f64, text };

// What its place in the file holds.
enum class place : uint8_t {
    as_kept, // the same
    flag,    // 0 or 1
    s8,      // whole numbers of that width
    s16,
    label, // 16 or 32 bits, by the version
};

struct item {
    const char* key;
    kept type;
    place file;
    size_t offset; // in the record
};

// A whole number that an item can be, inclusive. For f32 and f64 that are no whole numbers in the file: nothing.
struct item_range {
    int64_t low, high;
    bool whole;
};
item_range range_of(const item& i, int version);

constexpr int NEWEST_GADGET = 5; // gadget_version where a source has none

extern const std::span<const item> form_items;
extern const std::span<const item> common_items; // of all gadgets but groups
extern const std::span<const item> group_items;
std::span<const item> type_items(const FI_gadget* g); // behind the common ones; empty: none
const char* type_name(int type);
int type_by_name(const char* name); // -1: none

// Keys whose values are no items: other gadgets, rows, texts.
constexpr const char* KEY_VERSION = "version";
constexpr const char* KEY_STRINGS = "strings";
constexpr const char* KEY_MEMBERS = "members";
constexpr const char* KEY_TYPE = "type";
constexpr const char* KEY_DEFAULT_ROWS = "default_rows";
constexpr const char* KEY_LIST = "list";
constexpr const char* KEY_TEXT = "text";
constexpr const char* KEY_SELECTED = "selected";

// Latin-1 in records, UTF-8 in sources.
std::string utf8_of(const char* latin);
// False when a character isn't Latin-1, or is the zero.
bool latin_of(const std::string& utf8, std::string* latin);

// "status 8: ", and what that says of a form that isn't read.
std::string status_text(int status);
