// What the sources of the output pipeline share: the message of a failure with its place, the entry test of a pack,
// what a pack owns, and progress messages and stops.
#pragma once

#include <cstddef>

#include "output/impack.h"

// Stores the code in imp_error and gives it back.
int imp_fail(int code);

// The same, and logs the message at level 2 when imp_verbose is set. `format` is followed by what it asks for.
int imp_fail_saying(int code, const char* format, ...) __attribute__((format(printf, 2, 3)));

// The same, logged in any case.
int imp_fail_telling(int code, const char* format, ...) __attribute__((format(printf, 2, 3)));

// True when a plane of the three is missing that pixels are to come from.
bool imp_lacks_planes(const Impack* pack);

// IMP_OK, or the code for a null pack or one whose magic word is wrong, after its message. `file` is the source's word.
int imp_check_pack(const Impack* pack, int line, const char* file);

// The part of a path behind its last "\" or "/"; the whole path when it has none.
const char* imp_file_name(const char* path);

// The pack's file_name, or an empty text.
const char* imp_name_of(const Impack* pack);

// A size as the messages of failed allocations print it.
int imp_printed(size_t bytes);

// ---- what a pack owns ----------------------------------------------------------------------------------------------

// Release a plane or the table of a pack and clear its pointer. What the caller shares stays; what the pipeline made
// goes whether planes are shared or not.
void imp_release_planes(Impack* pack); // red, green and blue
void imp_release_index(Impack* pack);
void imp_release_vlt(Impack* pack); // also sets vlt_count to 0

// ---- progress ------------------------------------------------------------------------------------------------------

// Progress and stop arguments of one call.
struct imp_progress {
    uint32_t stop_mask;
    int32_t stop_interval; // lines
    imp_stop_function stop_fn;
    uint32_t msg_mask;
    int32_t msg_interval; // lines
    imp_log_function log_fn;
    int32_t since_message; // lines
    int32_t since_look;    // lines
};

// Whether all of these messages are asked for.
bool imp_wants(const imp_progress* p, uint32_t messages);

// Gives a message to log_fn, which imp_wants() has found.
void imp_tell(const imp_progress* p, int level, const char* format, ...) __attribute__((format(printf, 3, 4)));

// Counts a line; true when a counter is due.
bool imp_message_due(imp_progress* p);

// Counts a line and looks at the events when it is time. True when the work is to stop.
bool imp_line_stops(imp_progress* p);

// Looks at the events now.
bool imp_step_stops(const imp_progress* p);
