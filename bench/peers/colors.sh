#!/bin/bash
# Colour reduction to 256 colours with error diffusion against ImageMagick and pngquant at its fastest, on two pictures of
# 16 megapixels: a soft one of a million colours, and a rendered scene with coarse grain of seven million.
#
# For each picture: the reduction alone (the peers' is their whole program less the time of reading and writing the same
# files), then whole programs, `rzl convert` from TIFF to GIF against ImageMagick's doing the same and pngquant's from and
# to its own format. Prints seconds of wall and processor time, ratios above 1 where ours is faster, and the error of each
# result: PSNR, plain and of the averages of 4 by 4 pixels.
# Usage: bench/peers/colors.sh [directory of bench_colors and rzl]
. "$(dirname "$0")/measure.bash"

psnr() { # of two pictures: plain, and of averages
    for filter in "" "-scale 25%"; do
        convert picture.ppm $filter a.ppm
        convert "$1" $filter b.ppm
        { compare -metric PSNR a.ppm b.ppm null: 2>&1 || true; } | awk '{ printf " %6.2f dB", $1 }'
    done
    echo
}

report() { # name, its wall and processor seconds, those of files alone, our wall and processor seconds
    awk -v n="$1" -v w="$2" -v c="$3" -v fw="$4" -v fc="$5" -v uw="$6" -v uc="$7" 'BEGIN {
        printf "%-12s %6.3f s wall (%.1f times ours)   %6.3f s processor (%.1f times)  ", n, w - fw, (w - fw) / uw, c - fc, (c - fc) / uc }'
}

compare_picture() {
    "$bin/bench_colors" make "$1" picture.ppm
    convert picture.ppm -quality 00 picture.png
    convert picture.ppm -compress none picture.tif

    echo "-- $1: the reduction alone"
    ours=$(for _ in 1 2 3 4 5 6 7 8 9; do "$bin/bench_colors" reduce picture.ppm ours.ppm; done |
        awk 'NR == 1 || $1 < w { w = $1 } NR == 1 || $2 < c { c = $2 } END { print w, c }')
    report here $ours 0 0 $ours
    psnr ours.ppm
    files=$(best convert picture.ppm copy.ppm)
    report ImageMagick $(best convert picture.ppm -dither FloydSteinberg -colors 256 im.ppm) $files $ours
    psnr im.ppm
    files=$(best pngtopnm picture.png)
    pngquant=$(best pngquant --speed 11 --force -o pq.png 256 picture.png)
    report pngquant $pngquant $files $ours
    psnr pq.png

    echo "-- $1: whole programs"
    ours=$(best "$bin/rzl" convert picture.tif ours.gif)
    report here $ours 0 0 $ours
    psnr ours.gif
    report ImageMagick $(best convert picture.tif -dither FloydSteinberg -colors 256 im.gif) 0 0 $ours
    psnr im.gif
    report pngquant $pngquant 0 0 $ours
    psnr pq.png
}

compare_picture soft
compare_picture grain
