#!/usr/bin/env bash
# Installs what is missing, builds and runs every test.
#   LV_BUILD_DIR   build folder (default: build)
#   LV_SANITIZE=ON build with AddressSanitizer and UndefinedBehaviorSanitizer
#   LV_WERROR=ON   treat compiler warnings as errors
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
lv_install_packages
build_dir=${LV_BUILD_DIR:-$LV_SOURCE_DIR/build}
lv_build "$build_dir" -DLV_SANITIZE="${LV_SANITIZE:-OFF}" -DLV_WERROR="${LV_WERROR:-OFF}"
cd "$build_dir"
# Every test works on the Mac inside its own temporary folder (LV_PLATFORM=emulated), on a Mac too.
ctest --output-on-failure -j"$(lv_cpu_count)" --timeout 600
