#!/bin/bash
# NITF files written here, read by an independent program: grey and a colour table, lines and blocks. Run by hand: its
# package (gdal-bin) is large, so ./test does not install it. Usage: tests/interop/nitf_gdal.sh [directory of rzl]
set -euo pipefail
root=$(cd "$(dirname "$0")/../.." && pwd)
bin=$(cd "${1:-$root/build/release/bin}" && pwd)
for program in gdal_translate convert; do
    command -v $program >/dev/null || { echo "$program is missing"; exit 1; }
done
place=$(mktemp -d)
trap 'rm -rf "$place"' EXIT
cd "$place"

convert -size 301x203 plasma:red-blue -colorspace gray -depth 8 tga:grey.tga
convert -size 301x203 plasma:red-blue -colors 200 gif:table.gif

compare() { # source, tile, how the other program is to give the pixels
    "$bin/rzl" convert "$1" out.ntf --tile "$2"
    "$bin/rzl" cat "$1" >ours
    gdal_translate -q -of ENVI -co INTERLEAVE=BIP $3 out.ntf theirs
    cmp ours theirs
    "$bin/rzl" cat out.ntf | cmp - theirs
    echo "$1, tile $2: the same"
}

for tile in 0 64 128; do
    compare grey.tga $tile ""
    compare table.gif $tile "-expand rgb"
done
