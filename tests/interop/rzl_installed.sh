#!/usr/bin/env bash
# Installs the raster library's component into a prefix of its own, and builds and runs a C program against what was
# installed: through the CMake package and through pkg-config, with the shared library and with the static one.
# Arguments: cmake, build directory, work directory (made anew), library directory below the prefix, C compiler, flags.
set -euo pipefail
cmake=$1 build=$2 work=$3 libdir=$4 cc=$5 flags=$6
source=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)/rzl_c
prefix=$work/prefix

rm -rf "$work"
mkdir -p "$work"
for component in rzl rzl_dev; do
    "$cmake" --install "$build" --component "$component" --prefix "$prefix"
done >"$work/install.log"
test -f "$prefix/include/rzl.h"
for file in librzl.so librzl.a cmake/rzl/rzlConfig.cmake pkgconfig/rzl.pc; do
    test -e "$prefix/$libdir/$file" || { echo "$file is not installed" >&2; exit 1; }
done

# Nothing but the public calls is visible in the shared library.
strangers=$(nm -D --defined-only "$prefix/$libdir/librzl.so" | awk '$2 != "A" {print $3}' |
    grep -v '^rzl_' | grep -Ev '^__(asan|tsan|ubsan|odr_asan)' || true)
if [ -n "$strangers" ]; then
    echo "librzl.so shows other names: $strangers" >&2
    exit 1
fi

# Nor is there in the static one what a program could have, too.
strangers=$(nm -g --defined-only "$prefix/$libdir/librzl.a" 2>/dev/null | awk 'NF == 3 {print $3}' | grep -v '^rzl_' || true)
if [ -n "$strangers" ]; then
    echo "librzl.a has other names: $strangers" >&2
    exit 1
fi

run() {
    local expected="rzl version 2.0.0.9: 33 x 17 pixels written and read back"
    local line
    line=$(cd "$work" && LD_LIBRARY_PATH="$prefix/$libdir" "$1" "$work/picture.rgb")
    echo "$1: $line"
    [ "$line" = "$expected" ]
    test ! -e "$work/picture.rgb"
}

"$cmake" -S "$source" -B "$work/package" -DCMAKE_C_COMPILER="$cc" -DCMAKE_C_FLAGS="$flags" \
    -DCMAKE_PREFIX_PATH="$prefix" >"$work/configure.log"
"$cmake" --build "$work/package" >"$work/build.log"
run "$work/package/rzl_c"
run "$work/package/rzl_c_static"

export PKG_CONFIG_PATH=$prefix/$libdir/pkgconfig
c99="$flags -std=c99 -pedantic -Wall -Wextra -Werror"
"$cc" $c99 $(pkg-config --cflags rzl) "$source/main.c" $(pkg-config --libs rzl) -o "$work/with_pkgconfig"
run "$work/with_pkgconfig"

# -lstdc++ has to come from the file.
libraries=$(pkg-config --static --libs rzl | sed 's/-lrzl/-l:librzl.a/')
"$cc" $c99 $(pkg-config --cflags rzl) "$source/main.c" $libraries -o "$work/with_pkgconfig_static"
run "$work/with_pkgconfig_static"
