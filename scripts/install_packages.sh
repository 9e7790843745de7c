#!/usr/bin/env bash
# Installs the Debian packages that building, testing and running need, as far as they are missing.
# usage: install_packages.sh [run|test|bench]   (run: build and play; test: also what the tests and checks need;
# bench: also the players to compare with)
set -euo pipefail

run_packages=(
    build-essential ccache cmake ninja-build pkg-config
    qtbase5-dev
    libavcodec-dev libavfilter-dev libavformat-dev libavutil-dev libsdl2-dev libswresample-dev libswscale-dev
    libbenchmark-dev
    ffmpeg fonts-dejavu-core imagemagick openbox x11-utils xdotool xvfb
)
test_packages=(
    clang-format clang-tidy iproute2 libgmock-dev libgtest-dev libxml2-utils procps util-linux xauth
    gstreamer1.0-plugins-bad gstreamer1.0-plugins-base gstreamer1.0-plugins-good libgstrtspserver-1.0-dev
)

packages=("${run_packages[@]}")
if [[ "${1:-run}" == test ]]; then
    packages+=("${test_packages[@]}")
fi

if [[ "${1:-run}" == bench ]]; then
    packages+=(mpv)
fi

missing=()
for package in "${packages[@]}"; do
    if [[ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null)" != installed ]]; then
        missing+=("$package")
    fi
done
if ((${#missing[@]} == 0)); then
    echo "packages: all ${#packages[@]} are installed"
    exit 0
fi

echo "packages: installing ${missing[*]}"
as_root=()
if ((EUID != 0)); then
    as_root=(sudo)
fi
export DEBIAN_FRONTEND=noninteractive
"${as_root[@]}" apt-get update -qq
"${as_root[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}" >/dev/null
