#!/usr/bin/env bash
# Starts the program from a build tree. On a machine without a display the
# window is served over VNC (Qt's own platform plugin) so it can still be seen.
set -euo pipefail
build=${1:-build}
exe="$build/src/korvane"

if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ] && [ -z "${QT_QPA_PLATFORM:-}" ]; then
  echo "No display found: serving the window over VNC on localhost:5900"
  echo "(connect a VNC viewer, or see the README for Xvfb)."
  export QT_QPA_PLATFORM="vnc:size=1280x800"
fi
exec "$exe"
