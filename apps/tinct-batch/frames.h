// The frames of a sequence: names by pattern and range ("shot.%05d.tnc" and 1-100), and one process a frame, so that
// nothing that goes wrong with one reaches another.
#pragma once

#include "request.h"

// What is wrong with the names and the range of a request for frames. EXIT_DONE, or EXIT_USAGE after a message.
int frames_check(const apply_request* request);

// Has each frame done by a process of its own, or prints their commands, one a line, when the request asks for a list.
// `words` are all of the command's. Frames that fail leave the others alone. EXIT_DONE when every frame was done.
int frames_run(const apply_request* request, const word_list* words);
