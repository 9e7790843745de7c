#!/usr/bin/env bash
# Compares the player with mpv and ffplay on a virtual display; prints medians, ratios and goals.
# usage: run.sh [PART] [ROUNDS] [SECONDS]
#   PART     all (default), play, trick, or one part of trick: seek, reverse, race, open
#   ROUNDS   how often each player is measured (5)
#   SECONDS  length of the streams that are played from end to end (8)
set -euo pipefail

part=${1:-all}
rounds=${2:-5}
seconds=${3:-8}
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
  processor time   of the whole process, all threads; per picture from the first to the last.
  seeking          from the order (zandor: a press on the position slider; mpv: its control socket) to the picture
                   asked for on the screen. Every other first picture is not exact and has no time. In pause the
                   processor time counts until the player does nothing any more.
  backward         from the order (zandor: the Prevward button; mpv: play-dir) to the first older picture,
                   then 10 seconds.
  times as fast    zandor: its Fast button; for 2 to 5 times a table between player and engine gives that button
                   the other speed. mpv: speed.
Sound goes nowhere (SDL's dummy driver; mpv: --ao=null). mpv: --vo=x11 --zimg-scaler=bilinear --zimg-dither=no
--hr-seek=yes; --hr-seek-demuxer-offset is half a second more than a group, without which its seeks are not exact.
Values are medians with (least..largest), or single numbers.
TEXT
"$root/scripts/with_virtual_display.sh" "$build/bin/player_bench" "$build/bin" "$scratch" "$scratch" \
    "$part" "$rounds" "$seconds"
