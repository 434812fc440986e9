// Clickable regions: rectangles of windows, and what a press of button 1 in them does.
#pragma once

#include <cstdint>

constexpr int REGION_COUNT = 256;

using region_action = void (*)(void* argument);

// Puts a region into the table, in the first slot that is free or holds one with the same window, x1, y1 and y2, which
// it replaces. The rectangle is inclusive. The slot's number, or -1 when the table is full.
int region_add(int window, int x1, int y1, int x2, int y2, region_action action, void* argument);

// Frees a slot. A number outside of the table does nothing.
void region_remove(int slot);

// Calls the action of the first region that holds the point. 1, or 0 when none does.
int region_hit(int window, int x, int y);
