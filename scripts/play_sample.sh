#!/usr/bin/env bash
# Starts the player and drives it as a person would: Media, Play File, the file's name, Play.
# usage: play_sample.sh BIN_FOLDER FILE [SCREENSHOT]
# With SCREENSHOT the screen is saved there once the stream plays, and the player is closed; without, the window
# stays until the user closes it.
set -euo pipefail

bin=$(realpath "$1")
file=$(realpath "$2")
screenshot=${3:+$(realpath -m "$3")}

# The player looks for its engine, and keeps its settings, in its working directory.
work=$(dirname "$bin")/play
mkdir -p "$work"
ln -sfn "$bin/libvelmora.so" "$work/libvelmora.so"
cd "$work"

export QT_QPA_PLATFORM=xcb
"$bin/zandor_player" &
player=$!
trap 'kill "$player" 2>/dev/null || true' EXIT

# Waits for a window of the player with this title and prints its id.
window_of() {
    timeout 60 xdotool search --sync --onlyvisible --all --pid "$player" --name "$1" | tail -n 1
}

if ! main=$(window_of '^Zandor Player$') || [[ -z "$main" ]]; then
    echo "player: its window cannot be driven here; choose Media, Play File and $file in it"
    trap - EXIT
    wait "$player"
    exit
fi
echo "player: the window is up"
xdotool windowactivate --sync "$main" 2>/dev/null || true
# The first entry of the first menu.
xdotool mousemove --window "$main" 25 10 click 1 sleep 0.5 key Down Return
dialog=$(window_of '^Playback$')
xdotool windowactivate --sync "$dialog" 2>/dev/null || true
echo "player: plays $file"
xdotool type --delay 5 "$file"
xdotool key Return

if [[ -z "$screenshot" ]]; then
    trap - EXIT
    wait "$player"
    exit
fi

# Two looks at the same place of the screen that differ show a picture that moves.
look() { import -silent -window "$main" -crop 400x200+160+200 -depth 8 rgb:- | sha256sum; }
for ((i = 0; i < 100; i++)); do
    before=$(look)
    sleep 0.3
    if [[ "$(look)" != "$before" ]]; then
        sleep 2
        import -silent -window root "$screenshot"
        echo "player: the picture moves; a screenshot is in $screenshot"
        exit
    fi
done
echo "player: no moving picture appeared" >&2
exit 1
