#!/usr/bin/env bash
# Frames of 1920 by 1080 with five surfaces changed: tinct-batch against the same work by an image processor that has
# st-maps: a pattern warped by the u,v of each surface, multiplied by its shade, and added to the picture. Its maps are
# ready as files, one a surface, as a renderer would have left them. Also two processes against one, and the start.
#   bench/peers/frames.sh [BIN]
. "$(dirname "${BASH_SOURCE[0]}")/measure.bash"
. "$(dirname "${BASH_SOURCE[0]}")/../../scripts/need.sh" 2>/dev/null || true
command -v oiiotool >/dev/null || { echo "oiiotool is missing (Debian: openimageio-tools)" >&2; exit 1; }

"$bin/tinct-sample" still . --size 1920x1080 >/dev/null
data=$(cd "$OLDPWD" && cd "$(dirname "${BASH_SOURCE[0]}")/../../data" && pwd)
sets="--set 1=Oak:size=0.5 --set 2=Tartan:size=0.4 --set 23=Walnut:size=0.3 --set 24=Tiles:size=0.5 --set 3=Cobalt"
ours() { "$bin/tinct-batch" apply still.tnc $sets -o "${1:-out}.tif" --uncompressed --force; }

"$bin/rzl" convert "$data/images/oak.rgb" oak.tif
"$bin/rzl" convert still.rgb still.tif
for i in 1 2 3 4 5; do
    oiiotool --pattern fill:topleft=0,0,0:topright=1,0,0:bottomleft=0,1,0:bottomright=1,1,0 1920x1080 3 -d half -o "st$i.tif" \
        --pattern constant:color=.2,.2,.2 1920x1080 3 -d uint8 -o "shade$i.tif"
done
theirs() {
    local words=(still.tif)
    for i in 1 2 3 4 5; do words+=(oak.tif "st$i.tif" --ch R,G --st_warp:filter=triangle "shade$i.tif" --mul --add); done
    oiiotool --threads 1 "${words[@]}" -d uint8 -o theirs.tif
}
ours && theirs
a=$(best_cpu ours) b=$(best_cpu theirs)
report "frame, five surfaces" "$a" oiiotool "$b"

# Ten frames by one process after the other, and by two at a time.
ten() { for i in 1 2 3 4 5 6 7 8 9 10; do ours one; done; }
five() { for i in 1 2 3 4 5; do ours "$1"; done; }
two() { five a & five b; wait; }
one_wall=$(best ten | cut -d' ' -f1) two_wall=$(best two | cut -d' ' -f1)
report "ten frames, two at a time" "$two_wall" "one at a time" "$one_wall"

hundred() { for i in {1..100}; do "$bin/tinct-batch" --version; done; }
awk -v s="$(best_cpu hundred)" 'BEGIN { printf "%-30s %7.2f ms\n", "start of tinct-batch", s * 10 }'
