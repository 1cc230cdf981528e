#!/usr/bin/env bash
# Fails when a C++ file of the project differs from what clang-format (.clang-format) makes of it.
#   LV_CLANG_FORMAT   the clang-format to use (default: clang-format)
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."
format=${LV_CLANG_FORMAT:-clang-format}
# A Mac's bash 3.2 has no mapfile.
files=()
while IFS= read -r file; do files+=("$file"); done < <(git ls-files -- '*.cpp' '*.h' | grep -v '^build')
"$format" --version
"$format" --dry-run --Werror "${files[@]}"
echo "clang-format: ${#files[@]} files formatted"
