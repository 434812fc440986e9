// Files as memory: see mapping.h.
#include "platform/mapping.h"

#include <atomic>
#include <csignal>
#include <iterator>

#include <sys/mman.h>
#include <unistd.h>

#include "platform/faults.h"

namespace {

// A mapping as the handler sees it. `first` is 0 while the place is free, and 1 while it is being filled.
struct known_mapping {
    std::atomic<uintptr_t> first;
    std::atomic<size_t> size; // bytes, whole pages
    std::atomic<bool> cut;
};

known_mapping known[512];
struct sigaction before;
std::atomic<uintptr_t> page_size;

enum handler_state { NOT_INSTALLED, INSTALLING, INSTALLED };
std::atomic<int> handler;

known_mapping* mapping_with(uintptr_t address) {
    for (known_mapping& k : known) {
        uintptr_t first = k.first.load(std::memory_order_acquire);
        if (address >= first && address - first < k.size.load(std::memory_order_relaxed)) return &k;
    }
    return nullptr;
}

// Zeros from the page of `address` to the end of its mapping. Nothing but a system call, which a handler may make.
bool put_zeros(known_mapping* k, uintptr_t address) {
    uintptr_t page = address & ~(page_size.load(std::memory_order_relaxed) - 1);
    uintptr_t end = k->first.load(std::memory_order_relaxed) + k->size.load(std::memory_order_relaxed);
    void* zeros =
        mmap(reinterpret_cast<void*>(page), end - page, PROT_READ, MAP_PRIVATE | MAP_ANONYMOUS | MAP_FIXED, -1, 0);
    if (zeros == MAP_FAILED) return false;
    k->cut.store(true, std::memory_order_relaxed);
    return true;
}

void pass_on(int number, siginfo_t* info, void* context) {
    if ((before.sa_flags & SA_SIGINFO) != 0) {
        before.sa_sigaction(number, info, context);
    } else if (before.sa_handler != SIG_DFL && before.sa_handler != SIG_IGN) {
        before.sa_handler(number);
    } else {
        // The touch is repeated behind this, and takes the system's course.
        std::signal(number, SIG_DFL);
    }
}

void on_bus_error(int number, siginfo_t* info, void* context) {
    auto address = reinterpret_cast<uintptr_t>(info->si_addr);
    known_mapping* k = info->si_code > 0 ? mapping_with(address) : nullptr; // 0 and less: sent by a process
    if (k == nullptr || !put_zeros(k, address)) pass_on(number, info, context);
}

// False while another thread is at it, or when the system refuses.
bool handler_stands() {
    int state = NOT_INSTALLED;
    if (!handler.compare_exchange_strong(state, INSTALLING)) return state == INSTALLED;
    page_size = static_cast<uintptr_t>(sysconf(_SC_PAGESIZE));
    struct sigaction mine = {};
    mine.sa_sigaction = on_bus_error;
    mine.sa_flags = SA_SIGINFO | SA_ONSTACK;
    sigemptyset(&mine.sa_mask);
    bool installed = sigaction(SIGBUS, nullptr, &before) == 0 && sigaction(SIGBUS, &mine, nullptr) == 0;
    handler = installed ? INSTALLED : NOT_INSTALLED;
    return installed;
}

int take_place() {
    for (int i = 0; i < static_cast<int>(std::size(known)); ++i) {
        uintptr_t nobody = 0;
        if (known[i].first.compare_exchange_strong(nobody, 1)) return i;
    }
    return -1;
}

} // namespace

bool mapping_make(os_file file, int64_t offset, size_t size, file_mapping* mapping) {
    *mapping = {};
    size = transfer_limit(size);
    int place = size > 0 && handler_stands() ? take_place() : -1;
    if (place < 0) return false;
    void* bytes = mmap(nullptr, size, PROT_READ, MAP_SHARED, static_cast<int>(file), offset);
    if (bytes == MAP_FAILED) {
        known[place].first = 0;
        return false;
    }
    uintptr_t page = page_size;
    known[place].size = (size + page - 1) / page * page;
    known[place].cut = false;
    known[place].first.store(reinterpret_cast<uintptr_t>(bytes), std::memory_order_release);
    *mapping = {static_cast<const uint8_t*>(bytes), size, place};
    return true;
}

bool mapping_is_cut(const file_mapping* mapping) {
    return mapping->bytes != nullptr && known[mapping->place].cut.load(std::memory_order_relaxed);
}

void mapping_drop(file_mapping* mapping) {
    if (mapping->bytes == nullptr) return;
    munmap(const_cast<uint8_t*>(mapping->bytes), mapping->size);
    known[mapping->place].first = 0;
    *mapping = {};
}
