// Start and end: the entry of a program that uses the tools, where its files are, entering the tools, the screen.
#pragma once

#include <cstdint>

#include "platform/files.h"
#include "tools/toolfile.h" // root_dir

// ---- the process --------------------------------------------------------------------------------------------------

// What the entry calls on its way.
struct tools_program {
    void (*set_paths)(); // sets the environment variables of the product; null: they stay as they are
    int (*main)(int count, char** arguments, char** environment);
};

constexpr int TOOLS_ARGUMENTS = 38; // items of the command line behind the program's name; more are left out

// The whole life of the process: works out the paths, calls program->main, cleans up. `count`, `arguments`,
// `environment` are what the system gave. The program gets its file's path first and then the command line, word for
// word but for empty ones. Returns the exit status, which is what program->main returned.
int tools_process_entry(int count, char** arguments, char** environment, const tools_program* program);

// Stops the process from any depth: cleans up and ends it with status 0. Comes back only when a test has replaced
// stop_program()'s action; there is no window then.
void exit_program();

// The program file's base name without extension, the first letter as it stands and the others in lower case. "Ambit K"
// until the entry has set it.
extern char program_name[FILES_PATH_SIZE];

// The program file's directory, with forward slashes.
extern char program_dir[FILES_PATH_SIZE];

// Sets program_name, program_dir and root_dir for the program that was called as `argument0`. A root directory holds
// "fonts": VANTORAMA, "c:/vantor" and the program's directory are tried.
void set_program_paths(const char* argument0);

// ---- the tools ----------------------------------------------------------------------------------------------------

// Opens the main window and makes palette and slots. 0, also when they are entered already, or -1 without a screen or
// palette.
int Enter_tools();
int Exit_tools(); // does nothing: the main window stays to the end of the process. 0

// Destroys the main window and forgets everything. For the entry and for tests; Enter_tools() may follow.
void tools_leave();

// Asked when the user closes the main window: non-zero lets it go, and with it the process. Null agrees.
using tools_close_query = int (*)();
void tools_set_close_query(tools_close_query query);

// Told of what has no event: dropped files (desk_kind::drop), and steps of the wheel (desk_kind::wheel) as long as
// WHEEL_EVENT isn't enabled. It runs inside of tools_pump(), whatever loop is pumping: it is to note what came, and
// have the work done later. Null: nobody.
struct desk_message;
using tools_input_hook = void (*)(const desk_message* message);
void tools_set_input_hook(tools_input_hook hook);

// Told of each key that goes down, with its modifiers, before it becomes an event; true takes it. A character that the
// key types comes as an event all the same. It runs inside of tools_pump(), as the hook above. Null: nobody.
using tools_key_hook = bool (*)(const desk_message* message);
void tools_set_key_hook(tools_key_hook hook);

// Told that the screen has another size: the user has resized, maximised or restored the main window. screen_width and
// screen_height, and what Inq_screen_info() gives, are the new ones then; all windows stand where they stood. It is
// told once, when the size has stood still for SCREEN_SETTLES milliseconds, so not at every step of a drag. Like the
// hook above it runs inside of tools_pump(). Null: nobody.
constexpr uint32_t SCREEN_SETTLES = 120;
using tools_screen_hook = void (*)();
void tools_set_screen_hook(tools_screen_hook hook);

// ---- services -----------------------------------------------------------------------------------------------------

int Beep(int level); // one beep, and with a level of 2 or more three further ones. 0

// A modal message box: level 1 "FATAL", 2 "WARNING", any other "NOTE". `text` is Latin-1. The window doesn't count. 0
int Show_message(int window, const char* text, int level);

int Inq_displayed_vs(int* screen);              // 0
int Inq_screen_status(int number, int* status); // 0

constexpr int SCREEN_RECORDS = 8;
constexpr int SCREEN_WORDS = 25;
// Words of a record that mean something; the others are 0.
enum : int {
    SCREEN_NUMBER = 0, // -1: there is no such screen. All but the first
    SCREEN_PLANES = 1, // at most 8
    SCREEN_HIGHEST_COLOR = 2,
    SCREEN_WIDTH = 7, // screen_width, screen_height
    SCREEN_HEIGHT = 8,
    SCREEN_FLAGS = 9, // 256: true colour, from 15 planes on
    SCREEN_COLORS = 10,
    SCREEN_DITHER_PLANES = 11, // at most 8
};
int Inq_screen_info(int32_t records[SCREEN_RECORDS][SCREEN_WORDS]); // 0
