#!/bin/bash
# ADRG and USGS files against an independent library of map formats (gdal-bin): the pixels that either reads of the
# other's files must be the same, which ends the script with 1 when they are not; then whole programs in processor seconds
# and ratios, above 1 when we are faster.
# Usage: bench/peers/maps.sh [directory of rzl]
. "$(dirname "$0")/measure.bash"
rzl=$bin/rzl
side=2048

same() { # what, two files: their last bytes are the pixels
    cmp <(tail -c "$4" "$2") <(tail -c "$4" "$3") && echo "$1: the same pixels"
}

LC_ALL=C awk -v side=$side 'BEGIN {
    srand(1)
    printf "P6\n%d %d\n255\n", side, side
    for (i = 0; i < 256; ++i) byte[i] = sprintf("%c", i)
    for (y = 0; y < side; ++y)
        for (x = 0; x < side; ++x)
            for (s = 0; s < 3; ++s) printf "%s", byte[(int(x / 29) * 7 + int(y / 17) * (s + 3) + int(rand() * 3)) % 256]
}' >picture.ppm
ppmtopgm picture.ppm >grey.pgm

# A map set of theirs, read by both.
gdal_translate -q -of GTiff -a_srs EPSG:4326 -a_ullr 10 50 11 49 picture.ppm picture.tif
gdal_translate -q -of ADRG picture.tif ABCDEF01.GEN
gdal_translate -q -of PNM ABCDEF01.GEN theirs.ppm
"$rzl" convert ABCDEF01.IMG ours.ppm
same ADRG ours.ppm theirs.ppm $((side * side * 3))

# A file of ours, read by both.
"$rzl" convert grey.pgm grey.doq --standard USGS
gdal_translate -q -of PNM grey.doq theirs.pgm
"$rzl" convert grey.doq ours.pgm
same USGS ours.pgm theirs.pgm $((side * side))
same USGS ours.pgm grey.pgm $((side * side))

report "ADRG read" "$(best_cpu "$rzl" convert ABCDEF01.IMG ours.ppm)" \
    gdal_translate "$(best_cpu gdal_translate -q -of PNM ABCDEF01.GEN theirs.ppm)"
report "USGS read" "$(best_cpu "$rzl" convert grey.doq ours.pgm)" \
    gdal_translate "$(best_cpu gdal_translate -q -of PNM grey.doq theirs.pgm)"
