// The commands of tinct-batch. Each takes the words behind its name and gives an exit status.
#pragma once

#include "common/program.h"

int command_info(word_list* words);
int command_pick(word_list* words);
int command_samples(word_list* words);
int command_apply(word_list* words);
