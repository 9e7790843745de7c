#!/usr/bin/env bash
# Runs a test with a screen and a network of its own, and with a file of its own for what is heard.
# usage: on_screen.sh COMMAND [ARGUMENT...]
set -euo pipefail

root=$(cd "$(dirname "${BASH_SOURCE[0]}")/../.." && pwd)
folder=$(mktemp -d)
trap 'rm -rf "$folder"' EXIT
export SDL_AUDIODRIVER=disk SDL_DISKAUDIOFILE=$folder/sound.raw
"$root/scripts/with_virtual_display.sh" "$root/tests/support/own_network.sh" "$@"
