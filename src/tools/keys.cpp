// The keyboard: characters and the keys that have a code of their own, as they reach the application's buffer.
#include "tools/eventdata.h"

#include <algorithm>

namespace {

constexpr uint8_t CODE_DELETE = 4;
constexpr uint8_t CODE_CTRL_DELETE = 11;
constexpr uint32_t BACKSPACE = 8;
constexpr uint32_t CODE_BACKSPACE = 127;
constexpr uint32_t TAB = 9;
constexpr uint32_t CODE_BACK_TAB = 8; // Shift and Tab

struct key_code {
    host_key key;
    uint8_t code;
};
constexpr key_code KEY_CODES[] = {
    {host_key::end, 5},     {host_key::home, 1},   {host_key::left, 128},           {host_key::up, 133},
    {host_key::right, 132}, {host_key::down, 131}, {host_key::remove, CODE_DELETE},
};

uint8_t* keyboard_buffer = nullptr; // the application's
int keyboard_size = 0;

// A key is a count of codes and the codes, a word each.
void put_key(uint32_t code) {
    const uint32_t words[] = {1, code};
    queue_put(QUEUE_KEYBOARD, words, 2);
}

int look_at_key(int* count, bool take) {
    const event_record* record = queue_first(QUEUE_KEYBOARD);
    if (record == nullptr) return event_fail(EVENT_ERROR_EMPTY);
    const int fitting = keyboard_buffer == nullptr ? 0 : std::min(int(record->words[0]), keyboard_size);
    for (int i = 0; i < fitting; ++i)
        keyboard_buffer[i] = uint8_t(record->words[1 + i]);
    if (count != nullptr) *count = fitting;
    if (take) queue_drop_first(QUEUE_KEYBOARD);
    return 0;
}

} // namespace

int Set_keyboard_buffer(void* buffer, int size) {
    keyboard_buffer = static_cast<uint8_t*>(buffer);
    keyboard_size = std::max(size, 0);
    return size < 0 ? -1 : 0;
}

int Inq_keyboard_buffer(void** buffer, int* size) {
    if (keyboard_buffer == nullptr) return -1;
    *buffer = keyboard_buffer;
    *size = keyboard_size;
    return 0;
}

int Inq_keyboard_data(int* count) {
    return look_at_key(count, false);
}
int Get_keyboard_data(int* count) {
    return look_at_key(count, true);
}

bool key_prefilter(const desk_message* message) {
    if (message->key == host_key::f1) return false; // asks for help, and there is none
    // Escape takes back what a right click takes back, wherever the mouse is.
    if (message->key == host_key::escape) deliver_button(0, 0, 0, 2, TRANS_CLICK, message->time);
    return true;
}

void key_down(const desk_message* message) {
    for (const key_code& known : KEY_CODES) {
        if (known.key != message->key) continue;
        const bool with_ctrl = known.key == host_key::remove && (message->modifiers & HOST_CTRL) != 0;
        put_key(with_ctrl ? CODE_CTRL_DELETE : known.code);
    }
}

void key_character(const desk_message* message) {
    const bool shifted = (message->modifiers & HOST_SHIFT) != 0;
    if (message->character == BACKSPACE)
        put_key(CODE_BACKSPACE);
    else
        put_key(message->character == TAB && shifted ? CODE_BACK_TAB : message->character);
}

void keys_reset() {
    keyboard_buffer = nullptr;
    keyboard_size = 0;
}
