# What the comparisons share; sourced by them. Moves into a directory of its own, which goes at the end, and sets `bin`:
# where our programs are, the script's first argument or the release build.
set -euo pipefail
bin=$(cd "${1:-$(dirname "${BASH_SOURCE[0]}")/../../build/release/bin}" && pwd)
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cd "$work"

# best COMMAND...: the least wall seconds and the least processor seconds (user and system together) of nine runs.
# Nothing here waits for a disk, so on an idle machine both are the time it takes; on a busy one others' work does not
# count as processor time.
best() {
    local TIMEFORMAT='%R %U %S'
    for _ in 1 2 3 4 5 6 7 8 9; do
        { time "$@" >/dev/null 2>&1; } 2>&1
    done | awk 'NR == 1 || $1 < wall { wall = $1 } NR == 1 || $2 + $3 < cpu { cpu = $2 + $3 } END { print wall, cpu }'
}

best_cpu() { best "$@" | cut -d' ' -f2; }

# report WHAT SECONDS PEER SECONDS: our seconds, the peer's, and their ratio, above 1 when we are faster.
report() {
    awk -v w="$1" -v a="$2" -v p="$3" -v b="$4" \
        'BEGIN { printf "%-30s %7.3f s   %-14s %7.3f s   %6.2f\n", w, a, p, b, b / a }'
}

# writing ROW PICTURE: seconds of writing it by bench_formats, without those of making the picture.
writing() {
    "$bench" --benchmark_filter="^$1/$2/write\$" --benchmark_format=csv 2>/dev/null |
        awk -F, '/write/ { print $4 / 1000 }'
}
