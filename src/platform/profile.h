// Profile files: text of sections "[Name]" and lines "Key=value", as vantor.ini. Section and key names are compared
// without regard to case; blanks around keys and values do not count, and a value may stand in quotes, which go.
// Lines that begin with ";" or "#" are comments.
#pragma once

#include <cstddef>

// Writes the path of vantor.ini into `path`: the environment's VANTORA_INI, else vantorama/vantor.ini below
// XDG_CONFIG_HOME, else below .config in HOME. False when none of them is set or the path does not fit.
bool profile_default_path(char* path, size_t size);

// Reads one value. When the file, the section or the key is missing, `fallback` is given. The text is cut to `size`
// with its terminator. Returns true when the value came from the file.
bool profile_get(const char* path, const char* section, const char* key, const char* fallback, char* value,
                 size_t size);

// Stores one value, keeping all other lines as they are. The file is written beside and renamed, so that a failure
// leaves the old one whole; its directory is made when missing. Returns false on failure.
bool profile_set(const char* path, const char* section, const char* key, const char* value);
