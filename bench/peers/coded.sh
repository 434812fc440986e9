#!/bin/bash
# JFIF and PNG files against djpeg, cjpeg and libpng's simplified interface, whole programs that take turns, on pictures
# of 4096 x 4096: a photograph and a drawing of few colours. Prints processor seconds, the least of each, and ratios;
# above 1 means that we are faster. The pixels are printed and read on both sides, as a portable anymap or a raw Targa
# file.
# Usage: bench/peers/coded.sh [directory of rzl, bench_formats and png_simple]
. "$(dirname "$0")/measure.bash"

report() { # what, ours, the peer's: commands for sh
    local ours theirs
    for _ in 1 2 3 4 5 6 7; do
        { TIMEFORMAT='ours %U %S'; time sh -c "$2" >/dev/null; } 2>&1
        { TIMEFORMAT='peer %U %S'; time sh -c "$3" >/dev/null; } 2>&1
    done | awk -v w="$1" '
        $1 == "ours" && (!a || $2 + $3 < a) { a = $2 + $3 }
        $1 == "peer" && (!b || $2 + $3 < b) { b = $2 + $3 }
        END { printf "%-22s %7.3f s   peer %7.3f s   %6.2f\n", w, a, b, b / a }'
}

for what in photo drawing; do
    "$bin/bench_formats" make $what $what.ppm
    "$bin/bench_formats" write tga_rgb $what $what.tga
    cjpeg $what.ppm >$what.jpg
    "$bin/png_simple" write $what.ppm $what.png
    report "$what JFIF read" "$bin/rzl cat $what.jpg" "djpeg $what.jpg"
    report "$what JFIF write" "$bin/rzl convert $what.tga o.jpg" "cjpeg -outfile p.jpg $what.ppm"
    report "$what PNG read" "$bin/rzl cat $what.png" "$bin/png_simple read $what.png"
    report "$what PNG write" "$bin/rzl convert $what.tga o.png" "$bin/png_simple write $what.ppm p.png"
done
