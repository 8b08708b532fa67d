#!/usr/bin/env bash
# Sets up the machine, builds the library and zovtool, and inspects the
# captured configuration command of the examples.
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh
cmake -S . -B build
cmake --build build -j "$(nproc)"
./build/tools/zovtool inspect examples/responses/config-wired.http
