#!/bin/bash
# GIF files against netpbm, whole programs on one picture of 4096 x 4096 in 252 colours. Prints processor seconds and
# ratios; above 1 means that we are faster. Making the picture is not counted.
# Usage: bench/peers/gif.sh [directory of bench_gif]
set -euo pipefail

here=$(cd "$(dirname "$0")/../.." && pwd)
bench=${1:-$here/build/release/bin}/bench_gif
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

best() { # the least processor seconds of five runs, user and system together
    local TIMEFORMAT='%U %S'
    for _ in 1 2 3 4 5; do
        { time "$@" >/dev/null 2>&1; } 2>&1
    done | awk 'NR == 1 || $1 + $2 < least { least = $1 + $2 } END { print least }'
}

report() { # what, our seconds, the peer, its seconds
    awk -v w="$1" -v a="$2" -v p="$3" -v b="$4" \
        'BEGIN { printf "%-8s %7.3f s   %-10s %7.3f s   %5.2f\n", w, a, p, b, b / a }'
}

"$bench" make picture.ppm
"$bench" write picture.gif
ours=$("$bench" --benchmark_filter='gif_write/here' --benchmark_format=csv 2>/dev/null |
    awk -F, '/gif_write/ { print $4 / 1000 }')
report write "$ours" ppmtogif "$(best ppmtogif picture.ppm)"
report read "$(best "$bench" read picture.gif)" giftopnm "$(best giftopnm picture.gif)"
