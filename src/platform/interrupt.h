// Interrupts as something that work can look at: between interrupt_watch() and interrupt_end() the first request of the
// user or the system to stop the process (SIGINT, SIGTERM, SIGHUP) is only noted, so that a long pass can end cleanly.
// A second one takes the effect that it had before.
#pragma once

void interrupt_watch();
bool interrupt_pending();

// Ends the watch. What was noted stays noted: interrupt_deliver() gives it to the process after all, and does nothing
// when there was none.
void interrupt_end();
void interrupt_deliver();
