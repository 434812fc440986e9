// The compressed stream: against streams of the test's own writer in all widths, by single codes at the edges of the
// format, and on streams that make no sense.
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <random>

#include "platform/files.h"
#include "tnc/decompress.h"
#include "tnc_fixture.h"

namespace {

struct decompress_test : tnc_test {
    bool opened = false;
    bool damaged = false;

    // All bytes of a stream, taken singly and in blocks by turns.
    bytes decoded(const bytes& stream) {
        write(stream);
        file_reader* file = reader_open(path.c_str());
        decompress_context* context = decompress_open(file);
        opened = context != nullptr;
        bytes got;
        uint8_t block[1000];
        for (int byte = decompress_getc(context); byte >= 0; byte = decompress_getc(context)) {
            EXPECT_FALSE(decompress_is_damaged(context) && context->next != context->end);
            got.push_back(low(byte));
            size_t count = decompress_read(block, 1, got.size() % 1000, context);
            got.insert(got.end(), block, block + count);
        }
        EXPECT_EQ(decompress_getc(context), -1);
        damaged = decompress_is_damaged(context);
        decompress_close(context);
        reader_close(file);
        return got;
    }
};

bytes text(const char* s) {
    return {s, s + std::strlen(s)};
}

bytes sample_data(size_t size, unsigned seed) {
    std::mt19937 random(seed);
    bytes data(size);
    for (size_t i = 0; i < size; ++i)
        data[i] = i > 100 && random() % 8 != 0 ? data[i - 1 - random() % 3] : low(static_cast<int>(random()));
    return data;
}

TEST_F(decompress_test, every_width_in_both_modes) {
    for (int max_bits = 9; max_bits <= 16; ++max_bits) {
        bytes data = sample_data(300000U >> (16 - max_bits), 7); // more than fills the table
        data.insert(data.end(), 5000, 7);                        // strings that define themselves
        for (int clear_every : {0, 700, 61}) {
            ASSERT_EQ(decoded(compressed(data, max_bits, true, clear_every)), data) << max_bits << " " << clear_every;
        }
        ASSERT_EQ(decoded(compressed(data, max_bits, false, 0)), data) << max_bits;
        EXPECT_FALSE(damaged);
    }
}

// The independent tool. Its streams of 9 bits it can not read itself.
TEST_F(decompress_test, streams_of_the_compress_tool) {
    bytes data = sample_data(200000, 3);
    for (int max_bits : {10, 12, 16}) {
        std::string plain = path + ".plain";
        std::ofstream(plain, std::ios::binary).write(reinterpret_cast<const char*>(data.data()), 200000);
        std::string command = "compress -f -c -b " + std::to_string(max_bits) + " " + plain + " > " + path;
        ASSERT_EQ(std::system(command.c_str()), 0);
        std::ifstream in(path, std::ios::binary);
        bytes stream((std::istreambuf_iterator<char>(in)), std::istreambuf_iterator<char>());
        ASSERT_EQ(decoded(stream), data) << max_bits;
        std::filesystem::remove(plain);
    }
}

TEST_F(decompress_test, single_codes) {
    lzw_writer self(9, true);
    for (int code : std::initializer_list<int>{'a', 257, 258, 'b'})
        self.code(code);
    EXPECT_EQ(decoded(self.finish()), text("aaaaaab"));

    lzw_writer plain(9, false);
    for (int code : std::initializer_list<int>{'a', 'b', 256, 257})
        plain.code(code);
    EXPECT_EQ(decoded(plain.finish()), text("abab"
                                            "ba"));

    // The first entry behind a clear code is 257 again, a second clear code is one more, and each ends its block.
    lzw_writer clear(9, true);
    for (int code : std::initializer_list<int>{'a', 'b', 256})
        clear.code(code);
    clear.change_width(9);
    clear.code(256);
    clear.change_width(9);
    for (int code : std::initializer_list<int>{'x', 'y', 257})
        clear.code(code);
    EXPECT_EQ(decoded(clear.finish()), text("abxyxy"));

    // A clear code that is the last of its block drops nothing.
    lzw_writer last(9, true);
    for (int code : std::initializer_list<int>{'1', '2', '3', '4', '5', '6', '7', 256, 'x', 'y', 257})
        last.code(code);
    EXPECT_EQ(decoded(last.finish()), text("1234567xyxy"));

    // The code that isn't whole at the end of a short block is not given out.
    lzw_writer cut(9, true);
    for (int code : std::initializer_list<int>{'a', 'b', 'c'})
        cut.code(code);
    bytes stream = cut.finish();
    stream.pop_back();
    EXPECT_EQ(decoded(stream), text("ab"));
    EXPECT_FALSE(damaged);
}

TEST_F(decompress_test, streams_that_cannot_start) {
    EXPECT_EQ(decompress_open(nullptr), nullptr);
    struct {
        bytes stream;
        const char* message;
    } cases[] = {
        {{}, "2:input file: not in compressed format\n"},
        {{0x1F, 0x9E, 0x90, 'a', 0}, "2:input file: not in compressed format\n"},
        {{0x1F, 0x9D, 17, 'a', 0}, "2:input file: compressed with 17 bits, can only handle 16 bits\n"},
        {{0x1F, 0x9D, 8, 'a', 0}, ""},
        {{0x1F, 0x9D}, ""},
        {{0x1F, 0x9D, 0x90, 'a'}, ""},        // no whole code
        {{0x1F, 0x9D, 0x90, 0x2C, 0x01}, ""}, // the first code is 300
    };
    for (const auto& c : cases) {
        messages.clear();
        EXPECT_TRUE(decoded(c.stream).empty());
        EXPECT_FALSE(opened);
        EXPECT_EQ(messages, c.message);
    }
    EXPECT_EQ(decoded({0x1F, 0x9D, 16, 'a', 0}), text("a"));
}

TEST_F(decompress_test, damaged_codes_end_the_data) {
    lzw_writer undefined(12, true);
    for (int code : std::initializer_list<int>{'a', 'b', 400, 'c', 400, 401, 402})
        undefined.code(code);
    EXPECT_EQ(decoded(undefined.finish()), text("abbb"));
    EXPECT_TRUE(damaged);

    lzw_writer stale(12, true); // names an entry from before the clear code
    for (int code : std::initializer_list<int>{'a', 'b', 257, 256})
        stale.code(code);
    stale.change_width(9);
    for (int code : std::initializer_list<int>{257, 257, 257})
        stale.code(code);
    EXPECT_EQ(decoded(stale.finish()), text("abababa"));
    EXPECT_TRUE(damaged);

    // Strings of 1, 2, 3 ... equal bytes: the one of 8000 is the last that is taken.
    lzw_writer growing(16, true);
    for (int i = 0, next = 257; i < 8002; ++i, ++next) {
        growing.code(i == 0 ? 0 : 256 + i);
        if (next > (1 << growing.bits) - 1) growing.change_width(growing.bits + 1);
    }
    EXPECT_EQ(decoded(growing.finish()).size(), 8000U * 8001 / 2);
    EXPECT_TRUE(damaged);
}

} // namespace
