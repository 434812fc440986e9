#!/bin/bash
# Colour reduction to 256 colours with error diffusion against ImageMagick and pngquant at its fastest, on one picture of
# 16 megapixels. Prints seconds of wall and processor time, ratios, and the error of each result: PSNR, plain and of the
# averages of 4 by 4 pixels. The peers' times are whole programs less the time of reading and writing the same files.
# Usage: bench/peers/colors.sh [directory of bench_colors]
. "$(dirname "$0")/measure.bash"
bench=$bin/bench_colors

psnr() { # of two PPM files: plain, and of averages
    for filter in "" "-scale 25%"; do
        convert picture.ppm $filter a.ppm
        convert "$1" $filter b.ppm
        { compare -metric PSNR a.ppm b.ppm null: 2>&1 || true; } | awk '{ printf " %6.2f dB", $1 }'
    done
    echo
}

report() { # name, its wall and processor seconds, those of files alone, ours
    awk -v n="$1" -v w="$2" -v c="$3" -v fw="$4" -v fc="$5" -v us="$6" 'BEGIN {
        printf "%-12s %6.3f s wall (%.1f times ours)   %6.3f s processor (%.1f times)  ", n, w - fw, (w - fw) / us, c - fc, (c - fc) / us }'
}

"$bench" make picture.ppm
convert picture.ppm -quality 00 picture.png
ours=$(for _ in 1 2 3 4 5; do "$bench" reduce picture.ppm ours.ppm; done | sort -n | head -1)
printf '%-12s %6.3f s                                                             ' here "$ours"
psnr ours.ppm

files=$(best convert picture.ppm copy.ppm)
report ImageMagick $(best convert picture.ppm -dither FloydSteinberg -colors 256 im.ppm) $files "$ours"
psnr im.ppm

files=$(best pngtopnm picture.png)
report pngquant $(best pngquant --speed 11 --force -o pq.png 256 picture.png) $files "$ours"
convert pq.png pq.ppm
psnr pq.ppm
