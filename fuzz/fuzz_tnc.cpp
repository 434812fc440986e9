// .tnc files: any bytes read or are refused, and what was read can be walked and asked in every way.
#include <initializer_list>

#include "scratch.h"
#include "tnc/penpack.h"
#include "tnc/tnc.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

// Adds up what a walk gives, so that a sanitizer sees unset values.
void add_pixel(void* sum, int32_t x, int32_t y, int32_t red, int32_t green, int32_t blue, int32_t u, int32_t v) {
    *static_cast<int64_t*>(sum) += x + y + red + green + blue + u + v;
}

int add_run(void* sum, int32_t x, int32_t y, int32_t count) {
    *static_cast<int64_t*>(sum) += x + y + count;
    return 0;
}

void walk(const tnc_image* image) {
    int64_t sum = 0;
    pen_summary summary;
    for (int pen = 0; pen < PEN_COUNT; ++pen) {
        pen_for_each_pixel(image, pen, &sum, add_pixel);
        pen_for_each_run(image, pen, &sum, add_run);
        if (pen_summarise(image, pen, &summary)) sum += summary.samples;
    }
    int32_t pens[PENS_AT_PIXEL_MAX];
    for (int32_t x : {0, 1, 7, 300, 70000}) {
        for (int32_t y : {0, 1, 5})
            sum += pens_at_pixel(image, x, y, pens, PENS_AT_PIXEL_MAX);
    }
    if (sum == 1234567) abort();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    scratch_silence();
    std::string path = scratch_file(data, size, ".tnc");
    for (int32_t lines : {0, 3, 1000}) {
        tnc_image* image = tnc_read(path.c_str(), lines);
        if (image != nullptr) walk(image);
        tnc_free(image);
    }
    penpack_release_scratch();
    remove(path.c_str());
    return 0;
}
