#!/usr/bin/env bash
# Installs what is missing, builds the player and plays a sample transport stream in its window.
# Without a display the window opens in a virtual one and a screenshot of it is left in build/screenshot.png.
set -euo pipefail
cd "$(dirname "$0")"

scripts/install_packages.sh run

echo "build: configuring and building the release"
cmake --preset release -DZANDOR_BUILD_BENCH=OFF >/dev/null
cmake --build --preset release

sample=$PWD/build/sample/sample.ts
scripts/make_sample_stream.sh "$sample"

if [[ -n "${DISPLAY:-}" ]]; then
    scripts/play_sample.sh build/release/bin "$sample"
else
    echo "display: none, using a virtual one"
    SDL_AUDIODRIVER=${SDL_AUDIODRIVER:-dummy} \
        scripts/with_virtual_display.sh scripts/play_sample.sh build/release/bin "$sample" build/screenshot.png
fi
