#!/bin/bash
# Native files against independent programs, whole programs on one picture of 4000 x 3000: run-coded planes against
# tiffcp with PackBits, stored pixels against cp. Prints processor seconds and ratios; above 1 means that we are faster.
# Usage: bench/peers/native.sh [directory of bench_native]
set -euo pipefail

here=$(cd "$(dirname "$0")/../.." && pwd)
bench=${1:-$here/build/release/bin}/bench_native
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

# best COMMAND...: the least processor seconds of nine runs, user and system together. Nothing here waits for a disk, so
# on an idle machine that is the time it takes, and on a busy one others' work does not count.
best() {
    local TIMEFORMAT='%U %S'
    for _ in 1 2 3 4 5 6 7 8 9; do
        { time "$@" >/dev/null 2>&1; } 2>&1
    done | awk 'NR == 1 || $1 + $2 < least { least = $1 + $2 } END { print least }'
}

report() { # what, our seconds, the peer, its seconds
    awk -v w="$1" -v a="$2" -v p="$3" -v b="$4" \
        'BEGIN { printf "%-34s %7.4f s   %-28s %7.4f s   %5.2f\n", w, a, p, b, b / a }'
}

for kind in photo rendered; do
    "$bench" make $kind stored.rgb picture.ppm
    ppm2tiff -c none picture.ppm stored.tif
    tiffcp -c packbits stored.tif packed.tif
    tiffcp -p separate -c packbits stored.tif planes.tif
    "$bench" copy 27 stored.rgb packed.rgb

    report "$kind: write runs" "$(best "$bench" copy 27 stored.rgb out.rgb)" \
        "tiffcp -c packbits" "$(best tiffcp -c packbits stored.tif out.tif)"
    report "$kind: read runs" "$(best "$bench" copy 28 packed.rgb out.rgb)" \
        "tiffcp -c none" "$(best tiffcp -c none packed.tif out.tif)"
    ours=$(best "$bench" copy 27 packed.rgb out.rgb)
    report "$kind: read and write runs" "$ours" "tiffcp -c packbits" "$(best tiffcp -c packbits packed.tif out.tif)"
    report "$kind: read and write runs" "$ours" "the same, separate planes" \
        "$(best tiffcp -p separate -c packbits planes.tif out.tif)"
    report "$kind: read and write stored" "$(best "$bench" copy 28 stored.rgb out.rgb)" "cp" "$(best cp stored.rgb out.cp)"
done
