// The memory seam: sizes that do not fit, and the plan by which the n-th allocation fails.
#include <cstdint>

#include <gtest/gtest.h>

#include "support/checked.h"
#include "support/memory.h"

TEST(Memory, RefusesSizesThatDoNotFit) {
    EXPECT_EQ(mem_alloc_array(SIZE_MAX / 2, 3), nullptr);
    int32_t product = 0;
    EXPECT_FALSE(checked_mul(int64_t{1} << 31, 1, &product));
    EXPECT_TRUE(checked_mul(46340, 46340, &product));
}

TEST(Memory, FailsThePlannedAllocationOnceOrAllFromItOn) {
    const long before = mem_live();
    mem_fail_after(1, mem_fail::once);
    void* first = mem_alloc(10);
    EXPECT_EQ(mem_alloc_zeroed(10), nullptr);
    void* third = mem_realloc(first, 20);
    EXPECT_TRUE(mem_fail_stop());
    ASSERT_NE(third, nullptr);
    mem_free(third);
    EXPECT_EQ(mem_live(), before);
    mem_fail_after(0, mem_fail::onward);
    EXPECT_EQ(mem_alloc(1), nullptr);
    EXPECT_EQ(mem_copy_text("text"), nullptr);
    EXPECT_TRUE(mem_fail_stop());
    mem_fail_after(5, mem_fail::once);
    mem_free(mem_alloc(1));
    EXPECT_FALSE(mem_fail_stop());
}

TEST(Memory, AFailedGrowthKeepsTheBlock) {
    auto* text = mem_copy_text("kept");
    mem_fail_after(0, mem_fail::once);
    EXPECT_EQ(mem_realloc(text, 1000), nullptr);
    mem_fail_stop();
    EXPECT_STREQ(text, "kept");
    mem_free(text);
}
