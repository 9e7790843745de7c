#!/usr/bin/env bash
# Installs what is missing, builds everything and runs all checks and tests:
#   1. the development build with every test,
#   2. formatting and forms, and what clang-tidy says of the application and the engine (of everything:
#      scripts/tidy.sh build/dev),
#   3. unit, application and engine tests under AddressSanitizer and UndefinedBehaviorSanitizer,
#   4. the engine's and the media blocks' tests, threads and all, under ThreadSanitizer.
set -euo pipefail
cd "$(dirname "$0")"

scripts/install_packages.sh test

build() {
    local preset=$1
    shift
    echo "build: $preset"
    cmake --preset "$preset" >/dev/null
    cmake --build --preset "$preset" ${1:+--target "$@"}
}

run_tests() {
    echo "test: $*"
    # They wait for pictures more than they compute.
    ctest --preset "$@" --parallel $(($(nproc) * 3 / 2))
}

build dev
# More than a thousand damaged streams play under AddressSanitizer below, here some of them.
run_tests dev --exclude-regex 'Damaged(Live)?Streams.*/([4-9]|1[0-9]|20)$'

scripts/lint.sh
scripts/tidy.sh build/dev src general engine engine_blocks

sanitizers=$PWD/tests/sanitizers
# Whole stacks, so that a leak is told from one of a library without frame pointers.
export ASAN_OPTIONS=detect_leaks=1:detect_stack_use_after_return=1:fast_unwind_on_malloc=0
export LSAN_OPTIONS=suppressions=$sanitizers/lsan.supp:print_suppressions=0
export UBSAN_OPTIONS=print_stacktrace=1
export TSAN_OPTIONS=suppressions=$sanitizers/tsan.supp:halt_on_error=1

build asan
# Tests on a display drive whole processes and what the desktop loads into them.
# Paces are for undisturbed builds to keep.
run_tests asan --label-exclude 'end_to_end|display' --exclude-regex 'TrickPace|PlaybackPace|FilePace|LivePace'

build tsan engine_audio_tests engine_blocks_tests engine_live_tests engine_receive_tests engine_record_tests \
    engine_table_tests engine_unit_tests
# Decoders' own threads are in a library that is not instrumented: nobody could tell a race there.
run_tests tsan --label-regex engine --exclude-regex 'TrickPace|PlaybackPace|FilePace|LivePace|Hurrying.*Track|SeekInLargePictures'

echo "all tests passed"
