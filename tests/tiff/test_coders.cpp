// The byte coders by themselves.
#include "tiff_fixture.h"

#include <memory>

class Coders : public TiffTest {};

TEST_F(Coders, PackBitsPieces) {
    auto packed = [](const bytes_of_file& in) {
        bytes_of_file out(in.size() * 2 + 4);
        out.resize(tif_packbits_pack(in.data(), out.data(), in.size()));
        return out;
    };
    auto literal = [](size_t n) {
        bytes_of_file b(n);
        for (size_t i = 0; i < n; ++i)
            b[i] = static_cast<uint8_t>(i);
        return b;
    };
    EXPECT_EQ(packed(bytes_of_file(65, 7)), (bytes_of_file{0xC1, 7, 0, 7}));
    EXPECT_EQ(packed(bytes_of_file(64, 7)), (bytes_of_file{0xC1, 7}));
    EXPECT_EQ(packed({9, 9}), (bytes_of_file{0xFF, 9}));
    EXPECT_EQ(packed({9}), (bytes_of_file{0, 9}));
    EXPECT_EQ(packed({1, 2, 2, 3}), (bytes_of_file{3, 1, 2, 2, 3})) << "two equal bytes end no literal run";
    EXPECT_EQ(packed({1, 2, 2, 2}), (bytes_of_file{0, 1, 0xFE, 2}));
    EXPECT_EQ(packed(literal(65)).size(), 66u) << "a last byte goes with the run in front of it";
    EXPECT_EQ(packed(literal(66)).size(), 68u);
    std::mt19937 random(1);
    for (size_t size = 0; size < 400; ++size) {
        size_t room = size + random() % 64; // what may be touched on the way
        bytes_of_file in(size), out(room + 8, 0xEE);
        for (uint8_t& b : in)
            b = static_cast<uint8_t>(random() % (size % 5 + 1));
        bytes_of_file code = packed(in);
        EXPECT_LE(code.size(), size + size / 64 + 2);
        size_t filled = 0;
        EXPECT_EQ(tif_packbits_unpack(code.data(), code.size(), out.data(), size, room, &filled), code.size());
        EXPECT_EQ(filled, size);
        EXPECT_TRUE(std::equal(in.begin(), in.end(), out.begin()));
        EXPECT_EQ(std::count(out.begin() + static_cast<std::ptrdiff_t>(room), out.end(), 0xEE), 8);
    }
    bytes_of_file out(4);
    size_t filled = 0;
    const uint8_t code[] = {0x80, 0x80, 1, 5, 6, 0xF0, 9, 3};
    EXPECT_EQ(tif_packbits_unpack(code, sizeof code, out.data(), 4, 4, &filled), 7u) << "-128 skips only itself";
    EXPECT_EQ(out, (bytes_of_file{5, 6, 9, 9}));
}

// Codes by hand, most significant bit first.
struct code_writer {
    bytes_of_file out;
    size_t filled = 0;
    void put(unsigned code, int width) {
        for (int i = width; i-- > 0; ++filled) {
            if (filled % 8 == 0) out.push_back(0);
            if ((code >> i & 1) != 0) out.back() = static_cast<uint8_t>(out.back() | 0x80 >> filled % 8);
        }
    }
};

TEST_F(Coders, LzwThereAndBack) {
    auto table = std::make_unique<tif_lzw_table>();
    std::mt19937 random(2);
    // Every length around the widths of codes, and long runs over many tables.
    for (size_t size = 0; size < 4200; size += size < 300 || (size > 760 && size < 780) ? 1 : 97)
        for (unsigned values : {1u, 2u, 256u}) {
            size_t length = size * (size % 97 == 5 ? 40 : 1);
            bytes_of_file in(length), code(tif_lzw_bound(length)), out(length + TIF_LZW_SLACK);
            for (uint8_t& b : in)
                b = static_cast<uint8_t>(random() % values);
            size_t bytes = tif_lzw_encode(in.data(), code.data(), length, table.get());
            ASSERT_LE(bytes, code.size());
            bool sound = false;
            ASSERT_EQ(tif_lzw_decode(code.data(), bytes, out.data(), length, &sound), length) << length;
            EXPECT_TRUE(sound);
            ASSERT_TRUE(std::equal(in.begin(), in.end(), out.begin())) << length << " of " << values;
            if (length < 3) continue;
            EXPECT_EQ(tif_lzw_decode(code.data(), bytes, out.data(), length - 1, &sound), length - 1);
            EXPECT_LE(tif_lzw_decode(code.data(), bytes - 2, out.data(), length, &sound), length);
        }
}

TEST_F(Coders, LzwTablesThatRunFull) {
    // All codes of a table, each a string of its own; then a clear code, or none.
    for (bool clear : {true, false}) {
        code_writer w;
        bytes_of_file expected;
        w.put(256, 9);
        for (unsigned i = 0; i <= 3837; ++i) {
            unsigned last = 257 + (i > 1 ? i - 1 : 0);
            int width = last < 510 ? 9 : last < 1022 ? 10 : last < 2046 ? 11 : 12;
            w.put(i * 7 % 256, width);
            expected.push_back(static_cast<uint8_t>(i * 7));
        }
        if (clear) w.put(256, 12);
        w.put(200, 9);
        w.put(257, 9);
        expected.push_back(200);
        bytes_of_file out(expected.size() + TIF_LZW_SLACK);
        bool sound = false;
        size_t bytes = tif_lzw_decode(w.out.data(), w.out.size(), out.data(), expected.size(), &sound);
        out.resize(bytes);
        EXPECT_EQ(out, expected) << clear;
    }
    // Codes that no table has.
    for (unsigned bad : {259u, 400u, 511u}) {
        code_writer w;
        w.put(256, 9);
        w.put(5, 9);
        w.put(bad, 9);
        bytes_of_file out(100 + TIF_LZW_SLACK);
        bool sound = true;
        EXPECT_EQ(tif_lzw_decode(w.out.data(), w.out.size(), out.data(), 100, &sound), 1u);
        EXPECT_FALSE(sound);
    }
}
