#!/usr/bin/env bash
# Sets up the machine, builds the library with its tests and benchmarks, and
# runs the tests. With --sanitize, builds and runs everything under
# AddressSanitizer and UndefinedBehaviorSanitizer (any report fails the run).
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh

build=build
flags=(-DZOV_BUILD_TESTS=ON -DZOV_BUILD_BENCH=ON)
if [ "${1:-}" = "--sanitize" ]; then
  build=build-sanitize
  flags=(-DZOV_BUILD_TESTS=ON -DZOV_BUILD_BENCH=OFF -DZOV_SANITIZE=ON -DCMAKE_BUILD_TYPE=Debug)
  export ASAN_OPTIONS=detect_leaks=1:abort_on_error=1:strict_string_checks=1:detect_stack_use_after_return=1
  export UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1
fi

cmake -S . -B "$build" "${flags[@]}"
cmake --build "$build" -j "$(nproc)"
cd "$build"
ctest --output-on-failure -j "$(nproc)"
