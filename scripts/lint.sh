#!/usr/bin/env bash
# Checks the formatting and the forms; with a build folder also what clang-tidy has to say.
# usage: lint.sh [BUILD_FOLDER]   (a configured and built one: clang-tidy needs its compile commands)
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

if [[ -n "${1:-}" ]]; then
    scripts/tidy.sh "$1"
fi
echo "lint: passed"
