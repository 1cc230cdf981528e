#!/usr/bin/env bash
# Makes the application's icons from their one vector source, src/app/icon/AppIcon.svg:
#   src/app/mac/AppIcon.icns   every size a Mac asks for, 16 to 1024 px (a Retina screen's 2x
#                              images of 16, 128, 256 and 512 are the 32, 256, 512 and 1024 ones)
#   src/ui/images/AppIcon.png  the window's 128 px icon
# Needs rsvg-convert and png2icns (Debian: librsvg2-bin, icnsutils). Run it after changing the SVG.
set -euo pipefail
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
svg="$root/src/app/icon/AppIcon.svg"
work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
pngs=()
for size in 16 32 48 128 256 512 1024; do
    rsvg-convert -w "$size" -h "$size" "$svg" -o "$work/icon_$size.png"
    pngs+=("$work/icon_$size.png")
done
png2icns "$root/src/app/mac/AppIcon.icns" "${pngs[@]}" >/dev/null
cp "$work/icon_128.png" "$root/src/ui/images/AppIcon.png"
echo "icons made from $svg"
