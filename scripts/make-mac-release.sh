#!/usr/bin/env bash
# On a Mac: builds the release bundle "Lumivane Manager.app" with Qt inside (macdeployqt), signs it,
# and with a notary profile has it notarized and staples the ticket; leaves it zipped (ditto) for
# the update feed, in the build folder.
#   LV_BUILD_DIR       build folder (default: build-release)
#   LV_SIGN_IDENTITY   "Developer ID Application: <name> (<team>)"; default "-", an ad-hoc signature
#                      (enough to run on the machine that built it, not to ship)
#   LV_NOTARY_PROFILE  a keychain profile made with "xcrun notarytool store-credentials"; unset: not
#                      notarized
#   LV_UNIVERSAL=ON    one binary for arm64 and x86_64 (needs Qt and libraries built for both)
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"
if ! lv_is_mac; then
    echo "A release bundle is made on a Mac." >&2
    exit 1
fi
lv_install_packages
build_dir=${LV_BUILD_DIR:-$LV_SOURCE_DIR/build-release}
lv_build "$build_dir" -DCMAKE_BUILD_TYPE=Release -DLV_BUILD_TESTS=OFF -DLV_BUILD_BENCH=OFF \
    -DLV_UNIVERSAL="${LV_UNIVERSAL:-OFF}"
app="$build_dir/src/Lumivane Manager.app"
archive="$build_dir/Lumivane Manager.zip"

macdeployqt "$app" -always-overwrite
identity=${LV_SIGN_IDENTITY:--}
sign_options=(--force --deep --sign "$identity")
# A Developer ID signature for notarization needs the hardened runtime and a secure timestamp.
[ "$identity" != "-" ] && sign_options+=(--options runtime --timestamp)
codesign "${sign_options[@]}" "$app"
codesign --verify --deep --strict --verbose=2 "$app"
codesign -dv --verbose=2 "$app"

rm -f "$archive"
ditto -c -k --keepParent "$app" "$archive"
if [ -n "${LV_NOTARY_PROFILE:-}" ]; then
    xcrun notarytool submit "$archive" --keychain-profile "$LV_NOTARY_PROFILE" --wait
    xcrun stapler staple "$app"
    xcrun stapler validate "$app"
    rm -f "$archive"
    ditto -c -k --keepParent "$app" "$archive"
fi
echo "Release bundle: $app"
echo "Archive for the update feed: $archive"
