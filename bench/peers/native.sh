#!/bin/bash
# Native files against independent programs, whole programs on one picture of 4000 x 3000: run-coded planes against
# tiffcp with PackBits, stored pixels against cp. Prints processor seconds and ratios; above 1 means that we are faster.
# Usage: bench/peers/native.sh [directory of bench_native]
. "$(dirname "$0")/measure.bash"
bench=$bin/bench_native

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

    report "$kind: write runs" "$(best_cpu "$bench" copy 27 stored.rgb out.rgb)" \
        "tiffcp -c packbits" "$(best_cpu tiffcp -c packbits stored.tif out.tif)"
    report "$kind: read runs" "$(best_cpu "$bench" copy 28 packed.rgb out.rgb)" \
        "tiffcp -c none" "$(best_cpu tiffcp -c none packed.tif out.tif)"
    ours=$(best_cpu "$bench" copy 27 packed.rgb out.rgb)
    report "$kind: read and write runs" "$ours" "tiffcp -c packbits" "$(best_cpu tiffcp -c packbits packed.tif out.tif)"
    report "$kind: read and write runs" "$ours" "the same, separate planes" \
        "$(best_cpu tiffcp -p separate -c packbits planes.tif out.tif)"
    report "$kind: read and write stored" "$(best_cpu "$bench" copy 28 stored.rgb out.rgb)" "cp" "$(best_cpu cp stored.rgb out.cp)"
done
