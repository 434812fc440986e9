// Interrupts: see interrupt.h.
#include "platform/interrupt.h"

#include <csignal>
#include <iterator>

namespace {

constexpr int WATCHED[] = {SIGINT, SIGTERM, SIGHUP};

struct sigaction before[std::size(WATCHED)] = {};
bool watching = false;
volatile std::sig_atomic_t noted = 0; // the signal's number

void restore() {
    for (size_t i = 0; i < std::size(WATCHED); ++i)
        sigaction(WATCHED[i], &before[i], nullptr);
}

void note(int number) {
    noted = number;
    restore();
}

} // namespace

void interrupt_watch() {
    if (watching) return;
    noted = 0;
    struct sigaction mine = {};
    mine.sa_handler = note;
    for (size_t i = 0; i < std::size(WATCHED); ++i) {
        sigaction(WATCHED[i], nullptr, &before[i]);
        if (before[i].sa_handler != SIG_IGN) sigaction(WATCHED[i], &mine, nullptr);
    }
    watching = true;
}

bool interrupt_pending() {
    return noted != 0;
}

void interrupt_end() {
    if (watching) restore();
    watching = false;
}

void interrupt_deliver() {
    int number = noted;
    noted = 0;
    if (number != 0) std::raise(number);
}
