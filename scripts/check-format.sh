#!/usr/bin/env bash
# Fails when a C++ file of the project differs from what clang-format (.clang-format) makes of it.
#   LV_CLANG_FORMAT   the clang-format to use (default: clang-format)
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
format=${LV_CLANG_FORMAT:-clang-format}
mapfile -t files < <(git ls-files -- '*.cpp' '*.h' | grep -v '^build')
"$format" --version
"$format" --dry-run --Werror "${files[@]}"
echo "clang-format: ${#files[@]} files formatted"
