// The codes: lines against streams written down digit by digit, the forms of a line, and what damage does.
#include "ccitt/ccitt_fixture.h"

namespace {

constexpr cit_coding ALL[] = {cit_coding::aligned, cit_coding::g3_1d, cit_coding::g3_2d, cit_coding::g4};

const std::string EOL = "000000000001 ";
const std::string WHITE_8 = "10011 "; // a white run of 8: a line of 8 pixels

// Output of one line without any codes around it.
std::string coded_1d(const run_list& runs) {
    uint32_t width = 0;
    for (uint16_t run : runs)
        width += run;
    bytes_of_file buffer(200);
    cit_encoder* e = cit_encoder_new();
    EXPECT_TRUE(cit_encoder_start_g3(e, width, 1, buffer.data(), buffer.size(), -2, 0));
    EXPECT_EQ(cit_encode_1d(e, runs.data(), runs.size()), CIT_OK);
    size_t words = 0;
    EXPECT_EQ(cit_encoder_finish_g3(e, &words), CIT_OK);
    cit_encoder_free(e);
    std::string digits;
    for (size_t i = 0; i < words * 16; ++i)
        digits += (buffer[i / 8] >> i % 8 & 1) != 0 ? '1' : '0';
    return digits;
}

void expect_digits(const run_list& runs, std::string digits) {
    std::erase(digits, ' ');
    std::string coded = coded_1d(runs);
    EXPECT_EQ(coded.substr(0, digits.size()), digits);
    EXPECT_EQ(coded.find('1', digits.size()), std::string::npos);
    EXPECT_LT(coded.size(), digits.size() + 16);
}

TEST_F(CcittTest, RunsOfOneLineHaveTheirCodes) {
    const std::string LONGEST = "000000011111 ";
    expect_digits({2560}, LONGEST + "00110101");
    expect_digits({2561}, LONGEST + "000111");
    expect_digits({5120}, LONGEST + LONGEST + "00110101");
    expect_digits({0, 5121, 64}, "00110101" + LONGEST + LONGEST + "010" + "11011 00110101");
    expect_digits({1728 + 63, 1728 + 63}, "010011011 00110100 0000001100101 000001100111");
    expect_digits({2, 3, 0, 4, 1}, "0111 00011 000111"); // a run of 0 joins its neighbours

    uint16_t short_of_width[] = {5, 2};
    cit_writer* w = cit_writer_new(cit_coding::g3_1d, 8, 0);
    EXPECT_EQ(cit_writer_runs(w, short_of_width, 2), CIT_BAD_DATA);
    cit_writer_free(w);
}

TEST_F(CcittTest, GroupFourLinesHaveTheirCodes) {
    // White; 4 white 4 black; the same one to the right; a run that goes, by a pass; black all over.
    std::vector<run_list> lines = {{40}, {4, 4, 32}, {5, 4, 31}, {40}, {0, 40, 0}};
    bytes_of_file coded = encode(cit_coding::g4, page_of_runs(40, lines));
    bytes_of_file expected = stream_of("1 001 1011 011 1 011 011 1 0001 1 001 00110101 000001101100 " + EOL + EOL);
    expected.resize((expected.size() + 3) / 4 * 4);
    EXPECT_EQ(coded, expected);
    whole_image back = decode_whole(cit_decode_g4, 40, 5, coded);
    EXPECT_EQ(back.result, CIT_OK);
    EXPECT_EQ(back.lines, lines);
    EXPECT_EQ(back.params.words, 5u);
}

TEST_F(CcittTest, EndOfLineCodesAreWhatKAsksFor) {
    page p(8, 3);
    std::string three = EOL + WHITE_8 + EOL + WHITE_8 + EOL + WHITE_8;
    std::string end = EOL + EOL + EOL + EOL + EOL + EOL;
    auto even = [](bytes_of_file b) { return b.size() % 2 != 0 ? b.push_back(0) : void(), b; };
    EXPECT_EQ(encode(cit_coding::g3_1d, p), even(stream_of(three + end)));
    std::string tagged = EOL + "1" + WHITE_8 + EOL + "0 1" + EOL + "1" + WHITE_8;
    std::string tagged_end;
    for (int i = 0; i < 6; ++i)
        tagged_end += EOL + "1";
    EXPECT_EQ(encode(cit_coding::g3_2d, p, 2), even(stream_of(tagged + tagged_end)));
    EXPECT_EQ(encode(cit_coding::g3_2d, p, 0),
              even(stream_of(EOL + "1" + WHITE_8 + EOL + "0 1" + EOL + "0 1" + tagged_end)));
    EXPECT_EQ(encode(cit_coding::aligned, p), even(stream_of("10011000 10011000 10011000")));
}

TEST_F(CcittTest, PagesComeBackInEveryCodingAndWidth) {
    for (uint32_t width : {1u, 7u, 8u, 15u, 16u, 17u, 63u, 64u, 65u, 128u, 1728u, 5003u, 70001u, 140000u}) {
        page p = make_page(width, width > 60000 ? 42 : 83, width);
        for (cit_coding coding : ALL)
            for (int32_t k : {0, 1, 4}) {
                bool unended = true;
                page back = decode(coding, width, p.lines, encode(coding, p, k), nullptr, &unended);
                ASSERT_EQ(back.bits, p.bits) << "width " << width << " coding " << int(coding) << " k " << k;
                EXPECT_FALSE(unended);
            }
    }
}

TEST_F(CcittTest, WholeDecodersGiveTheSameLinesAsTheReader) {
    page p = make_page(3001, 200, 5);
    auto expect_same = [&](const whole_image& image) {
        EXPECT_EQ(image.result, CIT_OK);
        ASSERT_EQ(image.params.lines, p.lines);
        for (uint32_t y = 0; y < p.lines; ++y) {
            run_list runs(cit_max_runs(p.width));
            runs.resize(cit_bits_to_runs(p.width, p.line(y), runs.data()));
            if (runs.size() % 2 == 0) runs.push_back(0);
            ASSERT_EQ(image.lines[y], runs) << "line " << y;
        }
    };
    expect_same(decode_whole(cit_decode_g4, 3001, 200, encode(cit_coding::g4, p)));
    expect_same(decode_whole(cit_decode_1d, 3001, 200, encode(cit_coding::aligned, p)));
    expect_same(decode_whole(cit_decode_g3, 3001, 200, encode(cit_coding::g3_1d, p), -1));
    expect_same(decode_whole(cit_decode_g3, 3001, 200, encode(cit_coding::g3_2d, p), 0));
}

TEST_F(CcittTest, RunsAndBitsAreTwoFormsOfALine) {
    uint8_t words[4] = {0x0F, 0x80, 0xFF, 0x40}; // black: 0, 12 to 15, 17; what is behind the width counts for nothing
    uint16_t runs[22];
    ASSERT_EQ(cit_bits_to_runs(19, words, runs), 7u);
    EXPECT_EQ(run_list(runs, runs + 7), (run_list{0, 1, 11, 4, 1, 1, 1}));
    uint8_t back[4] = {0xAA, 0xAA, 0xAA, 0xAA};
    cit_runs_to_bits(19, runs, back);
    EXPECT_EQ(bytes_of_file(back, back + 4), (bytes_of_file{0x0F, 0x80, 0x00, 0x40}));
    EXPECT_EQ(cit_runs_to_bytes(19, runs, back), 3u);
    EXPECT_EQ(bytes_of_file(back, back + 3), (bytes_of_file{0x01, 0xF0, 0x02}));
    uint8_t bytes[11] = {1, 2, 3, 4, 5, 6, 7, 8, 0x80, 0xF0, 0x6A};
    cit_reverse_bytes(bytes, 11);
    EXPECT_EQ(bytes_of_file(bytes, bytes + 11),
              (bytes_of_file{0x80, 0x40, 0xC0, 0x20, 0xA0, 0x60, 0xE0, 0x10, 0x01, 0x0F, 0x56}));
    // A run that a word can't tell.
    page wide = page_of_runs(150000, {{65535, 0, 14465, 65535, 0, 4465, 0}});
    run_list cut(cit_max_runs(150000));
    cut.resize(cit_bits_to_runs(150000, wide.line(0), cut.data()));
    EXPECT_EQ(cut, (run_list{32767, 0, 32767, 0, 14466, 32767, 0, 32767, 0, 4466}));
}

TEST_F(CcittTest, ASinkTakesWhatFitsAndSaysSo) {
    uint32_t offsets[3];
    uint16_t buffer[8];
    cit_sink sink = {buffer, offsets, 10, 3, 0, 8, false};
    const uint16_t line[] = {3, 7, 0};
    EXPECT_EQ(cit_sink_line(&sink, line, 3, 1), CIT_OK);
    EXPECT_EQ(cit_sink_line(&sink, line, 1, 2), CIT_OK);
    EXPECT_EQ(sink.fill, 4u);
    EXPECT_EQ(run_list(buffer, buffer + 4), (run_list{3, 7, 0, 3}));
    EXPECT_EQ(offsets[1], 3u);
    const uint16_t four[] = {1, 1, 1, 7};
    EXPECT_EQ(cit_sink_line(&sink, four, 4, 3), CIT_NO_MEMORY);
    EXPECT_EQ(cit_sink_line(&sink, line, 1, 4), CIT_NO_MEMORY);
    cit_sink growing = {nullptr, offsets, 10, 3, 0, 0, true};
    mem_fail_after(0, mem_fail::once);
    EXPECT_EQ(cit_sink_line(&growing, four, 4, 1), CIT_BUFFER_FULL);
    mem_fail_stop();
    EXPECT_EQ(cit_sink_line(&growing, four, 4, 1), CIT_OK);
    EXPECT_EQ(run_list(growing.runs, growing.runs + growing.fill), (run_list{1, 1, 1, 7, 0}));
    mem_free(growing.runs);
}

TEST_F(CcittTest, AFullBufferIsToldAndNotOverrun) {
    page p = make_page(300, 40, 3);
    bytes_of_file coded = encode(cit_coding::g4, p);
    cit_encoder* e = cit_encoder_new();
    for (size_t size = 0; size <= coded.size(); size += 2) {
        bytes_of_file buffer(size);
        ASSERT_TRUE(cit_encoder_start_g4(e, 300, 40, buffer.data(), size));
        uint32_t result = CIT_OK;
        for (uint32_t y = 0; y < 40 && result == CIT_OK; ++y)
            result = cit_encode_g4_bits(e, p.line(y));
        size_t words = 0;
        uint32_t last = cit_encoder_finish_g4(e, &words);
        EXPECT_EQ(last, size < coded.size() ? CIT_BUFFER_FULL : CIT_OK) << size;
        EXPECT_EQ(last == CIT_OK, buffer == coded) << size;
    }
    cit_encoder_free(e);
}

TEST_F(CcittTest, GroupFourEndsAndDamage) {
    whole_image empty = decode_whole(cit_decode_g4, 100, 5, stream_of(EOL + EOL));
    EXPECT_EQ(empty.result, CIT_OK);
    EXPECT_EQ(empty.params.lines, 0u);
    EXPECT_EQ(decode_whole(cit_decode_g4, 100, 5, {}).result, CIT_BAD_DATA);
    // Two lines and no end; an extension code; a place beyond the width; one before the start; fill before the end.
    struct {
        const char* digits;
        uint32_t lines, result;
    } const cases[] = {{"1 1 00", 2, CIT_BAD_DATA},
                       {"1 0000001 111", 1, CIT_BAD_DATA},
                       {"1 011", 1, CIT_BAD_DATA},
                       {"001 00110101 010 010 000010", 0, CIT_BAD_DATA},
                       {"1 1 0000000000000 000000000001 000000000001", 2, CIT_OK},
                       {"1 1 0000000000001 1010", 2, CIT_BAD_DATA},
                       {"1 001 000000011111", 1, CIT_BAD_DATA}};
    for (const auto& c : cases) {
        whole_image image = decode_whole(cit_decode_g4, 100, 5, stream_of(c.digits));
        EXPECT_EQ(image.result, c.result) << c.digits;
        EXPECT_EQ(image.params.lines, c.lines) << c.digits;
    }
    // The end is looked for behind the last line, and its absence is no damage of the lines.
    EXPECT_EQ(decode_whole(cit_decode_g4, 8, 2, stream_of("11" + EOL + EOL)).result, CIT_OK);
    EXPECT_EQ(decode_whole(cit_decode_g4, 8, 2, stream_of("11111")).result, CIT_BAD_DATA);
    bool unended = false;
    decode(cit_coding::g4, 8, 2, stream_of("11111"), nullptr, &unended);
    EXPECT_TRUE(unended);
}

// Lines of 8 pixels: what came of them, one digit a line (8: white, 4: 4 white and 4 black, 2: black from 6 on, else
// ?).
std::string lines_read(cit_coding coding, const std::string& digits, std::vector<uint32_t>* bad) {
    page p = decode(coding, 8, 6, stream_of(digits), bad);
    std::string text;
    for (uint32_t y = 0; y < 6; ++y) {
        uint8_t byte = p.line(y)[1];
        text += byte == 0 ? '8' : byte == 0x0F ? '4' : byte == 0x03 ? '2' : '?';
    }
    return text;
}

TEST_F(CcittTest, GroupThreeGoesOnBehindDamage) {
    const std::string HALF = "1011 011 "; // 4 white, 4 black
    const std::string LAST = "1110 11 ";  // 6 white, 2 black
    const std::string FOUR = "1011 ";     // a line that breaks off
    struct {
        const char* what;
        cit_coding coding;
        std::string digits, lines, bad; // the numbers of those that are
    } const cases[] = {
        {"fill before codes", cit_coding::g3_1d, "00000" + EOL + HALF + "0000000000000000000" + EOL + LAST + EOL + EOL,
         "428888", "2345"},
        {"no code in front of a line", cit_coding::g3_1d, HALF + LAST + EOL + HALF + EOL + EOL, "424888", "01345"},
        {"a code in the middle of a line", cit_coding::g3_1d, EOL + FOUR + EOL + HALF + EOL + LAST, "842888", "0345"},
        {"a line too long", cit_coding::g3_1d, EOL + "1011 0011 010" + EOL + LAST + EOL + HALF, "424888", "0345"},
        {"no code for a run", cit_coding::g3_1d, EOL + "000000001 1111" + EOL + LAST + EOL + HALF, "824888", "0345"},
        {"tags", cit_coding::g3_2d,
         EOL + "1" + HALF + EOL + "0 1 1" + EOL + "0 011 1" + EOL + "1" + LAST + EOL + "1" + EOL + "1", "44?288", "45"},
        {"a tagged line without its code", cit_coding::g3_2d,
         EOL + "1" + HALF + LAST + EOL + "1" + LAST + EOL + "0 1 1" + EOL + "1" + EOL + "1", "422888", "1345"},
        {"a two-dimensional line that breaks off", cit_coding::g3_2d,
         EOL + "1" + HALF + EOL + "0 0000001" + EOL + "1" + LAST, "482888", "1345"},
    };
    for (const auto& c : cases) {
        std::vector<uint32_t> bad;
        std::string told;
        EXPECT_EQ(lines_read(c.coding, c.digits, &bad), c.lines) << c.what;
        for (uint32_t line : bad)
            told += std::to_string(line);
        EXPECT_EQ(told, c.bad) << c.what;
    }
    EXPECT_EQ(decode_whole(cit_decode_g3, 8, 6, stream_of(cases[2].digits)).result, CIT_BAD_DATA);
    EXPECT_EQ(decode_whole(cit_decode_g3, 8, 6, stream_of("0000" + EOL + EOL)).result, CIT_OK);
    EXPECT_EQ(decode_whole(cit_decode_g3, 8, 1, stream_of(EOL + WHITE_8)).result, CIT_BAD_DATA);
    EXPECT_EQ(decode_whole(cit_decode_g3, 8, 1, stream_of(WHITE_8), 0).result, CIT_BAD_DATA);
}

TEST_F(CcittTest, AlignedLinesAreCutToTheWidth) {
    whole_image image = decode_whole(cit_decode_1d, 8, 3, stream_of("1011 000101 000000 10011000 000000000000"));
    EXPECT_EQ(image.result, CIT_BAD_DATA);
    EXPECT_EQ(image.lines, (std::vector<run_list>{{4, 4, 0}, {8}}));
}

// More changes than a line has pixels, and lines of very many changes.
TEST_F(CcittTest, RunsOfZeroTakeNoRoom) {
    std::string digits = EOL;
    for (int i = 0; i < 4000; ++i)
        digits += "00110101 0000110111";
    whole_image image = decode_whole(cit_decode_g3, 8, 1, stream_of(digits + WHITE_8 + EOL + EOL));
    EXPECT_EQ(image.result, CIT_OK);
    EXPECT_EQ(image.lines, (std::vector<run_list>{{8}}));
    page p(30000, 20);
    for (uint32_t y = 0; y < 20; ++y)
        for (uint32_t x = y % 2; x < 30000; x += 2)
            p.set(x, y);
    for (cit_coding coding : ALL)
        EXPECT_EQ(decode(coding, 30000, 20, encode(coding, p)).bits, p.bits);
}

} // namespace
