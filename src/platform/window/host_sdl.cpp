// The host in a window of the user's desktop, by SDL2. Only what has changed is put into the window's surface and sent;
// waiting blocks in the system. One pixel of the frame buffer takes `scale` by `scale` pixels of the display.
#ifdef TINCT_WITH_SDL
#include "platform/window/cursors.h"
#include "platform/window/host.h"
#include "support/memory.h"
#ifdef TINCT_WITH_X11
#include "platform/window/host_x11.h"
#endif

#include <SDL.h>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <unistd.h>

extern const host_ops host_sdl;

// Tests run on a driver that shows nothing.
extern bool host_sdl_takes_any_driver;
bool host_sdl_takes_any_driver = false;

#ifdef __SANITIZE_ADDRESS__
// The window's library asks the desktop's message bus for its settings, and the bus's library keeps that memory.
extern "C" {
__attribute__((visibility("default"))) const char* __lsan_default_suppressions();
__attribute__((visibility("default"))) const char* __lsan_default_options();
const char* __lsan_default_suppressions() {
    return "leak:libdbus";
}
const char* __lsan_default_options() {
    return "print_suppressions=0";
}
}
#endif

namespace {

constexpr int SIZE_WAIT = 500; // milliseconds that the start waits for the desktop to give the window its size
constexpr int CURSOR_COUNT = int(host_cursor::move) + 1;
constexpr int LEAST_WIDTH = 320; // of the frame buffer
constexpr int LEAST_HEIGHT = 200;
constexpr int MOST_WIDTH = 1 << 15;

struct sdl_data {
    SDL_Window* window;
    SDL_Surface* shadow; // 32-bit, in place of a surface in another form; null: not needed
    int scale;
    SDL_Cursor* cursors[CURSOR_COUNT];
    int cursor_unit; // pixels of the display to a unit of the cursors' pictures
    uint32_t* words; // display colours of all 16-bit pixels, at the depths that have such; null: not yet needed
    char text[SDL_TEXTINPUTEVENT_TEXT_SIZE]; // typed, UTF-8, and what of it is taken
    size_t text_at;
    uint8_t text_modifiers;
    char* dropped;
    bool size_changed; // since the frame was shown
    bool state_untold; // how the window stands, at the start
};
sdl_data sdl;

// ---- start

// Drivers of the library that show a window where the user sees it. There are others, which it takes when these fail:
// then the program would run unseen, and for ever.
constexpr const char* DRIVERS[] = {"x11", "wayland", "cocoa", "windows", "haiku"};

bool init_video() {
    const char* named = SDL_getenv("SDL_VIDEODRIVER"); // a list
    if (host_sdl_takes_any_driver) return SDL_Init(SDL_INIT_VIDEO) == 0;
    for (const char* driver : DRIVERS) {
        if (named != nullptr && *named != 0 && strstr(named, driver) == nullptr) continue;
        // Without it there is no such display, and the library would complain.
        if (strcmp(driver, "wayland") == 0 && SDL_getenv("XDG_RUNTIME_DIR") == nullptr) continue;
        SDL_SetHintWithPriority(SDL_HINT_VIDEODRIVER, driver, SDL_HINT_OVERRIDE);
        if (SDL_Init(SDL_INIT_VIDEO) == 0) return true;
    }
    return false;
}

// One pixel of the desk is one of the display: the desk draws itself larger on a large one. Only displays that are
// larger than that goes have each pixel take more.
int automatic_scale(int width, int height) {
    return std::clamp(std::min(width / 3840, height / 2160), 1, 8);
}

// The window's size in pixels of the display. Where nothing smaller than the display is asked for it is maximised
// (false); the size is then that of the restored window, which leaves room for its frame.
bool wanted_size(const host_screen* screen, const SDL_Rect* usable, int* width, int* height) {
    const bool asked = (screen->width > 0 && screen->width * sdl.scale < usable->w) ||
                       (screen->height > 0 && screen->height * sdl.scale < usable->h);
    *width = asked ? usable->w : usable->w * 7 / 8;
    *height = asked ? usable->h : usable->h * 7 / 8;
    if (asked && screen->width > 0) *width = std::min(screen->width * sdl.scale, usable->w);
    if (asked && screen->height > 0) *height = std::min(screen->height * sdl.scale, usable->h);
    return asked;
}

bool has_manager() {
#ifdef TINCT_WITH_X11
    return x11_has_manager(sdl.window);
#else
    return true;
#endif
}

// Lets the desktop maximise the window. Where nothing does that, the window takes all of the display by itself.
void wait_for_size(const SDL_Rect* usable) {
    if (!has_manager()) {
        SDL_SetWindowPosition(sdl.window, usable->x, usable->y);
        SDL_SetWindowSize(sdl.window, usable->w, usable->h);
        return;
    }
    const uint32_t end = SDL_GetTicks() + SIZE_WAIT;
    SDL_Event event;
    for (int left = SIZE_WAIT; left > 0; left = int(end - SDL_GetTicks())) {
        if (SDL_WaitEventTimeout(&event, left) == 0) return;
        if (event.type == SDL_WINDOWEVENT && event.window.event == SDL_WINDOWEVENT_SIZE_CHANGED) return;
    }
}

// A pixel of the frame buffer that is cut by the window's edge is shown as far as there is room.
void frame_size(int* width, int* height) {
    SDL_GetWindowSize(sdl.window, width, height);
    *width = std::max((*width + sdl.scale - 1) / sdl.scale, 1);
    *height = std::max((*height + sdl.scale - 1) / sdl.scale, 1);
}

void set_hints() {
    SDL_SetHint(SDL_HINT_NO_SIGNAL_HANDLERS, "1");
    SDL_SetHint(SDL_HINT_FRAMEBUFFER_ACCELERATION, "0");
    SDL_SetHint(SDL_HINT_VIDEO_X11_NET_WM_BYPASS_COMPOSITOR, "0");
    SDL_SetHint(SDL_HINT_MOUSE_FOCUS_CLICKTHROUGH, "1");
    SDL_SetHint(SDL_HINT_VIDEO_ALLOW_SCREENSAVER, "1");
}

void set_title(const char* text);
void stop();

bool open_window(host_screen* screen) {
    SDL_Rect usable = {0, 0, 1280, 1024};
    SDL_GetDisplayUsableBounds(0, &usable);
    sdl.scale = screen->scale > 0 ? screen->scale : automatic_scale(usable.w, usable.h);
    int width = 0;
    int height = 0;
    const bool sized = wanted_size(screen, &usable, &width, &height);
    const uint32_t flags = SDL_WINDOW_RESIZABLE | (sized ? 0u : uint32_t{SDL_WINDOW_MAXIMIZED});
    sdl.window = SDL_CreateWindow("", SDL_WINDOWPOS_CENTERED, SDL_WINDOWPOS_CENTERED, width, height, flags);
    if (sdl.window == nullptr) return false;
    SDL_SetWindowMinimumSize(sdl.window, LEAST_WIDTH * sdl.scale, LEAST_HEIGHT * sdl.scale);
    if (!sized) wait_for_size(&usable);
    return true;
}

bool start(host_screen* screen, const char* title) {
    set_hints();
    if (!init_video() || !open_window(screen)) {
        stop();
        return false;
    }
    set_title(title);
    SDL_StartTextInput();
    frame_size(&screen->width, &screen->height);
    screen->scale = sdl.scale;
    sdl.size_changed = sdl.state_untold = true;
    return true;
}

void free_cursors() {
    for (SDL_Cursor*& cursor : sdl.cursors) {
        if (cursor != nullptr) SDL_FreeCursor(cursor);
        cursor = nullptr;
    }
}

void stop() {
    free_cursors();
    mem_free(sdl.words);
    SDL_free(sdl.dropped);
    SDL_FreeSurface(sdl.shadow);
    if (sdl.window != nullptr) SDL_DestroyWindow(sdl.window);
    SDL_Quit();
    sdl = {};
}

uint32_t now() {
    return SDL_GetTicks();
}

// ---- input

uint8_t modifiers_of(unsigned mod) {
    return uint8_t(((mod & KMOD_SHIFT) != 0 ? HOST_SHIFT : 0) | ((mod & KMOD_CTRL) != 0 ? HOST_CTRL : 0) |
                   ((mod & KMOD_ALT) != 0 ? HOST_ALT : 0));
}

struct key_pair {
    SDL_Keycode sdl;
    host_key key;
};
constexpr key_pair KEYS[] = {
    {SDLK_RETURN, host_key::enter},
    {SDLK_KP_ENTER, host_key::enter},
    {SDLK_BACKSPACE, host_key::backspace},
    {SDLK_TAB, host_key::tab},
    {SDLK_ESCAPE, host_key::escape},
    {SDLK_INSERT, host_key::insert},
    {SDLK_DELETE, host_key::remove},
    {SDLK_HOME, host_key::home},
    {SDLK_END, host_key::end},
    {SDLK_PAGEUP, host_key::page_up},
    {SDLK_PAGEDOWN, host_key::page_down},
    {SDLK_LEFT, host_key::left},
    {SDLK_UP, host_key::up},
    {SDLK_RIGHT, host_key::right},
    {SDLK_DOWN, host_key::down},
    {SDLK_F1, host_key::f1},
    {SDLK_F11, host_key::f11},
};
// The number block, when it gives no numbers.
constexpr key_pair BLOCK_KEYS[] = {
    {SDLK_KP_7, host_key::home},        {SDLK_KP_8, host_key::up},        {SDLK_KP_9, host_key::page_up},
    {SDLK_KP_4, host_key::left},        {SDLK_KP_6, host_key::right},     {SDLK_KP_1, host_key::end},
    {SDLK_KP_2, host_key::down},        {SDLK_KP_3, host_key::page_down}, {SDLK_KP_0, host_key::insert},
    {SDLK_KP_PERIOD, host_key::remove},
};

host_key key_of(SDL_Keysym sym) {
    for (const key_pair& pair : KEYS)
        if (pair.sdl == sym.sym) return pair.key;
    if ((sym.mod & KMOD_NUM) == 0)
        for (const key_pair& pair : BLOCK_KEYS)
            if (pair.sdl == sym.sym) return pair.key;
    const bool is_character = sym.sym >= 32 && (sym.sym & SDLK_SCANCODE_MASK) == 0;
    return is_character ? host_key::character : host_key::none;
}

bool take_key(const SDL_KeyboardEvent* key, host_event* event) {
    event->kind = host_event_kind::key;
    event->key = key_of(key->keysym);
    event->down = key->state == SDL_PRESSED;
    event->modifiers = modifiers_of(key->keysym.mod);
    if (event->key == host_key::character) event->character = uint32_t(key->keysym.sym);
    return event->key != host_key::none;
}

// The next character of what was typed; false at the end.
bool take_text(host_event* event) {
    const auto* at = reinterpret_cast<const uint8_t*>(sdl.text) + sdl.text_at;
    if (*at == 0) return false;
    uint32_t character = *at;
    int more = 0;
    if (character >= 0xF0)
        more = 3;
    else if (character >= 0xE0)
        more = 2;
    else if (character >= 0xC0)
        more = 1;
    if (more > 0) character &= 0x3Fu >> more;
    int used = 1;
    for (; used <= more && (at[used] & 0xC0) == 0x80; ++used)
        character = character << 6 | (at[used] & 0x3F);
    sdl.text_at += size_t(used);
    event->kind = host_event_kind::text;
    event->character = character;
    event->modifiers = sdl.text_modifiers;
    return true;
}

// display -> frame buffer; negative coordinates, while a button is held, round down as well
int to_frame(int display) {
    return int(std::floor(double(display) / sdl.scale));
}

void set_pointer(host_event* event, int x, int y) {
    event->x = to_frame(x);
    event->y = to_frame(y);
    event->modifiers = modifiers_of(unsigned(SDL_GetModState()));
}

bool take_button(const SDL_MouseButtonEvent* button, host_event* event) {
    event->kind = host_event_kind::button;
    event->down = button->state == SDL_PRESSED;
    set_pointer(event, button->x, button->y);
    switch (button->button) {
    case SDL_BUTTON_LEFT: event->button = HOST_LEFT; return true;
    case SDL_BUTTON_MIDDLE: event->button = HOST_MIDDLE; return true;
    case SDL_BUTTON_RIGHT: event->button = HOST_RIGHT; return true;
    default: return false;
    }
}

bool take_wheel(const SDL_MouseWheelEvent* wheel, host_event* event) {
    int x = 0;
    int y = 0;
    SDL_GetMouseState(&x, &y);
    event->kind = host_event_kind::wheel;
    set_pointer(event, x, y);
    const int sign = wheel->direction == SDL_MOUSEWHEEL_FLIPPED ? -1 : 1;
    event->wheel = sign * wheel->y;
    event->across = sign * wheel->x;
    return event->wheel != 0 || event->across != 0;
}

bool take_size(host_event* event) {
    const uint32_t flags = SDL_GetWindowFlags(sdl.window);
    event->kind = host_event_kind::resize;
    frame_size(&event->width, &event->height);
    event->state = host_state::restored;
    if ((flags & (SDL_WINDOW_MAXIMIZED | SDL_WINDOW_FULLSCREEN)) != 0) event->state = host_state::maximised;
    if ((flags & SDL_WINDOW_MINIMIZED) != 0) event->state = host_state::minimised;
    sdl.size_changed = true;
    return true;
}

bool take_window(const SDL_WindowEvent* window, host_event* event) {
    switch (window->event) {
    case SDL_WINDOWEVENT_SIZE_CHANGED:
    case SDL_WINDOWEVENT_MINIMIZED:
    case SDL_WINDOWEVENT_MAXIMIZED:
    case SDL_WINDOWEVENT_RESTORED: return take_size(event);
    case SDL_WINDOWEVENT_EXPOSED:
        if (!sdl.size_changed) SDL_UpdateWindowSurface(sdl.window);
        return false;
    case SDL_WINDOWEVENT_FOCUS_GAINED:
    case SDL_WINDOWEVENT_FOCUS_LOST:
        event->kind = host_event_kind::focus;
        event->down = window->event == SDL_WINDOWEVENT_FOCUS_GAINED;
        return true;
    case SDL_WINDOWEVENT_CLOSE: event->kind = host_event_kind::close; return true;
    default: return false;
    }
}

bool take_drop(SDL_DropEvent* drop, host_event* event) {
    SDL_free(sdl.dropped);
    sdl.dropped = drop->file;
    event->kind = host_event_kind::drop;
    event->path = sdl.dropped;
    return sdl.dropped != nullptr;
}

bool take_event(SDL_Event* from, host_event* event) {
    *event = {};
    switch (from->type) {
    case SDL_MOUSEMOTION:
        event->kind = host_event_kind::pointer;
        set_pointer(event, from->motion.x, from->motion.y);
        return true;
    case SDL_MOUSEBUTTONDOWN:
    case SDL_MOUSEBUTTONUP: return take_button(&from->button, event);
    case SDL_MOUSEWHEEL: return take_wheel(&from->wheel, event);
    case SDL_KEYDOWN:
    case SDL_KEYUP: return take_key(&from->key, event);
    case SDL_TEXTINPUT:
        static_assert(sizeof(sdl.text) == sizeof(from->text.text));
        memcpy(sdl.text, from->text.text, sizeof(sdl.text));
        sdl.text[sizeof(sdl.text) - 1] = 0;
        sdl.text_at = 0;
        sdl.text_modifiers = modifiers_of(unsigned(SDL_GetModState()));
        return take_text(event);
    case SDL_WINDOWEVENT: return take_window(&from->window, event);
    case SDL_DROPFILE: return take_drop(&from->drop, event);
    default: return false;
    }
}

bool poll(host_event* event) {
    *event = {};
    if (sdl.state_untold || take_text(event)) {
        if (sdl.state_untold) take_size(event);
        sdl.state_untold = false;
        event->time = now();
        return true;
    }
    SDL_Event from;
    while (SDL_PollEvent(&from) != 0) {
        if (!take_event(&from, event)) continue;
        event->time = from.common.timestamp;
        return true;
    }
    return false;
}

void wait(bool limited, uint32_t deadline) {
    if (!limited) {
        SDL_WaitEvent(nullptr);
        return;
    }
    const int left = int(deadline - SDL_GetTicks());
    if (left > 0) SDL_WaitEventTimeout(nullptr, left);
}

// ---- output

// The surface to draw on, in 32-bit pixels 0x00RRGGBB: the window's own when it has that form.
SDL_Surface* drawing_surface(SDL_Surface* shown) {
    const SDL_PixelFormat* f = shown->format;
    if (f->BytesPerPixel == 4 && f->Rmask == 0xFF0000 && f->Gmask == 0xFF00 && f->Bmask == 0xFF) return shown;
    if (sdl.shadow != nullptr && (sdl.shadow->w != shown->w || sdl.shadow->h != shown->h)) {
        SDL_FreeSurface(sdl.shadow);
        sdl.shadow = nullptr;
    }
    if (sdl.shadow == nullptr) sdl.shadow = SDL_CreateRGBSurface(0, shown->w, shown->h, 32, 0xFF0000, 0xFF00, 0xFF, 0);
    return sdl.shadow;
}

uint32_t packed(canvas_rgb c) {
    return uint32_t{c.red} << 16 | uint32_t{c.green} << 8 | c.blue;
}

// The display colours of 16-bit pixels, worked out once. Without memory each pixel is worked out by itself.
const uint32_t* word_colors() {
    constexpr size_t COUNT = 0x10000;
    if (sdl.words != nullptr) return sdl.words;
    sdl.words = mem_new_array<uint32_t>(COUNT);
    for (size_t i = 0; sdl.words != nullptr && i < COUNT; ++i)
        sdl.words[i] = packed(canvas_pixel_rgb(uint32_t(i)));
    return sdl.words;
}

// One row of the frame buffer in display colours.
void convert_row(const canvas_bitmap* frame, const uint32_t* slots, int y, int x1, int x2, uint32_t* out) {
    const uint8_t* row = frame->pixels + size_t(y) * frame->stride;
    switch (frame->pixel_bytes) {
    case 1:
        for (int x = x1; x < x2; ++x)
            *out++ = slots[row[x]];
        break;
    case 2: {
        const uint32_t* colors = word_colors();
        for (int x = x1; x < x2; ++x) {
            uint16_t pixel = 0;
            memcpy(&pixel, row + size_t(x) * 2, 2);
            *out++ = colors != nullptr ? colors[pixel] : packed(canvas_pixel_rgb(pixel));
        }
        break;
    }
    default: memcpy(out, row + size_t(x1) * 4, size_t(x2 - x1) * 4); break;
    }
}

// Stretches pixels to `scale` each; `room`: of the last one not all may fit.
void stretch_row(const uint32_t* row, int scale, uint32_t* out, int room) {
    for (; room > 0; room -= scale, out += scale)
        std::fill_n(out, std::min(scale, room), *row++);
}

void draw_box(SDL_Surface* to, const canvas_bitmap* frame, const uint32_t* slots, canvas_box box) {
    static uint32_t narrow[MOST_WIDTH];
    const int scale = sdl.scale;
    const int left = box.x1 * scale;
    const int room = std::min(box.x2 * scale, to->w) - left; // pixels of the display across
    for (int y = box.y1; y < box.y2; ++y) {
        uint8_t* target = static_cast<uint8_t*>(to->pixels) + ptrdiff_t{y} * scale * to->pitch + ptrdiff_t{left} * 4;
        auto* pixels = reinterpret_cast<uint32_t*>(target);
        convert_row(frame, slots, y, box.x1, box.x2, scale == 1 ? pixels : narrow);
        if (scale == 1) continue;
        stretch_row(narrow, scale, pixels, room);
        for (int i = 1; i < scale && y * scale + i < to->h; ++i)
            memcpy(target + ptrdiff_t{i} * to->pitch, target, size_t(room) * 4);
    }
}

void show(const canvas_bitmap* frame, const canvas_rgb* palette, const canvas_box* changed, int count) {
    SDL_Surface* shown = SDL_GetWindowSurface(sdl.window);
    SDL_Surface* to = shown == nullptr ? nullptr : drawing_surface(shown);
    if (to == nullptr) return;
    uint32_t slots[CANVAS_PALETTE_SIZE];
    for (int i = 0; i < CANVAS_PALETTE_SIZE; ++i)
        slots[i] = packed(palette[i]);
    SDL_Rect rects[64];
    int sent = 0;
    for (int i = 0; i < count && sent < 64; ++i) {
        // The window may have another size for a moment until the frame buffer follows.
        const canvas_box box = {changed[i].x1, changed[i].y1,
                                std::min({changed[i].x2, (to->w + sdl.scale - 1) / sdl.scale, MOST_WIDTH}),
                                std::min(changed[i].y2, (to->h + sdl.scale - 1) / sdl.scale)};
        if (box.x1 >= box.x2 || box.y1 >= box.y2) continue;
        draw_box(to, frame, slots, box);
        SDL_Rect* rect = &rects[sent++];
        *rect = {box.x1 * sdl.scale, box.y1 * sdl.scale, std::min(box.x2 * sdl.scale, to->w) - box.x1 * sdl.scale,
                 std::min(box.y2 * sdl.scale, to->h) - box.y1 * sdl.scale};
        if (to != shown) SDL_BlitSurface(to, rect, shown, rect);
    }
    sdl.size_changed = false;
    if (sent > 0) SDL_UpdateWindowSurfaceRects(sdl.window, rects, sent);
}

void warp(int x, int y) {
    SDL_WarpMouseInWindow(sdl.window, x * sdl.scale, y * sdl.scale);
}

SDL_SystemCursor system_cursor(host_cursor shape) {
    switch (shape) {
    case host_cursor::busy: return SDL_SYSTEM_CURSOR_WAIT;
    case host_cursor::size_we: return SDL_SYSTEM_CURSOR_SIZEWE;
    case host_cursor::size_ns: return SDL_SYSTEM_CURSOR_SIZENS;
    case host_cursor::size_nwse: return SDL_SYSTEM_CURSOR_SIZENWSE;
    case host_cursor::size_nesw: return SDL_SYSTEM_CURSOR_SIZENESW;
    case host_cursor::move: return SDL_SYSTEM_CURSOR_SIZEALL;
    default: return SDL_SYSTEM_CURSOR_ARROW;
    }
}

// Where the system says that it is, whether or not an event has told of it.
void pointer(int* x, int* y) {
    int at_x = 0;
    int at_y = 0;
    int left = 0;
    int top = 0;
    SDL_GetGlobalMouseState(&at_x, &at_y);
    SDL_GetWindowPosition(sdl.window, &left, &top);
    *x = to_frame(at_x - left);
    *y = to_frame(at_y - top);
}

// The desktop's own cursor, or a larger one.
SDL_Cursor* make_cursor(host_cursor shape, int unit) {
    cursor_picture picture = {};
    SDL_Cursor* cursor = nullptr;
    if (unit > 1 && shape != host_cursor::none && cursor_draw(shape, unit, &picture)) {
        SDL_Surface* surface = SDL_CreateRGBSurfaceWithFormatFrom(picture.pixels, picture.side, picture.side, 32,
                                                                  picture.side * 4, SDL_PIXELFORMAT_ARGB8888);
        if (surface != nullptr) cursor = SDL_CreateColorCursor(surface, picture.hot_x, picture.hot_y);
        SDL_FreeSurface(surface);
        mem_free(picture.pixels);
    }
    return cursor != nullptr ? cursor : SDL_CreateSystemCursor(system_cursor(shape));
}

void set_cursor(host_cursor shape, int factor) {
    const int unit = factor * sdl.scale;
    if (unit != sdl.cursor_unit) free_cursors();
    sdl.cursor_unit = unit;
    SDL_ShowCursor(shape == host_cursor::none ? SDL_DISABLE : SDL_ENABLE);
    SDL_Cursor** cursor = &sdl.cursors[int(shape)];
    if (*cursor == nullptr) *cursor = make_cursor(shape, unit);
    if (*cursor != nullptr) SDL_SetCursor(*cursor);
}

void set_icon(const uint32_t* pixels, int side) {
    SDL_Surface* surface = SDL_CreateRGBSurfaceWithFormatFrom(const_cast<uint32_t*>(pixels), side, side, 32, side * 4,
                                                              SDL_PIXELFORMAT_ARGB8888);
    if (surface != nullptr) SDL_SetWindowIcon(sdl.window, surface);
    SDL_FreeSurface(surface);
}

void set_title(const char* text) {
    char utf8[256];
    size_t used = 0;
    for (; *text != 0 && used + 3 < sizeof(utf8); ++text) {
        const auto c = uint8_t(*text);
        if (c >= 0x80) utf8[used++] = char(0xC0 | c >> 6);
        utf8[used++] = char(c < 0x80 ? c : 0x80 | (c & 0x3F));
    }
    utf8[used] = 0;
    SDL_SetWindowTitle(sdl.window, utf8);
}

// The display's bell, or the terminal's. Nothing of a sound system is started for it, which would write about itself.
void beep() {
#ifdef TINCT_WITH_X11
    if (x11_bell(sdl.window)) return;
#endif
    if (isatty(STDERR_FILENO) != 0) fputc('\a', stderr);
}

void set_state(host_state state) {
    switch (state) {
    case host_state::minimised: SDL_MinimizeWindow(sdl.window); break;
    case host_state::maximised: SDL_MaximizeWindow(sdl.window); break;
    case host_state::restored: SDL_RestoreWindow(sdl.window); break;
    }
}

} // namespace

const host_ops host_sdl = {
    .name = "sdl",
    .start = start,
    .stop = stop,
    .now = now,
    .poll = poll,
    .wait = wait,
    .show = show,
    .warp = warp,
    .pointer = pointer,
    .cursor = set_cursor,
    .title = set_title,
    .icon = set_icon,
    .beep = beep,
    .state = set_state,
};
#endif
