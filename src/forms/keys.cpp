// Keys: taking their bytes, and what they mean to a field.
#include <algorithm>
#include <cstring>

#include "forms/envdata.h"
#include "tools/events.h"

int fi_get_keyboard_data(char* buffer, int* count) {
    int arrived = 0;
    void* bytes = nullptr;
    int size = 0;
    const int room = *count;
    *count = 0;
    if (Get_keyboard_data(&arrived) != 0 || Inq_keyboard_buffer(&bytes, &size) != 0) return -1;
    *count = std::clamp(arrived, 0, std::max(room, 0));
    std::memcpy(buffer, bytes, static_cast<size_t>(*count));
    return 0;
}

namespace {

constexpr int NO_COMMAND = 102; // which nothing handles

struct mapped_key {
    uint8_t key;
    uint8_t command;
};
constexpr mapped_key COMMANDS[] = {
    {1, 1},                      // Home: start of the row
    {2, 2},           {128, 2},  // left
    {3, 3},                      // upper case
    {4, 4},                      // Delete
    {5, 5},                      // End: end of the row
    {6, 6},           {132, 6},  // right
    {8, 101},                    // previous gadget
    {9, 100},                    // next gadget
    {11, 11},                    // delete to the end of the row
    {12, 12},                    // lower case
    {14, 14},         {131, 14}, // down
    {16, 16},         {133, 16}, // up
    {20, 20},                    // swap two characters
    {25, 25},                    // yank
    {127, 8},                    // backspace
    {7, NO_COMMAND},  {10, NO_COMMAND}, {15, NO_COMMAND},  {17, NO_COMMAND}, {18, NO_COMMAND},
    {19, NO_COMMAND}, {21, NO_COMMAND}, {22, NO_COMMAND},  {23, NO_COMMAND}, {24, NO_COMMAND},
    {26, NO_COMMAND}, {27, NO_COMMAND}, {170, NO_COMMAND},
};

constexpr int KEYPAD_ENTER = 141;
constexpr int RETURN = 13;

} // namespace

int fi_map_character(int* key) {
    for (const mapped_key& m : COMMANDS) {
        if (m.key != *key) continue;
        *key = m.command;
        return 1;
    }
    if (*key == KEYPAD_ENTER) *key = RETURN;
    return 0;
}
