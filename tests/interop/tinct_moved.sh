#!/usr/bin/env bash
# Installs everything into a prefix, moves it, and uses it at its new place: the programs find their palette, patterns,
# fonts and forms from where they are. Arguments: cmake, build directory, work directory (made anew).
set -euo pipefail
cmake=$1 build=$2 work=$3
rm -rf "$work"
mkdir -p "$work"
"$cmake" --install "$build" --prefix "$work/first place" >"$work/install.log"
mv "$work/first place" "$work/second place"
cd "$work"
unset VANTORAMA
PATH="$work/second place/bin:$PATH"
export HOME=$work/home
tinct-sample chair . --size 120x80 --seed 3 >/dev/null
tinct-batch apply chair.tnc --set 1=Oak --set 0=Cobalt -o chair.tif
rzl info chair.tif >/dev/null
for file in share/man/man1/tinct.1.gz share/man/man3/rzl.3.gz share/applications/tinct.desktop share/mime/packages/tinct.xml \
    share/icons/hicolor/48x48/apps/tinct.png share/bash-completion/completions/rzl share/vantorama/fonts/mono821.16; do
    test -e "second place/$file" || { echo "$file is not installed" >&2; exit 1; }
done
# A page that another names as its own leads to a file.
test -s "second place/share/man/man1/frmdump.1.gz"
