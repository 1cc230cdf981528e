# Shared by the set-up scripts: installs what is missing (Debian's packages with apt-get, or on a
# Mac Homebrew's from the Brewfile) and builds.
set -euo pipefail
LV_SOURCE_DIR=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

lv_is_mac() {
    [ "$(uname -s)" = "Darwin" ]
}

lv_cpu_count() {
    if lv_is_mac; then sysctl -n hw.ncpu; else nproc; fi
}

# Homebrew's keg-only formulas are found through their prefixes.
lv_brew_environment() {
    local prefix
    for formula in qt libarchive curl openssl@3; do
        prefix=$(brew --prefix "$formula")
        CMAKE_PREFIX_PATH="$prefix${CMAKE_PREFIX_PATH:+:$CMAKE_PREFIX_PATH}"
        PKG_CONFIG_PATH="$prefix/lib/pkgconfig${PKG_CONFIG_PATH:+:$PKG_CONFIG_PATH}"
    done
    export CMAKE_PREFIX_PATH PKG_CONFIG_PATH
    export PATH="$(brew --prefix qt)/bin:$PATH"
}

lv_install_brew_packages() {
    if ! command -v brew >/dev/null; then
        echo "Homebrew is needed: see https://brew.sh, then run this again." >&2
        exit 1
    fi
    if ! xcode-select -p >/dev/null 2>&1; then
        echo "Xcode's command-line tools are needed: run 'xcode-select --install', then this again." >&2
        exit 1
    fi
    brew bundle check --no-upgrade --file="$LV_SOURCE_DIR/Brewfile" >/dev/null 2>&1 ||
        brew bundle install --no-upgrade --file="$LV_SOURCE_DIR/Brewfile"
    lv_brew_environment
}

lv_install_packages() {
    if lv_is_mac; then
        lv_install_brew_packages
        return
    fi
    local missing=()
    while read -r pkg; do
        [ -z "$pkg" ] && continue
        dpkg-query -W -f='${Status}' "$pkg" 2>/dev/null | grep -q "install ok installed" || missing+=("$pkg")
    done < "$LV_SOURCE_DIR/scripts/debian-packages.txt"
    if [ ${#missing[@]} -gt 0 ]; then
        echo "Installing: ${missing[*]}"
        local sudo=""
        [ "$(id -u)" -ne 0 ] && sudo="sudo"
        $sudo apt-get update -qq
        DEBIAN_FRONTEND=noninteractive $sudo apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
    fi
}

# lv_build <build dir> [extra cmake arguments...]
lv_build() {
    local dir=$1; shift
    cmake -S "$LV_SOURCE_DIR" -B "$dir" -G Ninja "$@" >/dev/null
    cmake --build "$dir" -j"$(lv_cpu_count)"
}
