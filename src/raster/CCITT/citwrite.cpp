// A writer of coded strips: an encoder with a buffer that grows ahead of it.
#include <algorithm>

#include "raster/CCITT/ccitt.h"
#include "support/memory.h"

struct cit_writer {
    cit_encoder* encoder; // owned
    uint8_t* buffer;      // owned
    size_t size;
    uint32_t width;
    int32_t k;
    uint32_t minimum;
    cit_coding coding;
    bool begun; // a strip
};

namespace {

constexpr size_t FIRST_SIZE = 8192;

// Room for one more line, or for the end.
bool make_room(cit_writer* w) {
    size_t used = w->begun ? cit_encoder_bytes(w->encoder) : 0;
    size_t needed = used + cit_line_bound(w->width, w->minimum) + 4;
    if (needed <= w->size) return true;
    size_t size = std::max(needed, w->size + w->size / 2 + FIRST_SIZE);
    auto* buffer = static_cast<uint8_t*>(mem_realloc(w->buffer, size));
    if (buffer == nullptr) return false;
    w->buffer = buffer;
    w->size = size;
    if (w->begun) cit_encoder_move(w->encoder, buffer, size);
    return true;
}

// Begins a strip where none is begun.
bool prepare(cit_writer* w) {
    if (!make_room(w)) return false;
    if (w->begun) return true;
    w->begun = w->coding == cit_coding::g4
                   ? cit_encoder_start_g4(w->encoder, w->width, 0, w->buffer, w->size)
                   : cit_encoder_start_g3(w->encoder, w->width, 0, w->buffer, w->size, w->k, w->minimum);
    return w->begun;
}

int32_t period_of(cit_coding coding, int32_t k) {
    if (coding == cit_coding::aligned) return -2;
    return coding == cit_coding::g3_1d ? -1 : std::max(k, 0);
}

} // namespace

cit_writer* cit_writer_new(cit_coding coding, uint32_t width, int32_t k) {
    if (width == 0 || width > CIT_MAX_WIDTH) return nullptr;
    auto* w = mem_new<cit_writer>();
    if (w == nullptr) return nullptr;
    w->encoder = cit_encoder_new();
    w->width = width;
    w->coding = coding;
    w->k = period_of(coding, k);
    w->minimum = coding == cit_coding::aligned ? 1 : 0;
    if (w->encoder != nullptr) return w;
    cit_writer_free(w);
    return nullptr;
}

void cit_writer_free(cit_writer* writer) {
    if (writer == nullptr) return;
    cit_encoder_free(writer->encoder);
    mem_free(writer->buffer);
    mem_free(writer);
}

uint32_t cit_writer_bits(cit_writer* writer, const uint8_t* words) {
    if (!prepare(writer)) return CIT_NO_MEMORY;
    if (writer->coding == cit_coding::g4) return cit_encode_g4_bits(writer->encoder, words);
    return cit_encode_g3_bits(writer->encoder, words);
}

uint32_t cit_writer_runs(cit_writer* writer, const uint16_t* runs, size_t count) {
    if (!cit_runs_fit(writer->width, runs, count)) return CIT_BAD_DATA;
    if (!prepare(writer)) return CIT_NO_MEMORY;
    if (writer->coding == cit_coding::g4) return cit_encode_g4_line(writer->encoder, runs);
    return cit_encode_g3_line(writer->encoder, runs, count);
}

uint32_t cit_writer_finish(cit_writer* writer, uint8_t** data, size_t* bytes) {
    *data = nullptr;
    *bytes = 0;
    if (!prepare(writer)) return CIT_NO_MEMORY;
    size_t words = 0;
    uint32_t result = writer->coding == cit_coding::g4 ? cit_encoder_finish_g4(writer->encoder, &words)
                                                       : cit_encoder_finish_g3(writer->encoder, &words);
    writer->begun = false;
    *data = writer->buffer;
    *bytes = words * 2;
    return result;
}
