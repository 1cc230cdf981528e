#!/usr/bin/env bash
# Installs what is missing, builds and starts Lumivane Manager (under xvfb-run without a display).
# Unless LV_SERVER_URL is set, the app is pointed at the bundled demo catalogue, served from
# 127.0.0.1 by lv-demo-server for as long as the app runs.
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
lv_install_packages
build_dir=${LV_BUILD_DIR:-$LV_SOURCE_DIR/build}
lv_build "$build_dir"
app="$build_dir/src/lumivane-manager"
# The demo's Mac is a folder on every system, a Mac's own "/" included: the emulated Mac.
export LV_PLATFORM=emulated

server_pid=""
stop_server() {
    if [ -n "$server_pid" ]; then
        kill "$server_pid" 2>/dev/null || true
        wait "$server_pid" 2>/dev/null || true
    fi
}
if [ -z "${LV_SERVER_URL:-}" ]; then
    # The demo's own Mac, kept between runs; the server installs one older product there on the first run.
    export LV_SYSTEM_ROOT=${LV_SYSTEM_ROOT:-${XDG_DATA_HOME:-$HOME/.local/share}/lumivane-manager/demo-root}
    server_out=$(mktemp)
    QT_QPA_PLATFORM=offscreen "$build_dir/demo/lv-demo-server" >"$server_out" 2>"$server_out.err" &
    server_pid=$!
    trap 'stop_server; rm -f "$server_out" "$server_out.err"' EXIT
    for _ in $(seq 1 600); do
        grep -q '^LV_SERVER_URL=' "$server_out" && break
        sleep 0.1
    done
    LV_SERVER_URL=$(sed -n 's/^LV_SERVER_URL=//p' "$server_out")
    # The demo's update is signed with a key its server made for this run; the app trusts it.
    LV_UPDATE_PUBLIC_KEY=$(sed -n 's/^LV_UPDATE_PUBLIC_KEY=//p' "$server_out")
    export LV_UPDATE_PUBLIC_KEY
    if [ -z "$LV_SERVER_URL" ]; then
        echo "The demo server did not start." >&2
        cat "$server_out.err" >&2
        exit 1
    fi
    export LV_SERVER_URL
    echo "Demo catalogue served at $LV_SERVER_URL; its Mac is $LV_SYSTEM_ROOT"
fi

if lv_is_mac || [ -n "${DISPLAY:-}" ] || [ -n "${WAYLAND_DISPLAY:-}" ]; then
    "$app" "$@"
else
    echo "No display: running under xvfb-run."
    xvfb-run -a -s "-screen 0 1440x900x24" "$app" "$@"
fi
