#include "platform/lock.h"

#include <mutex>
#include <new>

#include "support/memory.h"

struct lock {
    std::recursive_mutex mutex;
};

lock* lock_new() {
    void* room = mem_alloc(sizeof(lock));
    return room != nullptr ? new (room) lock : nullptr;
}

void lock_enter(lock* l) {
    l->mutex.lock();
}

void lock_leave(lock* l) {
    l->mutex.unlock();
}

void lock_free(lock* l) {
    if (l == nullptr) return;
    l->~lock();
    mem_free(l);
}
