#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Runs every benchmark executable of a build tree and prints its figures.
set -euo pipefail
build=${1:-build}
shopt -s nullglob
found=0
for b in "$build"/bench/bench_*; do
  [ -x "$b" ] || continue
  found=1
  echo "== $(basename "$b")"
  QT_QPA_PLATFORM=offscreen "$b"
done
[ $found -eq 1 ] || echo "no benchmarks built"
