#!/bin/bash
# BMP, Targa and PCX files against netpbm and ImageMagick, whole programs on pictures of 4096 x 4096: a photograph and a
# drawing of few colours. Prints processor seconds and ratios; above 1 means that we are faster. Making the picture is not
# counted on our side, nor is printing pixels, which the others do to /dev/null.
# Usage: bench/peers/formats.sh [directory of bench_formats]
. "$(dirname "$0")/measure.bash"
bench=$bin/bench_formats

compare() { # row, extension, netpbm's writer, netpbm's reader, ImageMagick's coding
    local row=$1 file=$1.$2
    for what in photo drawing; do
        "$bench" write "$row" "$what" "$file"
        local ours
        ours=$(best_cpu "$bench" read "$file")
        report "$row $what read" "$ours" "${4%% *}" "$(best_cpu sh -c "$4 $file")"
        report "$row $what read" "$ours" convert "$(best_cpu convert "$2:$file" rgb:/dev/null)"
        ours=$(writing "$row" "$what")
        report "$row $what write" "$ours" "${3%% *}" "$(best_cpu sh -c "$3 $what.ppm")"
        report "$row $what write" "$ours" convert "$(best_cpu convert $what.ppm -compress "$5" "$2:/dev/null")"
    done
}

for what in photo drawing; do "$bench" make $what $what.ppm; done
compare tga_rgb tga "ppmtotga -rgb -norle" tgatoppm none
compare tga_rgb_runs tga "ppmtotga -rgb" tgatoppm rle
compare bmp_rgb bmp "ppmtobmp -bpp=24" bmptopnm none
compare pcx_rgb pcx "ppmtopcx -24bit" pcxtoppm rle
