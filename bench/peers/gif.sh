#!/bin/bash
# GIF files against netpbm, whole programs on one picture of 4096 x 4096 in 252 colours. Prints processor seconds and
# ratios; above 1 means that we are faster. Making the picture is not counted.
# Usage: bench/peers/gif.sh [directory of bench_gif]
. "$(dirname "$0")/measure.bash"
bench=$bin/bench_gif

report() { # what, our seconds, the peer, its seconds
    awk -v w="$1" -v a="$2" -v p="$3" -v b="$4" \
        'BEGIN { printf "%-8s %7.3f s   %-10s %7.3f s   %5.2f\n", w, a, p, b, b / a }'
}

"$bench" make picture.ppm
"$bench" write picture.gif
ours=$("$bench" --benchmark_filter='gif_write/here' --benchmark_format=csv 2>/dev/null |
    awk -F, '/gif_write/ { print $4 / 1000 }')
report write "$ours" ppmtogif "$(best_cpu ppmtogif picture.ppm)"
report read "$(best_cpu "$bench" read picture.gif)" giftopnm "$(best_cpu giftopnm picture.gif)"
