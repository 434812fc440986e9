// The main window's title.
#pragma once

// Shows the program's name, the open image's file, and the chosen surface.
void show_title();
