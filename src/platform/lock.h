// A re-entrant lock: the same thread may take it again and gives it back as often.
#pragma once

struct lock;

// A new lock, or null when there is no memory.
lock* lock_new();

// Takes the lock, waiting for another thread to give it back.
void lock_enter(lock* l);

// Gives the lock back once.
void lock_leave(lock* l);

// Releases a lock that nobody holds; null does nothing.
void lock_free(lock* l);
