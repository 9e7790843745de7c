#!/usr/bin/env bash
# Compares the player with mpv and ffplay on a virtual display; prints medians, ratios and goals.
# usage: run.sh [PART] [ROUNDS] [SECONDS]
#   PART     all (default), one of the groups play, trick and live, or one part:
#            of trick: seek, reverse, race, open; of live: zap, latency, loss, recording, pacing, engine
#   ROUNDS   how often each player is measured (5; zap: 2)
#   SECONDS  length of the streams that are played from end to end (8), or for which a live one is watched (60;
#            the one without delay a quarter of it)
set -euo pipefail

part=${1:-all}
groups=("$part")
[[ $part == all ]] && groups=(play trick live)
root=$(cd "$(dirname "${BASH_SOURCE[0]}")/.." && pwd)
build=$root/build/release
cd "$root"

scripts/install_packages.sh bench

cmake --preset release >/dev/null
cmake --build --preset release -j"$(nproc)"

scratch=$(mktemp -d)
trap 'rm -rf "$scratch"' EXIT
export VIRTUAL_DISPLAY_BUFFER=$scratch SDL_AUDIODRIVER=dummy

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
  zap              from exec, as above (zandor: Play in the network dialog). The stream begins to flow once the
                   player's port is open, so that all wait for the same key picture.
  delay            from a picture's last packet on the wire to the screen. The stream is sent as its PCR says, muxed
                   at a constant rate, over the loopback.
  recording        zandor: its engine alone. ffmpeg: -c copy, a socket buffer of 4 MiB and a queue of 188 MB.
  pacing           kernel time of arrival of each datagram beside PCR time, their median difference taken off.
                   zandor: its engine alone, while it plays the file. ffmpeg: -re -c copy.
Sound goes nowhere (SDL's dummy driver; mpv: --ao=null). mpv: --vo=x11 --zimg-scaler=bilinear --zimg-dither=no
--hr-seek=yes; --hr-seek-demuxer-offset is half a second more than a group, without which its seeks are not exact.
Live mpv: --profile=low-latency --cache=no. Live ffplay: -fflags nobuffer, for the stream without delay also -flags
low_delay -probesize 32 -analyzeduration 0 -sync ext -vf setpts=0, with which it shows each picture as it comes.
Values are medians with (least..largest), or single numbers.
TEXT
for group in "${groups[@]}"; do
    case $group in
    live | zap | latency | loss | recording | pacing | engine) default_rounds=2 default_seconds=60 ;;
    *) default_rounds=5 default_seconds=8 ;;
    esac
    "$root/scripts/with_virtual_display.sh" "$build/bin/player_bench" "$build/bin" "$scratch" "$scratch" \
        "$group" "${2:-$default_rounds}" "${3:-$default_seconds}"
done
