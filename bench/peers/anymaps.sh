#!/bin/bash
# PNM, Sun raster and XBM files against netpbm and ImageMagick, whole programs on pictures of 4096 x 4096: a photograph and
# a drawing of few colours; of bits the one is noise. Prints processor seconds and ratios; above 1 means that we are
# faster. Making the picture is not counted on our side, nor is printing pixels, which the others do to /dev/null.
# Usage: bench/peers/anymaps.sh [directory of bench_formats]
. "$(dirname "$0")/measure.bash"
bench=$bin/bench_formats

compare() { # row, ImageMagick's format and options, the raw row of the same pixels, netpbm's writer, netpbm's reader
    local row=$1 file=$1.file raw=$3.pnm
    for what in photo drawing; do
        "$bench" write "$row" "$what" "$file"
        "$bench" write "$3" "$what" "$raw"
        local ours copy
        copy=$(best_cpu cp "$file" copy | awk '{ print $1 * 2 }')
        ours=$(best_cpu "$bench" read "$file")
        report "$row $what read" "$ours" "${5%% *}" "$(best_cpu sh -c "$5 $file")"
        report "$row $what read" "$ours" convert "$(best_cpu sh -c "convert ${2%% *}:$file gray:/dev/null")"
        report "$row $what read" "$ours" "two copies" "$copy"
        ours=$(writing "$row" "$what")
        report "$row $what write" "$ours" "${4%% *}" "$(best_cpu sh -c "$4 $raw")"
        report "$row $what write" "$ours" convert "$(best_cpu sh -c "convert $raw ${2#* } ${2%% *}:/dev/null")"
        report "$row $what write" "$ours" "two copies" "$copy"
    done
}

compare pnm_rgb "ppm -depth 8" pnm_rgb "ppmtoppm <" "ppmtoppm <"
compare pnm_byte "pgm -depth 8" pnm_byte "pgmtopgm <" "pgmtopgm <"
compare pnm_rgb_text "ppm -compress none" pnm_rgb pnmtoplainpnm "ppmtoppm <"
compare pnm_byte_text "pgm -compress none" pnm_byte pnmtoplainpnm "pgmtopgm <"
compare pnm_bits_text "pbm -compress none" pnm_bits pnmtoplainpnm "pamtopnm"
compare sun_rgb "sun -compress none" pnm_rgb "pnmtorast -standard" rasttopnm
compare sun_byte "sun -compress none" pnm_byte "pnmtorast -standard" rasttopnm
compare sun_bits_runs "sun -compress rle" pnm_bits pnmtorast rasttopnm
compare xbm_bits "xbm -depth 1" pnm_bits pbmtoxbm xbmtopbm
