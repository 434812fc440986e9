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
