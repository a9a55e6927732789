#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Starts the simulated instrument and then the program, from a build tree.
# Tools > Connect finds the simulated USB instrument; its RS232 face is a
# pseudo-terminal reached through the link printed below. On a machine
# without a display the window is served over VNC (Qt's own platform
# plugin) so it can still be seen.
set -euo pipefail
build=${1:-build}
exe="$build/src/korvane"
sim="$build/sim/nq4000l-sim"

rundir="${XDG_RUNTIME_DIR:-/tmp}"
serial_link="$rundir/nq4000l-sim-ttyS0"
# Measures that spread a little from one refresh to the next, as a real
# signal's do, so the Measure window's statistics have something to show.
"$sim" --rs232 --serial-link "$serial_link" --jitter 0.5 &
sim_pid=$!
trap 'kill $sim_pid 2>/dev/null || true' EXIT INT TERM
sleep 0.3
echo "To use RS232 instead of USB: Tools > Options, RS232, Port device $serial_link"
# A deep capture with the simulator's buses on D0..D6, to open and decode.
demo="$rundir/nq4000l-demo.wfm"
"$sim" --write-wfm "$demo" --points 100000 >/dev/null
echo "A simulated deep capture: $demo (File > New > Memory Wave, Open, then Decode...)"

if [ -z "${DISPLAY:-}" ] && [ -z "${WAYLAND_DISPLAY:-}" ] && [ -z "${QT_QPA_PLATFORM:-}" ]; then
  echo "No display found: serving the window over VNC on localhost:5900"
  echo "(connect a VNC viewer, or see the README for Xvfb)."
  export QT_QPA_PLATFORM="vnc:size=1280x800"
fi
"$exe"
