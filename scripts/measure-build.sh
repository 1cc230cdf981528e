#!/usr/bin/env bash
# Where a build's time goes, read from ninja's log: wall time, summed step time, and the share of
# compiling, code generation (moc, uic, rcc), precompiled headers and linking.
#   scripts/measure-build.sh [BUILD_DIR]     the last build of BUILD_DIR (default: build)
#   scripts/measure-build.sh --clean         configures and builds a fresh folder as the README's
#                                            test command does (without the tests) and reads it
# Read a clean build's log: an incremental build counts only the steps it ran.
set -euo pipefail
source "$(dirname "${BASH_SOURCE[0]}")/common.sh"

if [ "${1:-}" = "--clean" ]; then
    dir=$(mktemp -d "${TMPDIR:-/tmp}/lv-measure.XXXXXX")
    trap 'rm -rf "$dir"' EXIT
    # An empty compiler cache: what a fresh machine sees.
    export CCACHE_DIR="$dir/ccache"
    start=$(date +%s)
    lv_build "$dir/build"
    echo "clean build: $(($(date +%s) - start)) s wall on $(lv_cpu_count) cores"
    dir="$dir/build"
else
    dir=${1:-$LV_SOURCE_DIR/build}
fi
log="$dir/.ninja_log"
[ -f "$log" ] || { echo "no ninja log in $dir" >&2; exit 1; }

# One line per output; a step with several outputs repeats its start, end and command hash.
awk -F'\t' '
    /^#/ { next }
    {
        key = $1 " " $2 " " $5
        if (key in seen) next
        seen[key] = 1
        ms = $2 - $1; out = $4
        if (out ~ /cmake_pch\.hxx\.(gch|pch)$/) kind = "precompiled headers"
        else if (out ~ /mocs_compilation\.cpp\.o$/ || out ~ /_autogen\/.*\.o$/) kind = "compiling moc output"
        else if (out ~ /\.o$/) kind = "compiling"
        else if (out ~ /_autogen\/timestamp$/ || out ~ /_autogen\/include/ || out ~ /\/ui_[^\/]*\.h$/ || out ~ /qrc_[^\/]*\.cpp$/ || out ~ /_autogen\/mocs_compilation\.cpp$/) kind = "code generation (moc, uic, rcc)"
        else if (out ~ /\.(a|so|dylib)$/ || out !~ /\.[A-Za-z0-9]+$/) kind = "linking and archiving"
        else kind = "other"
        sum[kind] += ms; n[kind]++; total += ms; steps++
        if (first == "" || $1 < first) first = $1
        if ($2 > last) last = $2
    }
    END {
        printf "wall %.0f s, %d steps, summed step time %.0f s\n", (last - first) / 1000, steps, total / 1000
        for (k in sum) printf "  %-34s %4d steps %7.0f s  %3.0f %%\n", k, n[k], sum[k] / 1000, 100 * sum[k] / total
    }' "$log"
