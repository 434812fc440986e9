// Messages and the orderly stop.
#include <string>

#include <gtest/gtest.h>

#include "support/bytes.h"
#include "support/log.h"

namespace {

struct recorder {
    int level = 0;
    int calls = 0;
    std::string text;
};

void record(void* user, int level, const char* text) {
    auto* to = static_cast<recorder*>(user);
    to->level = level;
    to->text = text;
    ++to->calls;
}

void note_status(void* user, int status) {
    *static_cast<int*>(user) = status;
}

} // namespace

TEST(Log, TakesOffOneNewlineAndShowsTheThreeLevelsOnly) {
    recorder seen;
    log_set_sink(record, &seen);
    log_message(LOG_WARNING, "pen = %d\n\n", 7);
    EXPECT_EQ(seen.text, "pen = 7\n");
    EXPECT_EQ(seen.level, LOG_WARNING);
    log_message(0, "hidden");
    log_message(4, "hidden");
    EXPECT_EQ(seen.calls, 1);
    log_message(LOG_ERROR, "%s", std::string(3000, 'x').c_str());
    EXPECT_EQ(seen.text.size(), static_cast<size_t>(LOG_TEXT_SIZE - 1));
    log_set_sink(nullptr, nullptr);
    log_message(LOG_ERROR, "nobody listens");
}

TEST(Log, AReplacedStopComesBack) {
    int status = 0;
    stop_set_action(note_status, &status);
    stop_program(1);
    stop_set_action(nullptr, nullptr);
    EXPECT_EQ(status, 1);
}

TEST(Bytes, TheCursorsErrorStays) {
    const uint8_t block[] = {1, 2, 3, 4, 5};
    byte_cursor in = cursor_over(block, sizeof block);
    EXPECT_EQ(take_u16le(&in), 0x0201);
    EXPECT_EQ(take_u32le(&in), 0u);
    EXPECT_TRUE(in.failed);
    EXPECT_EQ(take_u8(&in), 0);
}

TEST(Bytes, StoreAndLoadAgreeInBothOrders) {
    uint8_t block[8];
    store_u32be(block, 0x11223344u);
    EXPECT_EQ(block[0], 0x11);
    EXPECT_EQ(load_u32be(block), 0x11223344u);
    EXPECT_EQ(load_u32le(block), 0x44332211u);
    store_f64le(block, -0.15625);
    EXPECT_EQ(block[7], 0xBF);
    EXPECT_EQ(load_f64le(block), -0.15625);
}
