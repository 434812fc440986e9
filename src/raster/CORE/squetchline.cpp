// Resampling of one line in x. Places are computed in floating point and limited to the line, so that a rounded
// product can't lead out of it.
#include <algorithm>
#include <cstring>

#include "raster/CORE/squetch.h"

namespace {

double ratio(int32_t a, int32_t b) {
    return static_cast<double>(a) / static_cast<double>(b);
}

// int(index x q), at most `limit`.
int64_t place(int64_t index, double q, int64_t limit) {
    return std::min(static_cast<int64_t>(static_cast<double>(index) * q), limit);
}

// First output pixel behind source pixel i; the last source pixel reaches to the end.
int64_t end_of_pixel(int64_t i, int32_t in_pixels, double q, int32_t out_pixels) {
    return i + 1 == in_pixels ? out_pixels : place(i + 1, q, out_pixels);
}

void replicate(const uint8_t* in, int32_t in_pixels, uint8_t* out, int32_t out_pixels) {
    double q = ratio(out_pixels, in_pixels);
    int64_t at = 0;
    for (int64_t i = 0; i < in_pixels; ++i) {
        int64_t end = end_of_pixel(i, in_pixels, q, out_pixels);
        std::memset(out + at, in[i], static_cast<size_t>(end - at));
        at = end;
    }
}

void interpolate(const uint8_t* in, int32_t in_pixels, uint8_t* out, int32_t out_pixels) {
    double q = ratio(out_pixels, in_pixels);
    int64_t at = 0;
    for (int64_t i = 0; i < in_pixels; ++i) {
        int64_t end = end_of_pixel(i, in_pixels, q, out_pixels);
        int next = i + 1 < in_pixels ? in[i + 1] : in[i];
        double step = (next - in[i]) / q;
        double value = in[i];
        for (; at < end; ++at) {
            out[at] = static_cast<uint8_t>(std::clamp(value, 0.0, 255.0));
            value += step;
        }
    }
}

void drop(const uint8_t* in, int32_t in_pixels, uint8_t* out, int32_t out_pixels) {
    double q = ratio(in_pixels, out_pixels);
    for (int64_t j = 0; j < out_pixels; ++j)
        out[j] = in[place(j, q, in_pixels - 1)];
}

// A box average. A pixel that ends a box opens the next one with what is left of its weight.
void average(const uint8_t* in, int32_t in_pixels, uint8_t* out, int32_t out_pixels) {
    auto weight = static_cast<int64_t>(static_cast<double>(SQUETCH_UNIT) * ratio(in_pixels, out_pixels));
    int64_t left = weight;
    int64_t sum = 0;
    int64_t j = 0;
    for (int64_t i = 0; i < in_pixels && j < out_pixels; ++i) {
        int64_t value = in[i];
        if (left > SQUETCH_UNIT) {
            sum += value * SQUETCH_UNIT;
            left -= SQUETCH_UNIT;
            continue;
        }
        out[j++] = static_cast<uint8_t>((sum + value * left) / weight);
        sum = value * (SQUETCH_UNIT - left);
        left += weight - SQUETCH_UNIT;
    }
    // Weights are cut to whole units, so the boxes end within the line; this keeps it so whatever the ratio.
    for (; j < out_pixels; ++j)
        out[j] = in[in_pixels - 1];
}

} // namespace

void squetch_bytes(const uint8_t* in, int32_t in_pixels, uint8_t* out, int32_t out_pixels, bool filter) {
    if (out_pixels == in_pixels) {
        std::memcpy(out, in, static_cast<size_t>(in_pixels));
    } else if (out_pixels > in_pixels) {
        filter ? interpolate(in, in_pixels, out, out_pixels) : replicate(in, in_pixels, out, out_pixels);
    } else {
        filter ? average(in, in_pixels, out, out_pixels) : drop(in, in_pixels, out, out_pixels);
    }
}

void rzl_squetch_bits(const uint8_t* in, int32_t in_pixels, uint8_t* out, int32_t out_pixels, bool filter) {
    std::memset(out, 0, (static_cast<size_t>(out_pixels) + 15) / 16 * 2);
    if (out_pixels >= in_pixels) {
        double q = ratio(out_pixels, in_pixels);
        int64_t at = 0;
        for (int64_t i = 0; i < in_pixels; ++i) {
            int64_t end = end_of_pixel(i, in_pixels, q, out_pixels);
            bool set = bilevel_bit(in, i);
            for (; at < end; ++at)
                if (set) set_bilevel_bit(out, at);
        }
        return;
    }
    double q = ratio(in_pixels, out_pixels);
    for (int64_t j = 0; j < out_pixels; ++j) {
        int64_t first = place(j, q, in_pixels - 1);
        int64_t end = filter ? std::max(place(j + 1, q, in_pixels), first + 1) : first + 1;
        int64_t set = 0;
        for (int64_t i = first; i < end; ++i)
            set += bilevel_bit(in, i) ? 1 : 0;
        if (set * 2 > end - first) set_bilevel_bit(out, j);
    }
}
