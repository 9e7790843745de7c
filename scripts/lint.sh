#!/usr/bin/env bash
# Checks the formatting and the forms; with a build folder also what clang-tidy has to say. A file that passed is
# not looked at again until it, a header or the checks change.
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

build=${1:-}
if [[ -z "$build" ]]; then
    echo "lint: passed"
    exit
fi
passed=$build/lint
mkdir -p "$passed"
mapfile -t headers < <(git ls-files '*.h' '.clang-tidy' '*/.clang-tidy' '*.ui')
shared=$(cat "${headers[@]}" | sha256sum | cut -c1-16)
pending=()
mapfile -t units < <(git ls-files '*.cpp')
for unit in "${units[@]}"; do
    stamp=$passed/$(printf '%s %s %s' "$unit" "$shared" "$(sha256sum <"$unit")" | sha256sum | cut -c1-32)
    if [[ ! -e "$stamp" ]] && grep -qF "/$unit\"" "$build/compile_commands.json"; then
        pending+=("$unit $stamp")
    fi
done
echo "lint: clang-tidy on ${#pending[@]} of ${#units[@]} files"
check() {
    local unit=$1 stamp=$2 output
    if output=$(clang-tidy --quiet -p "$build" --extra-arg=-Wno-unknown-warning-option "$unit" 2>/dev/null); then
        touch "$stamp"
    else
        printf '%s\n' "$output"
        return 1
    fi
}
export -f check
export build
if ((${#pending[@]} > 0)); then
    printf '%s\n' "${pending[@]}" | xargs -P "$(nproc)" -L 1 bash -c 'check "$1" "$2"' check
fi
echo "lint: passed"
