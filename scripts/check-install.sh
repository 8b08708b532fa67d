#!/usr/bin/env bash
# Installs the library into a temporary prefix and builds two consumers
# against it: a C program through pkg-config and a C++ program through
# find_package(ZovCommon). Both must run.
set -euo pipefail
cd "$(dirname "$0")/.."
prefix=$(mktemp -d)
work=$(mktemp -d)
trap 'rm -rf "$prefix" "$work"' EXIT

cmake -S . -B "$work/lib" -DZOV_BUILD_TESTS=OFF -DZOV_BUILD_EXAMPLES=OFF -DCMAKE_INSTALL_PREFIX="$prefix" >/dev/null
cmake --build "$work/lib" -j "$(nproc)" >/dev/null
cmake --install "$work/lib" >/dev/null

libdir=$(dirname "$(find "$prefix" -name 'libZovCommon.so.1' | head -n 1)")
export PKG_CONFIG_PATH="$libdir/pkgconfig"
cc -std=c11 -Wall -Werror tests/consumers/c/consumer.c -o "$work/c-consumer" \
   $(pkg-config --cflags --libs zovcommon) -Wl,-rpath,"$libdir"
"$work/c-consumer"

cmake -S tests/consumers/cpp -B "$work/cpp" -DCMAKE_PREFIX_PATH="$prefix" >/dev/null
cmake --build "$work/cpp" >/dev/null
LD_LIBRARY_PATH="$libdir" "$work/cpp/consumer"
echo "install check: both consumers built and ran"
