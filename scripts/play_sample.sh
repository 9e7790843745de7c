#!/usr/bin/env bash
# Starts the player and drives it as a person would: Media, Play File, the file's name, Play.
# usage: play_sample.sh BIN_FOLDER FILE [SCREENSHOT]
# With SCREENSHOT the window's picture is saved there once it plays, and the player is closed;
# without, the window stays until the user closes it.
set -euo pipefail

bin=$(realpath "$1")
file=$(realpath "$2")
screenshot=${3:+$(realpath -m "$3")}

work=$bin/../play
mkdir -p "$work"
work=$(realpath "$work")
ln -sfn "$bin/libvelmora.so" "$work/libvelmora.so" # the player looks for its engine in the working directory
cd "$work"

export QT_QPA_PLATFORM=xcb
"$bin/zandor_player" &
player=$!
trap 'kill "$player" 2>/dev/null || true' EXIT

# Waits until a window of the player with this title is on the screen and prints its id.
window_of() {
    timeout 60 xdotool search --sync --onlyvisible --pid "$player" --name "$1" | tail -n 1
}

main=$(window_of '^Zandor Player$')
echo "player: window is up"
xdotool windowactivate --sync "$main" key --clearmodifiers alt+m
sleep 0.5
xdotool key Down Return
dialog=$(window_of '^Playback$')
echo "player: choosing $file"
xdotool windowactivate --sync "$dialog"
"$(dirname "$(realpath "${BASH_SOURCE[0]}")")/true" 2>/dev/null || true
xdotool type --delay 5 "$file"
xdotool key Return
