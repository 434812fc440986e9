// The colour bars: six bars with knobs and a swatch of the colour between them, drawn in a window.
#pragma once

struct color_bar_menu;

// Makes and draws it. Null after a message without memory.
color_bar_menu* color_bar_create(int window, int x, int y, int width, int height, double red, double green,
                                 double blue);
void color_bar_free(color_bar_menu* menu); // the caller paints the area again

// Moves the knobs and draws what has changed.
void color_bar_set(color_bar_menu* menu, double red, double green, double blue);

// Called in a drag: told() at each step, and more() while the pointer stands still, which does some of what told() has
// left undone. More gives false when there is nothing left.
struct color_bar_calls {
    void (*told)(double red, double green, double blue);
    bool (*more)();
};

// Reacts to a press: with `track` follows the pointer while the button is held, else one step. 1 when it hit the
// swatch, else 0. The colour that comes of it is told.
int color_bar_click(color_bar_menu* menu, int x, int y, bool track, color_bar_calls calls);
