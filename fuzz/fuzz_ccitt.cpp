// Coded fax lines: any bytes decode within the line, the same in every order, and what was decoded comes back after
// coding it. The first bytes choose coding, width and lines.
#include <cstdlib>
#include <cstring>
#include <vector>

#include "raster/CCITT/ccitt.h"
#include "support/memory.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

struct shape {
    cit_coding coding;
    uint32_t width, lines;
    size_t pitch() const { return (size_t{width} + 15) / 16 * 2; }
};

void check(bool holds) {
    if (!holds) abort();
}

std::vector<uint8_t> read_all(const shape& s, const uint8_t* data, size_t size) {
    std::vector<uint8_t> bits(s.pitch() * s.lines);
    cit_reader* r = cit_reader_new(s.coding, s.width, s.lines, data, size, 0);
    check(r != nullptr);
    for (uint32_t y = 0; y < s.lines; ++y)
        check(cit_reader_bits(r, y, &bits[y * s.pitch()]) != CIT_NO_MEMORY);
    std::vector<uint8_t> again(s.pitch());
    for (uint32_t y = s.lines; y-- > 0;) {
        check(cit_reader_bits(r, y, again.data()) != CIT_NO_MEMORY);
        check(std::memcmp(again.data(), &bits[y * s.pitch()], s.pitch()) == 0);
    }
    std::vector<uint16_t> runs(cit_max_runs(s.width));
    size_t count = 0;
    check(cit_reader_runs(r, s.lines / 2, runs.data(), runs.size(), &count) != CIT_BUFFER_FULL);
    check(count % 2 == 1 && cit_runs_fit(s.width, runs.data(), count));
    cit_reader_free(r);
    return bits;
}

void decode_whole(const shape& s, const uint8_t* data, size_t size) {
    std::vector<uint32_t> offsets(s.lines);
    cit_params params = {s.width, s.lines, data, size, 0, s.coding == cit_coding::g3_1d ? -1 : 0};
    cit_sink sink = {nullptr, offsets.data(), s.width, s.lines, 0, 0, true};
    switch (s.coding) {
    case cit_coding::aligned: cit_decode_1d(&params, &sink, cit_sink_line); break;
    case cit_coding::g4: cit_decode_g4(&params, &sink, cit_sink_line); break;
    default: cit_decode_g3(&params, &sink, cit_sink_line); break;
    }
    check(params.lines <= s.lines && params.words <= (size + 1) / 2);
    for (uint32_t y = 0; y < params.lines; ++y)
        check(cit_runs_fit(s.width, sink.runs + offsets[y], sink.fill - offsets[y]));
    mem_free(sink.runs);
}

void code_again(const shape& s, const std::vector<uint8_t>& bits) {
    cit_writer* w = cit_writer_new(s.coding, s.width, 4);
    check(w != nullptr);
    for (uint32_t y = 0; y < s.lines; ++y)
        check(cit_writer_bits(w, &bits[y * s.pitch()]) == CIT_OK);
    uint8_t* coded = nullptr;
    size_t size = 0;
    check(cit_writer_finish(w, &coded, &size) == CIT_OK);
    check(read_all(s, coded, size) == bits);
    cit_writer_free(w);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    if (size < 4) return 0;
    shape s = {static_cast<cit_coding>(data[0] % 4), 1 + (data[1] | (data[2] & 0x1Fu) << 8), 1 + data[3] % 100u};
    if ((data[0] & 0x80) != 0) s.width += 65500;
    // A block of its own: a read behind the data is a finding.
    std::vector<uint8_t> coded(data + 4, data + size);
    coded.shrink_to_fit();
    decode_whole(s, coded.data(), coded.size());
    code_again(s, read_all(s, coded.data(), coded.size()));
    return 0;
}
