#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Runs every benchmark executable of a build tree, prints each one's own
# figures, and ends with one table of the figures they report: target, now,
# the machine's limit where the benchmark measures one, and now / target.
set -uo pipefail
build=${1:-build}
shopt -s nullglob
figures=$(mktemp)
trap 'rm -f "$figures"' EXIT
found=0
failed=0
for b in "$build"/bench/bench_*; do
  [ -f "$b" ] && [ -x "$b" ] || continue # not the build's own folders
  found=1
  echo "== $(basename "$b")"
  if ! QT_QPA_PLATFORM=offscreen "$b" | tee -a "$figures" | grep -v '^FIGURE'; then
    echo "$(basename "$b") failed"
    failed=1
  fi
done
# The Python package's, where it is built.
if [ -d "$build/python/korvane" ]; then
  echo "== bench_python"
  if ! PYTHONPATH="$build/python" KORVANE_SIM="$build/sim/nq4000l-sim" QT_QPA_PLATFORM=offscreen \
       /usr/bin/python3 "$(dirname "$0")/../bench/bench_python.py" | tee -a "$figures" |
       grep -v '^FIGURE'; then
    echo "bench_python failed"
    failed=1
  fi
fi
[ $found -eq 1 ] || { echo "no benchmarks built"; exit 1; }
echo
echo "== figures"
printf '%-44s %10s %10s %10s %8s\n' figure target now limit ratio
grep '^FIGURE' "$figures" | while IFS=$'\t' read -r _ name unit target now limit; do
  ratio=$(awk -v n="$now" -v t="$target" 'BEGIN { if (t > 0) printf "%.2f", n / t; else print "-" }')
  printf '%-44s %10s %10s %10s %8s\n' "$name ($unit)" "$target" "$now" "$limit" "$ratio"
done
exit $failed
