// Running this program again with other words, and waiting for it.
#pragma once

// Starts the running program's own file with `words` (the program's name first, null behind the last), and waits until
// it ends. Standard input, output and error are shared. Gives its exit status, 128 and the signal when one ended it, or
// -1 when it could not be started.
int child_run(const char* const* words);
