// On a screen of true colours the forms draw in direct colours instead of slots of the palette.
#pragma once

// Has the toolkit make its windows, and draw in them, so (true), or as it does by itself (false).
void direct_colors_use(bool on);

// Chooses a logical colour of the screen in a form's window, for what the program draws there itself.
void form_fgcolor(int window, int logical);
