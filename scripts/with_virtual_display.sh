#!/usr/bin/env bash
# Runs a command on a virtual display with a window manager, and ends both afterwards.
# usage: with_virtual_display.sh COMMAND [ARGUMENT...]
# Environment: VIRTUAL_DISPLAY_SIZE (default 1280x900), VIRTUAL_DISPLAY_BUFFER (folder for the framebuffer file)
set -euo pipefail

size=${VIRTUAL_DISPLAY_SIZE:-1280x900}
folder=$(mktemp -d)
server=
manager=
cleanup() {
    [[ -n "$manager" ]] && kill "$manager" 2>/dev/null || true
    [[ -n "$server" ]] && kill "$server" 2>/dev/null || true
    wait 2>/dev/null || true
    rm -rf "$folder"
}
trap cleanup EXIT

options=(-screen 0 "${size}x24" -nolisten tcp)
if [[ -n "${VIRTUAL_DISPLAY_BUFFER:-}" ]]; then
    options+=(-fbdir "$VIRTUAL_DISPLAY_BUFFER")
fi
# The server picks a free display number itself and writes it once it is ready.
mkfifo "$folder/number"
Xvfb -displayfd 3 "${options[@]}" 3>"$folder/number" 2>"$folder/server.log" &
server=$!
if ! read -r -t 30 number <"$folder/number"; then
    cat "$folder/server.log" >&2
    echo "display: the virtual display did not start" >&2
    exit 1
fi
export DISPLAY=:$number
unset WAYLAND_DISPLAY
export QT_QPA_PLATFORM=xcb

openbox >"$folder/manager.log" 2>&1 &
manager=$!
for ((i = 0; i < 100; i++)); do
    xprop -root _NET_SUPPORTING_WM_CHECK 2>/dev/null | grep -q 'window id' && break
    sleep 0.1
done

status=0
"$@" || status=$?
exit "$status"
