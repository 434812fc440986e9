#!/bin/bash
# NITF and CALS files against an independent library of map formats (gdal-bin), on 2048 x 2048 bytes and a page of
# 5000 x 7000 bits: the pixels that either reads of the other's files must be the same, which ends the script with 1 when
# they are not; then whole programs in processor seconds and ratios, above 1 when we are faster. It writes no NITF 2.00
# and reads no CALS file of the later kind, so one is read and the other is theirs. No other program knows VRLC files:
# their runs are measured against those of a TIFF file (libtiff-tools). TMPDIR in memory keeps a disk out of it.
# Usage: bench/peers/documents.sh [directory of rzl]
. "$(dirname "$0")/measure.bash"
rzl=$bin/rzl

same() { # what, two files, and how many bytes at their ends are the pixels
    cmp <(tail -c "$4" "$2") <(tail -c "$4" "$3") && echo "$1: the same pixels"
}

LC_ALL=C awk 'BEGIN {
    srand(1)
    printf "P5\n2048 2048\n255\n"
    for (i = 0; i < 256; ++i) byte[i] = sprintf("%c", i)
    for (y = 0; y < 2048; ++y)
        for (x = 0; x < 2048; ++x) printf "%s", byte[(int(x / 29) * 7 + int(y / 17) * 3 + int(rand() * 3)) % 256]
}' >grey.pgm
# Letters of stems and bars, in lines of text; eight pixels at a time.
LC_ALL=C awk 'BEGIN {
    srand(1)
    printf "P4\n5000 7000\n"
    for (y = 0; y < 7000; ++y) {
        row = y % 95
        if (row == 0) for (x = 0; x < 625; ++x) letter[x] = int(rand() * 9)
        for (x = 0; x < 625; ++x) {
            ink = y < 200 || x < 38 || row >= 60 ? 0 : letter[x] % 3 == 0 ? 126 : letter[x] == 4 && row < 6 ? 255 : 0
            printf "%c", ink
        }
    }
}' >page.pbm

for blocks in "" "--tile 256"; do
    "$rzl" convert grey.pgm "grey$blocks.ntf" $blocks
    gdal_translate -q -of PNM "grey$blocks.ntf" theirs.pgm
    same "NITF $blocks" theirs.pgm grey.pgm $((2048 * 2048))
    report "NITF $blocks read" "$(best_cpu "$rzl" convert "grey$blocks.ntf" ours.pgm)" \
        gdal_translate "$(best_cpu gdal_translate -q -of PNM "grey$blocks.ntf" theirs.pgm)"
done
report "NITF write" "$(best_cpu "$rzl" convert grey.pgm ours.ntf)" \
    gdal_translate "$(best_cpu gdal_translate -q -of NITF grey.pgm theirs.ntf)"

"$rzl" convert page.pbm page.tif
gdal_translate -q -of CALS page.tif theirs.cal
"$rzl" cat theirs.cal >ours.raw
gdal_translate -q -of PNM -scale 0 1 0 255 theirs.cal theirs.pgm
same CALS ours.raw theirs.pgm $((5000 * 7000))
report "CALS read" "$(best_cpu "$rzl" convert theirs.cal ours.tif)" \
    gdal_translate "$(best_cpu gdal_translate -q -co NBITS=1 theirs.cal theirs.tif)"
report "CALS write" "$(best_cpu "$rzl" convert page.tif ours.cal)" \
    gdal_translate "$(best_cpu gdal_translate -q -of CALS page.tif theirs.cal)"

"$rzl" convert page.pbm page.igs
"$rzl" convert page.igs ours.pbm
same VRLC ours.pbm page.pbm $((5000 / 8 * 7000))
tiffcp -c packbits page.tif runs.tif
report "VRLC read" "$(best_cpu "$rzl" convert page.igs ours.tif --compression 1)" \
    tiffcp "$(best_cpu tiffcp -c none runs.tif peer.tif)"
report "VRLC write" "$(best_cpu "$rzl" convert page.tif ours.igs)" \
    tiffcp "$(best_cpu tiffcp -c packbits page.tif peer.tif)"
