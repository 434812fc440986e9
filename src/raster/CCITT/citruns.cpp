// Lines of bits as runs for the caller, and back.
#include <algorithm>
#include <cstring>

#include "raster/CCITT/citfile.h"
#include "support/memory.h"

namespace {

// What the caller should try, by what had room: the line's remainder takes as much again for its pixels.
int32_t size_to_try(const CFILE* c, size_t room, size_t pixels, size_t needed) {
    constexpr double MORE = 128;
    auto width = static_cast<double>(c->xsize);
    double left = std::max(width - static_cast<double>(pixels), 1.0);
    if (left >= width) left = width - 1;
    double guess = static_cast<double>(room) * width / std::max(width - left, 1.0) + MORE;
    return static_cast<int32_t>(std::clamp(guess, static_cast<double>(needed), static_cast<double>(INT32_MAX)));
}

} // namespace

int cit_give_runs(CFILE* c, const uint8_t* words, uint8_t* out, const char* source) {
    auto width = static_cast<uint32_t>(c->xsize);
    mem_guard<uint16_t> runs(mem_new_array<uint16_t>(cit_max_runs(width) + 1));
    if (!runs) return fails(c, RZL_NO_MEMORY, source, "runs");
    size_t count = cit_bits_to_runs(width, words, runs.get());
    if (count % 2 == 0) runs[count++] = 0;
    size_t bytes = count * sizeof(uint16_t);
    auto room = static_cast<size_t>(std::max(c->rle_size, 0));
    if (bytes > room) {
        size_t pixels = 0;
        for (size_t i = 0; i < room / sizeof(uint16_t); ++i)
            pixels += runs[i];
        c->rle_size = size_to_try(c, room, pixels, bytes);
        return fails(c, RZL_RLE_BUFFER_SMALL, source, "runs");
    }
    if (out != nullptr) std::memcpy(out, runs.get(), bytes);
    c->rle_size = static_cast<int32_t>(bytes);
    return c->rle_size;
}

int cit_get_runs(CFILE* c, uint8_t* out, uint32_t refusal, const char* source) {
    if (has_flag(c, FLAG_SQUETCH)) return fails(c, refusal, source, "No squetch for RLE lines");
    mem_guard<uint8_t> words(static_cast<uint8_t*>(mem_alloc((static_cast<size_t>(c->xsize) + 15) / 16 * 2)));
    if (!words) return fails(c, RZL_NO_MEMORY, source, "runs");
    uint8_t* plane = words.get();
    int32_t line = c->line;
    if (rzl_getline_generic(c, 1, &plane) == 0 || c->status != 0) return 0;
    int bytes = cit_give_runs(c, words.get(), out, source);
    if (bytes == 0) c->line = line;
    return bytes;
}

bool cit_take_runs(CFILE* c, const uint8_t* coding, uint8_t* words, const char* source) {
    size_t count = static_cast<size_t>(std::max(c->rle_size, 0)) / sizeof(uint16_t);
    mem_guard<uint16_t> runs(mem_new_array<uint16_t>(count + 1));
    if (!runs) return fails(c, RZL_NO_MEMORY, source, "runs");
    if (count > 0) std::memcpy(runs.get(), coding, count * sizeof(uint16_t)); // they need not stand where words can
    if (count % 2 == 0) runs[count++] = 0;
    auto width = static_cast<uint32_t>(c->xsize);
    if (!cit_runs_fit(width, runs.get(), count)) return fails(c, RZL_BAD_FIELD_VALUE, source, "runs");
    cit_runs_to_bits(width, runs.get(), words);
    return true;
}
