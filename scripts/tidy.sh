#!/usr/bin/env bash
# Checks sources with clang-tidy: all, or those below the folders named. A source that passed is not looked at again until it, what it includes or
# the checks change; what passed is remembered in the user's cache, for every build folder.
# usage: tidy.sh BUILD_FOLDER [FOLDER...]   (a built one: clang-tidy needs its compile commands and headers)
set -euo pipefail
cd "$(dirname "$0")/.."

build=$(realpath "$1")
shift
folders=("${@%/}")
root=$PWD
passed=${XDG_CACHE_HOME:-$HOME/.cache}/zandor-player/tidy
mkdir -p "$passed"
checks=$(clang-tidy --version | cat - .clang-tidy tests/.clang-tidy | sha256sum)

# What each source was built from, without the system's headers: one line a source, itself first.
built_from() {
    ninja -C "$build" -t deps | (
        cd "$build"
        awk '/^[^ ]/ { if (line) print line; line = "" } /^ / && $1 !~ /^\/usr\/|cmake_pch/ { line = line " " $1 }
             END { if (line) print line }' |
            while read -ra files; do
                realpath --relative-to="$root" "${files[@]}" | tr '\n' ' '
                echo
            done
    )
}

is_wanted() {
    local folder
    [[ "$1" == *.cpp && "$1" != build/* ]] || return 1
    ((${#folders[@]} > 0)) || return 0
    for folder in "${folders[@]}"; do
        [[ "$1" == "$folder"/* ]] && return 0
    done
    return 1
}

# Precompiled headers are made for another compiler.
commands=$build/tidy
mkdir -p "$commands"
sed 's/ -Winvalid-pch -include [^ ]*cmake_pch\.hxx//; s/ -fpch-preprocess//' "$build/compile_commands.json" \
    >"$commands/compile_commands.json"

pending=()
count=0
while read -ra files; do
    unit=${files[0]}
    is_wanted "$unit" || continue
    ((++count))
    stamp=$passed/$(sha256sum "${files[@]}" | sed "1i $checks" | sha256sum | cut -c1-32)
    [[ -e "$stamp" ]] || pending+=("$unit $stamp")
done < <(built_from)
echo "tidy: ${#pending[@]} of $count sources to look at"

check() {
    local unit=$1 stamp=$2 output
    if output=$(clang-tidy --quiet -p "$commands" "$unit" 2>/dev/null); then
        touch "$stamp"
    else
        printf '%s\n' "$output"
        return 1
    fi
}
export -f check
export commands
if ((${#pending[@]} > 0)); then
    printf '%s\n' "${pending[@]}" | xargs -P "$(nproc)" -L 1 bash -c 'check "$1" "$2"' check
fi
