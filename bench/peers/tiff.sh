#!/bin/bash
# TIFF files of three interleaved samples through rzl convert, against tiffcp and cp, whole programs on one picture of
# 4096 x 4096 with grain. Prints processor seconds and ratios; above 1 means that we are faster. Making the picture is
# not counted. TMPDIR in memory keeps a disk out of it.
# Usage: bench/peers/tiff.sh [directory of rzl]
. "$(dirname "$0")/measure.bash"

report() { # what, our seconds, the peer, its seconds
    awk -v w="$1" -v a="$2" -v p="$3" -v b="$4" \
        'BEGIN { printf "%-14s %7.3f s   %-10s %7.3f s   %5.2f\n", w, a, p, b, b / a }'
}

# Smooth shades with five levels of grain.
LC_ALL=C awk 'BEGIN {
    srand(1)
    printf "P6\n4096 4096\n255\n"
    for (i = 0; i < 256; ++i) byte[i] = sprintf("%c", i)
    for (x = 0; x < 4096; ++x) for (s = 0; s < 3; ++s) wave[x, s] = 70 * sin(x * 0.003 + s)
    for (y = 0; y < 4096; ++y) {
        fade = cos(y * 0.004)
        for (x = 0; x < 4096; ++x)
            for (s = 0; s < 3; ++s) printf "%s", byte[int(130 + wave[x, s] * fade) - int(rand() * 5)]
    }
}' >picture.ppm
pamtotiff -truecolor -quiet picture.ppm >picture.tif
tiffcp -c none -r 64 picture.tif plain.tif
tiffcp -c lzw -r 64 picture.tif lzw.tif

ours=$(best_cpu "$bin/rzl" convert plain.tif out.tif --compression 1)
report plain "$ours" tiffcp "$(best_cpu tiffcp -c none plain.tif peer.tif)"
report plain "$ours" cp "$(best_cpu cp plain.tif peer.tif)"
report "LZW read" "$(best_cpu "$bin/rzl" convert lzw.tif out.tif --compression 1)" \
    tiffcp "$(best_cpu tiffcp -c none lzw.tif peer.tif)"
report "LZW write" "$(best_cpu "$bin/rzl" convert plain.tif out.tif --compression 5)" \
    tiffcp "$(best_cpu tiffcp -c lzw plain.tif peer.tif)"
