// The commands of rzl. Each takes the words behind its name and gives an exit status.
#pragma once

#include "common/program.h"

int command_formats(word_list* words);
int command_info(word_list* words);
int command_cat(word_list* words);
int command_convert(word_list* words);
