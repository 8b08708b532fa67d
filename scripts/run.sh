#!/usr/bin/env bash
# Sets up the machine, builds the library and runs the example program.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
cmake -S . -B build -DZOV_BUILD_TESTS=OFF
cmake --build build -j "$(nproc)"
./build/zov_example
