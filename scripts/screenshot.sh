#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Screenshots of the program under Xvfb, filled from the simulated instrument.
#
#   scripts/screenshot.sh                 docs/screenshot.png (the README's picture)
#   scripts/screenshot.sh WINDOW [WxH] [en|zh]   one window, into build/shots/
#   scripts/screenshot.sh --all           every window at 800x600 and 1280x800 in
#                                         both languages, into build/shots/
#
# WINDOW: frame wave measure data record memory options about passfail
# fftsetting parameter adjust panel panelvertical decode wavedecode decoders spectrum wavespectrum measurestats
# logger loggerspan. Look at the pictures before committing
# a change to a window.
set -euo pipefail
cd "$(dirname "$0")/.."
build=${BUILD:-build}
cmake --build "$build" --target korvane_screenshot >/dev/null
tool="$build/bench/korvane_screenshot"
shots="$build/shots"
mkdir -p "$shots"

shoot() { # window size language out
  xvfb-run -a -s "-screen 0 ${2}x24" "$tool" "$4" --window "$1" --size "$2" --language "$3"
}

case "${1:-}" in
  "")
    shoot frame 1280x800 en docs/screenshot.png
    echo "docs/screenshot.png" ;;
  --all)
    for w in frame wave measure data record memory options about passfail fftsetting parameter adjust panel panelvertical decode wavedecode decoders spectrum wavespectrum measurestats logger loggerspan; do
      for size in 800x600 1280x800; do
        for lang in en zh; do
          shoot "$w" "$size" "$lang" "$shots/$w-$size-$lang.png"
        done
      done
    done
    ls "$shots" ;;
  *)
    size=${2:-1280x800}
    lang=${3:-en}
    out="$shots/$1-$size-$lang.png"
    shoot "$1" "$size" "$lang" "$out"
    echo "$out" ;;
esac
