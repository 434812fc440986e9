// The commands of rzl. Each takes the words behind its name and gives an exit status.
#pragma once

#include "common/program.h"

// The whole program: a process, a test or a fuzz target gives it its words, the program's name first.
int rzl_run(int count, char** arguments);

int command_formats(word_list* words);
int command_info(word_list* words);
int command_cat(word_list* words);
int command_convert(word_list* words);
