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
    echo "build: $1"
    cmake --preset "$1" >/dev/null
    cmake --build --preset "$1"
}

# Which ones run in a build their labels say, in CMakePresets.json.
run_tests() {
    echo "test: $1"
    # They wait for pictures more than they compute.
    ctest --preset "$1" --parallel $(($(nproc) * 3 / 2))
}

build dev
run_tests dev

scripts/lint.sh
scripts/tidy.sh build/dev src general engine engine_blocks

sanitizers=$PWD/tests/sanitizers
# Whole stacks, so that a leak is told from one of a library without frame pointers.
export ASAN_OPTIONS=detect_leaks=1:detect_stack_use_after_return=1:fast_unwind_on_malloc=0
export LSAN_OPTIONS=suppressions=$sanitizers/lsan.supp:print_suppressions=0
export UBSAN_OPTIONS=print_stacktrace=1
export TSAN_OPTIONS=suppressions=$sanitizers/tsan.supp:halt_on_error=1

build asan
run_tests asan

build tsan
run_tests tsan

echo "all tests passed"
