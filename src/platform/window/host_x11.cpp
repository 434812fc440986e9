// The bell and the window manager of an X display.
#ifdef TINCT_WITH_X11
#include "platform/window/host_x11.h"

#include <SDL_syswm.h>
#include <X11/Xlib.h>

namespace {

Display* display_of(SDL_Window* window) {
    SDL_SysWMinfo info;
    SDL_VERSION(&info.version);
    if (SDL_GetWindowWMInfo(window, &info) != SDL_TRUE || info.subsystem != SDL_SYSWM_X11) return nullptr;
    return info.info.x11.display;
}

} // namespace

bool x11_bell(SDL_Window* window) {
    Display* display = display_of(window);
    if (display == nullptr) return false;
    XBell(display, 0);
    XFlush(display);
    return true;
}

bool x11_has_manager(SDL_Window* window) {
    Display* display = display_of(window);
    if (display == nullptr) return true;
    // A window manager keeps this property of the root window.
    const Atom name = XInternAtom(display, "_NET_SUPPORTING_WM_CHECK", True);
    if (name == None) return false;
    Atom type = None;
    int format = 0;
    unsigned long items = 0;
    unsigned long left = 0;
    unsigned char* value = nullptr;
    XGetWindowProperty(display, DefaultRootWindow(display), name, 0, 1, False, AnyPropertyType, &type, &format, &items,
                       &left, &value);
    if (value != nullptr) XFree(value);
    return items > 0;
}
#endif
