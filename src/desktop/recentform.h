// The list of the images that were opened last, over the other forms: a click on a row chooses it at once, Return the
// marked one, which is the latest. The image that is open, and files that are gone, are not listed.
#pragma once

#include "platform/files.h"

enum class recent_choice { nothing_to_choose, cancelled, chosen };

// Waits for the choice. `path` gets the full path of the chosen file.
recent_choice recent_choose(char path[FILES_PATH_SIZE]);
