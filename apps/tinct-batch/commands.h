// The commands of tinct-batch. Each takes the words behind its name and gives an exit status.
#pragma once

#include "common/program.h"

// The whole program: a process, a test or a fuzz target gives it its words, the program's name first.
int batch_run(int count, char** arguments);

int batch_info(word_list* words);
int batch_pick(word_list* words);
int batch_samples(word_list* words);
int batch_apply(word_list* words);
