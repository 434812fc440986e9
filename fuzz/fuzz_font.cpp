// Font and symbol files: any bytes load or are refused; what was loaded measures and composes, and all of the mask can
// be read.
#include "scratch.h"
#include "support/memory.h"
#include "tools/font.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

void compose(int id) {
    char text[256];
    for (int i = 0; i < 256; ++i)
        text[i] = static_cast<char>(i * 7);
    int measures[3];
    if (Inq_font_size(id, &measures[0], &measures[1], nullptr) != 0) abort();
    if (Inq_text_width(id, text, 256, &measures[2]) != 0) abort();
    text_mask mask;
    if (font_compose(id, text, 256, &mask) != 0) abort();
    if (mask.width == 0) return;
    if (mask.row_bytes * 8 < static_cast<size_t>(mask.width)) abort();
    size_t painted = 0;
    for (size_t i = 0; i < mask.row_bytes * static_cast<size_t>(mask.height); ++i)
        painted += mask.bits[i] != 0xFF ? 1 : 0;
    // A bit behind the text's width is never painted.
    size_t last = static_cast<size_t>(mask.width) - 1;
    for (int y = 0; painted > 0 && y < mask.height; ++y)
        for (size_t x = last + 1; x < mask.row_bytes * 8; ++x)
            if ((mask.bits[static_cast<size_t>(y) * mask.row_bytes + x / 8] >> (7 - x % 8) & 1) == 0) abort();
}

void read_symbols(const char* path) {
    for (int number = 0; number < 256; number += 37) {
        symbol_bitmap symbol;
        if (symbol_read(path, static_cast<uint8_t>(number), &symbol) != 0) continue;
        size_t bytes = (size_t{symbol.width} + 7) / 8 * symbol.height;
        if (symbol.bits[bytes + bytes % 2] != 0) abort();
        mem_free(symbol.bits);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    std::string path = scratch_file(data, size, ".font");
    int id = -1;
    if (Load_symbol_file(path.c_str(), &id) == 0) {
        compose(id);
    } else if (id != -1) {
        abort();
    }
    read_symbols(path.c_str());
    fonts_unload();
    remove(path.c_str());
    return 0;
}
