// Loops that follow the mouse while a button is held on a gadget. They wait with the display layer's own wait, so they
// cost nothing while nothing happens, and events that aren't theirs stay on their queues in order.
//
//     fi_track track;
//     fi_track_begin(&track, g, window, transition);
//     while (fi_track_next(&track) != fi_tracked::ended)
//         ... the pointer is at track.x, track.y; may call out, if the caller holds the gadget
//     fi_track_end(&track);
//
// A press that has been released already (an even transition) gives one round and then the end.
#pragma once

#include "forms/ops.h"

struct fi_track {
    FI_gadget* gadget; // held by the caller
    int window;
    int x, y;       // the pointer in the window
    bool held;      // the button is down, as far as is known
    bool first;     // no round has been given
    int timer;      // -1: none
    bool had_timer; // timer events were wanted before
};

enum class fi_tracked : uint8_t {
    moved, // the first round, or the pointer is elsewhere than before
    tick,  // the timer came
    ended  // the button was released, or the gadget can't be followed any more; x, y are of that moment
};

void fi_track_begin(fi_track* track, FI_gadget* g, int window, int transition);
// From now on fi_track_next() gives a tick after each so many ticks, one for each event of this timer.
void fi_track_start_timer(fi_track* track, int ticks);
fi_tracked fi_track_next(fi_track* track); // blocks
// Stops the timer. Timers of the application have their events still.
void fi_track_end(fi_track* track);
