#!/usr/bin/env bash
# Checks the formatting of sources, that forms and images are well formed, that the engine has
# one clock, and the contract one place in it.
set -euo pipefail
cd "$(dirname "$0")/.."

mapfile -t sources < <(git ls-files '*.cpp' '*.h')
echo "lint: formatting of ${#sources[@]} files"
clang-format --dry-run --Werror "${sources[@]}"

mapfile -t forms < <(git ls-files '*.ui' '*.qrc' '*.svg')
if ((${#forms[@]} > 0)); then
    echo "lint: ${#forms[@]} forms and images"
    xmllint --noout "${forms[@]}"
fi

# What reads a clock by itself cannot be simulated; the log limits its lines by the machine's.
echo "lint: the engine's only clock"
if git grep -nE 'steady_clock|SteadyClock::now|CLOCK_MONOTONIC|CLOCK_THREAD|sleep_for|sleep_until' -- engine \
    ':!engine/pacing/real_time.cpp' ':!engine/media/timeline.h' ':!engine/diagnostics/log.cpp'; then
    echo "lint: time comes from the TimeSource" >&2
    exit 1
fi

# What is inside knows no records of C.
echo "lint: the contract's place"
if git grep -n 'velmoraapi.h' -- engine ':!engine/boundary'; then
    echo "lint: the contract's records stay in engine/boundary" >&2
    exit 1
fi

echo "lint: passed"
