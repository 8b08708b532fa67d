#!/usr/bin/env bash
# Builds the fuzz targets with clang (libFuzzer, ASan, UBSan) and runs each one
# for SECONDS seconds (default 30), as many at a time as there are cores.
# Each target starts from its seeds in fuzz/corpus/<target> and keeps what it
# finds in build-fuzz/corpus/<target>, so later runs go on from there. Any
# finding (crash, sanitizer report, leak, an input slower than 10 s, more than
# 2 GB of memory) fails the run; the input is left in
# build-fuzz/findings/<target>/ and the log in build-fuzz/logs/<target>.log.
#
# Usage: scripts/fuzz.sh [SECONDS] [TARGET...]
#   TARGET: mime base64 envelope config text gzip (default: all)
# Replay a finding: build-fuzz/fuzz/fuzz_<target> build-fuzz/findings/<target>/<file>
set -euo pipefail
cd "$(dirname "$0")/.."
scripts/deps.sh clang
scripts/deps.sh "libclang-rt-$(clang -dumpversion | cut -d. -f1)-dev"

seconds=${1:-30}
shift || true
if (($#)); then
  targets=("$@")
else
  targets=($(ls fuzz/fuzz_*.cpp | sed 's|fuzz/fuzz_\(.*\)\.cpp|\1|'))
fi

CC=clang CXX=clang++ cmake -S . -B build-fuzz -DCMAKE_BUILD_TYPE=RelWithDebInfo -DZOV_BUILD_FUZZ=ON \
  -DZOV_BUILD_TESTS=OFF -DZOV_BUILD_TOOLS=OFF -DZOV_BUILD_EXAMPLES=OFF >/dev/null
cmake --build build-fuzz -j "$(nproc)"

run_target() {
  local target=$1 seconds=$2 dict=()
  case $target in
    envelope | config) dict=(-dict=fuzz/xml.dict) ;;
    mime) dict=(-dict=fuzz/mime.dict) ;;
  esac
  mkdir -p "build-fuzz/corpus/$target" "build-fuzz/findings/$target" build-fuzz/logs
  # -close_fd_mask=2 silences the library's own reports; the fuzzer's and the
  # sanitizers' output still reaches the log.
  if "build-fuzz/fuzz/fuzz_$target" "build-fuzz/corpus/$target" "fuzz/corpus/$target" "${dict[@]}" \
       -max_total_time="$seconds" -timeout=10 -rss_limit_mb=2048 -close_fd_mask=2 -print_final_stats=1 \
       -artifact_prefix="build-fuzz/findings/$target/" >"build-fuzz/logs/$target.log" 2>&1; then
    printf '%-9s %s, %s\n' "$target" \
      "$(grep -o 'Done [0-9]* runs in [0-9]* second(s)' "build-fuzz/logs/$target.log")" \
      "$(grep -o 'exec/s: [0-9]*' "build-fuzz/logs/$target.log" | tail -1)"
  else
    echo "$target: FINDING, see build-fuzz/logs/$target.log and build-fuzz/findings/$target/"
    tail -n 40 "build-fuzz/logs/$target.log"
    return 1
  fi
}
export -f run_target

printf '%s\n' "${targets[@]}" | xargs -P "$(nproc)" -I{} bash -c 'run_target "$1" "$2"' _ {} "$seconds"
