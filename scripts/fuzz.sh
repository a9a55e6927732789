#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Builds the fuzz targets with clang and libFuzzer and runs each for a
# bounded time on a copy of the kept corpus. Usage: fuzz.sh <build dir> <seconds>
# A crash leaves its input in <build dir>/crashes and fails the run.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build-fuzz}
seconds=${2:-60}

if ! command -v clang++ >/dev/null; then
  echo "fuzz: clang++ is not installed; the corpus still runs in 'make test'" >&2
  exit 0
fi

CC=clang CXX=clang++ cmake -S . -B "$build" -DCMAKE_BUILD_TYPE=RelWithDebInfo \
  -DKORVANE_FUZZ=ON >/dev/null
cmake --build "$build" --target fuzz_targets -j "$(nproc)"

mkdir -p "$build/crashes"
export QT_QPA_PLATFORM=offscreen
export UBSAN_OPTIONS=halt_on_error=1:print_stacktrace=1
status=0
for dir in fuzz/corpus/*/; do
  name=$(basename "$dir")
  work="$build/corpus/$name"
  mkdir -p "$work"
  echo "fuzz_$name: ${seconds}s"
  if ! "$build/fuzz/fuzz_$name" "$work" "$dir" -max_total_time="$seconds" -timeout=20 \
       -rss_limit_mb=2048 -max_len=131072 -artifact_prefix="$build/crashes/$name-" \
       -print_final_stats=1 2>"$build/fuzz_$name.log"; then
    echo "fuzz_$name FAILED; see $build/fuzz_$name.log and $build/crashes" >&2
    tail -40 "$build/fuzz_$name.log" >&2
    status=1
  else
    # Inputs a second and peak memory: a target whose memory grows with the
    # run would not last a night (FUZZ_SECONDS=28800).
    units=$(sed -n 's/^stat::number_of_executed_units: *//p' "$build/fuzz_$name.log")
    peak=$(sed -n 's/^stat::peak_rss_mb: *//p' "$build/fuzz_$name.log")
    echo "fuzz_$name: ${units:-0} inputs, $(( ${units:-0} / seconds )) a second, peak ${peak:-?} MB"
  fi
done
exit $status
