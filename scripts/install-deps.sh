#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Installs the Debian packages the build, the tests and `make run` need.
# A no-op when everything is present; uses sudo when not run as root.
set -euo pipefail

packages=(
  g++ cmake make pkg-config ccache
  locales                                # de_DE source for the comma-locale test runs
  qt6-base-dev qt6-serialport-dev libgl-dev
  zlib1g-dev libfftw3-dev qt6-svg-dev
  libsigrok-dev                          # sigrok session files (.sr)
  libsigrokdecode-dev                    # protocol decoders (UART, I2C, SPI ... over the logic lanes)
  sigrok-cli python3-numpy               # the exports read back by other tools (test only)
  qt6-translations-l10n                  # Qt's own dialogs in Chinese
  desktop-file-utils appstream dpkg-dev  # checking and packing the desktop files
  clang libclang-rt-14-dev               # the fuzz targets (libFuzzer)
  fonts-wqy-microhei   # CJK glyphs, so the Chinese texts render
  xvfb xauth           # a window on a headless box
  lintian              # the package check (test only)
  libqt6sql6-sqlite libqt6sql6-psql      # the data logger's two databases
  libsqlite3-dev                         # its day-long reads through the SQLite driver's handle
  postgresql                             # a private server for the logger's tests (test only)
  pybind11-dev python3-dev               # the Python module
  python3-pytest                         # its tests (test only)
)

missing=()
for p in "${packages[@]}"; do
  if ! dpkg-query -W -f='${Status}' "$p" 2>/dev/null | grep -q "install ok installed"; then
    missing+=("$p")
  fi
done
[ ${#missing[@]} -eq 0 ] && exit 0

echo "Installing: ${missing[*]}"
sudo_cmd=()
if [ "$(id -u)" -ne 0 ]; then sudo_cmd=(sudo); fi
export DEBIAN_FRONTEND=noninteractive
"${sudo_cmd[@]}" apt-get update -qq
"${sudo_cmd[@]}" apt-get install -y -qq --no-install-recommends "${missing[@]}"
