#!/usr/bin/env bash
# Checks the formatting of sources and that forms and images are well formed.
set -euo pipefail
cd "$(dirname "$0")/.."

mapfile -t sources < <(git ls-files '*.cpp' '*.h')
echo "lint: formatting of ${#sources[@]} files"
clang-format --dry-run --Werror "${sources[@]}"

mapfile -t forms < <(git ls-files '*.ui' '*.qrc' '*.svg')
if ((${#forms[@]} > 0)); then
    echo "lint: ${#forms[@]} forms and images"
    xmllint --noout "${forms[@]}"
fi

echo "lint: passed"
