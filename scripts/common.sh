# Shared by the set-up scripts: installs what is missing from Debian's packages and builds.
set -euo pipefail
LV_SOURCE_DIR=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)

lv_install_packages() {
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
    cmake --build "$dir" -j"$(nproc)"
}
