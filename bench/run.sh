#!/usr/bin/env bash
# Compares the player with mpv and ffplay on a virtual display; prints medians, ratios and goals.
# usage: run.sh [ROUNDS] [SECONDS]
set -euo pipefail

rounds=${1:-5}
seconds=${2:-8}
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=$root/build/release
cd "$root"

scripts/install_packages.sh bench

cmake --preset release >/dev/null
cmake --build --preset release -j"$(nproc)"

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export VIRTUAL_DISPLAY_BUFFER=$scratch

cat <<'TEXT'

How it is measured: each player shows the same streams in its own window on one virtual display, one after the
other, round by round; the numbers drawn into the pictures are read from the display's memory.
  first picture    mpv, ffplay: from exec. zandor: exec to its window plus the press of Play to the first picture;
                   the time a user takes in the dialog between the two is left out.
  opening          from the order (zandor: Play in the dialog; mpv: loadfile) after another stream has ended.
  processor time   of the whole process, all threads, from the first picture to the last, per picture shown.
Sound goes nowhere (SDL's dummy driver; mpv: --ao=null). mpv: --vo=x11 --zimg-scaler=bilinear --zimg-dither=no.
Values are medians with (least..largest).
TEXT
"$root/scripts/with_virtual_display.sh" "$build/bin/player_bench" "$build/bin" "$scratch" "$scratch" "$rounds" "$seconds"
