// What the window's library doesn't offer of an X display. For the host in a window only.
#pragma once

struct SDL_Window;

// Rings the display's bell. False when the window isn't on an X display.
bool x11_bell(SDL_Window* window);

// Whether a window manager runs, which maximises, frames and places windows. True elsewhere than on an X display: there
// is always something of the kind.
bool x11_has_manager(SDL_Window* window);
