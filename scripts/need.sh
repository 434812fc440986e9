# Installs what a command needs on Debian or Ubuntu, and says what and why. Sourced by run, test, bench/run and fuzz/run.

# need_packages WHY PACKAGE...: installs those of the packages that are missing.
need_packages() {
    local why=$1 package
    shift
    local missing=()
    for package in "$@"; do
        dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q 'install ok installed' || missing+=("$package")
    done
    [ ${#missing[@]} -eq 0 ] && return 0
    echo "Installing ${missing[*]} ($why)"
    local root=()
    [ "$(id -u)" -eq 0 ] || root=(sudo)
    "${root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get update -qq </dev/null &&
        "${root[@]}" env DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" \
            </dev/null >/dev/null
}

need_build() {
    need_packages "to build" g++ cmake ninja-build nlohmann-json3-dev pkg-config libpixman-1-dev libsdl2-dev libjpeg-dev libpng-dev \
        zlib1g-dev
}

# To make the fonts of data/fonts again; the product is built without it.
need_fonts() { need_packages "to make the fonts" libfreetype-dev fonts-liberation; }
