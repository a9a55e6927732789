#!/usr/bin/env bash
# Refreshes docs/screenshot.png: the program under Xvfb with a wave window
# fetched from the simulated instrument.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${1:-build}
cmake --build "$build" --target korvane_screenshot >/dev/null
xvfb-run -a -s "-screen 0 1280x800x24" "$build/bench/korvane_screenshot" docs/screenshot.png
echo "docs/screenshot.png"
