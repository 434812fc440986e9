// The re-entrant lock.
#include <thread>

#include <gtest/gtest.h>

#include "platform/lock.h"

TEST(Lock, TheSameThreadMayTakeItAgainAndOthersWait) {
    lock* l = lock_new();
    ASSERT_NE(l, nullptr);
    long sum = 0;
    auto add = [&] {
        for (int i = 0; i < 10000; ++i) {
            lock_enter(l);
            lock_enter(l);
            ++sum;
            lock_leave(l);
            lock_leave(l);
        }
    };
    std::thread other(add);
    add();
    other.join();
    EXPECT_EQ(sum, 20000);
    lock_free(l);
    lock_free(nullptr);
}
