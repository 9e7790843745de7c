#!/usr/bin/env bash
# Runs every shell line of README.md and docs/try-it.md that needs no person, in a fresh clone, in the order of the
# documents, each once. A line that this script does not know fails it. What is not committed is not tested.
# usage: shell_lines.sh CHECKOUT
set -euo pipefail

checkout=$(realpath "$1")
if [[ -z "${README_NETWORK:-}" ]]; then
    README_NETWORK=own exec "$checkout/tests/support/own_network.sh" "$0" "$@"
fi
if ! git -C "$checkout" rev-parse --verify -q HEAD >/dev/null; then
    echo "readme: skipped, $checkout is no checkout that can be cloned"
    exit 77
fi

folder=$(mktemp -d)
log=$folder/log
: >"$log"
started=
cleanup() {
    stop_line
    rm -rf "$folder"
}
trap cleanup EXIT
git clone -q "$checkout" "$folder/clone"
cd "$folder/clone"
# What was compiled in another clone counts.
export CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1
unset DISPLAY WAYLAND_DISPLAY

fail() {
    echo "readme: $*" >&2
    tail -n 40 "$log" >&2
    exit 1
}

# Ends the line that runs on: its first program, as Ctrl+C would, so that what reads from it comes to its end.
stop_line() {
    [[ -n "$started" ]] || return 0
    local first
    first=$(pgrep -P "$started" | head -n 1 || true)
    # A reader that waits for data heeds the second one only.
    kill -INT "${first:-$started}" 2>/dev/null || true
    sleep 0.2
    kill -INT "${first:-$started}" 2>/dev/null || true
    wait "$started" 2>/dev/null || true
    started=
}

run() {
    bash -c "$1" >"$log" 2>&1 </dev/null || fail "failed: $1"
}

# Starts a line that runs on, as the only child of a shell or as the first program of its pipe.
start() {
    : >"$log"
    (
        trap - INT
        eval "$1"
        exit
    ) >"$log" 2>&1 </dev/null &
    started=$!
}

# Waits until a command succeeds, as long as the line runs.
until_succeeds() {
    local i
    for ((i = 0; i < 300; i++)); do
        "$@" >/dev/null 2>&1 && return
        kill -0 "$started" 2>/dev/null || return 1
        sleep 0.1
    done
    return 1
}

sends() {
    start "$1"
    until_succeeds grep -q 'time=00:00:0[1-9]' "$log" || fail "sends nothing: $1"
    stop_line
}

serves() {
    mkfifo "$folder/enter"
    bash -c "$1" >"$log" 2>&1 <"$folder/enter" &
    started=$!
    exec 3>"$folder/enter"
    until_succeeds ffprobe -v error -i rtsp://127.0.0.1:8554/live || fail "serves nothing: $1"
    echo >&3
    wait "$started" || fail "Enter does not end it well: $1"
    started=
}

# Whether the line prints what comes to its port. It listens at some time: until it has heard, it is told again.
prints() {
    local line=$1 address=$2 port=$3 i
    start "$line"
    for ((i = 0; i < 30; i++)); do
        kill -0 "$started" 2>/dev/null || fail "ends by itself: $line"
        echo -n 123456 2>/dev/null >"/dev/udp/$address/$port" || true
        sleep 0.1
    done
    stop_line
    grep -q '[0-9]' "$log" || fail "prints nothing: $line"
}

# The lines about the board need a machine of their own; a namespace is one.
board_lines=()
show_board() {
    if ! unshare --net --mount true 2>/dev/null; then
        echo "readme: skipped for want of the right to make a network: ${#board_lines[@]} lines about the data board"
        return
    fi
    {
        declare -f fail start stop_line prints
        declare -p log
        echo 'set -euo pipefail; started='
        printf 'PATH=%q:$PATH\n' "$folder"
        echo 'mount -t tmpfs none /run'
        printf '%s\n' "${board_lines[@]:0:${#board_lines[@]}-1}"
        printf 'prints %q 10.99.0.2 3100\n' "${board_lines[-1]}"
    } >"$folder/board"
    printf '#!/bin/sh\nexec "$@"\n' >"$folder/sudo" # the namespace is root's
    chmod +x "$folder/sudo"
    unshare --net --mount bash "$folder/board" 2>&1 || fail "failed: the lines about the data board"
}

documents=(README.md docs/try-it.md)
lines=
for document in "${documents[@]}"; do
    of_document=$(sed -n 's/^    //p' "$document")
    [[ -n "$of_document" ]] || fail "$document has no shell lines"
    lines+=$of_document$'\n'
done
count=0
declare -A seen
while IFS= read -r line; do
    [[ -z "${seen[$line]:-}" ]] || continue
    seen[$line]=1
    count=$((count + 1))
    SECONDS=0
    case $line in
    ./run.sh*) run "$line" ;;
    ./test.sh*) echo "readme: skipped since this test is among what it runs: $line" ;;
    'scripts/install_packages.sh '*'--target '*) run "$line" ;;
    build/dev/bin/with_data* | 'cat build/sample/'*) run "$line" ;;
    build/dev/bin/rtsp_server*) serves "$line" ;;
    'ffmpeg -re '*) sends "$line" ;;
    'ffmpeg -loglevel error -f data -i udp://127.0.0.1:5001 '*) prints "$line" 127.0.0.1 5001 ;;
    'ffplay '*) echo "readme: skipped since it shows what a person sends: $line" ;;
    'sudo ip '* | 'echo '*'zandor_player.cfg'*) board_lines+=("$line") ;;
    *) fail "there is no test for: $line" ;;
    esac
    echo "readme: $SECONDS s: $line"
done <<<"${lines%$'\n'}"
show_board
echo "readme: $count lines"
