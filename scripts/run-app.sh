#!/usr/bin/env bash
# Installs what is missing, builds and starts Lumivane Manager (under xvfb-run without a display).
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
lv_install_packages
build_dir=${LV_BUILD_DIR:-$LV_SOURCE_DIR/build}
lv_build "$build_dir"
app="$build_dir/src/lumivane-manager"
if [ -n "${DISPLAY:-}" ] || [ -n "${WAYLAND_DISPLAY:-}" ]; then
    exec "$app" "$@"
else
    echo "No display: running under xvfb-run."
    exec xvfb-run -a -s "-screen 0 1440x900x24" "$app" "$@"
fi
