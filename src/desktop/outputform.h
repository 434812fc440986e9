// The output form: where the picture is to be saved, and as what.
#pragma once

#include "output/impack.h"
#include "platform/files.h"

// Runs the form. 0 when the user accepted, with the first file and the settings; 1 when the user gave up; another
// status when the form can't be made.
int output_form_run(const char* title, const char* message, char path[FILES_PATH_SIZE], output_settings* settings);

void output_form_end(); // forgets what it keeps from one use to the next
