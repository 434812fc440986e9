// Palette files: any bytes load or are refused, and what was loaded saves and loads back.
#include "scratch.h"
#include "surface/palette.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    scratch_silence();
    std::string path = scratch_file(data, size, ".tnp");
    color_palette colors = {};
    pattern_palette patterns = {nullptr, 0};
    if (load_palette_file(&colors, &patterns, path.c_str()) != 0) {
        int count = colors.count;
        std::string saved = path + ".saved";
        if (palette_save(&colors, &patterns, saved.c_str()) != 0) abort();
        load_palette_file(&colors, &patterns, saved.c_str());
        // A name may begin with what a scan passes over, so there may be fewer entries, never more.
        if (colors.count > count) abort();
        remove(saved.c_str());
    }
    palette_clear(&colors);
    pattern_palette_clear(&patterns);
    remove(path.c_str());
    return 0;
}
