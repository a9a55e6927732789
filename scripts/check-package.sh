#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Builds the .deb from a build tree into a temporary folder, unpacks it into a
# staging root, and checks the installed program: it starts, finds its help
# pages, and its desktop entry and AppStream data validate.
set -euo pipefail
build=${1:-build}
stage=$(mktemp -d)
trap 'rm -rf "$stage"' EXIT
(cd "$build" && cpack -G DEB -B "$stage/pkg" >/dev/null)
deb=$(ls "$stage"/pkg/korvane_*.deb)
dpkg-deb -x "$deb" "$stage/root"
echo "package: $(basename "$deb") depends on: $(dpkg-deb -f "$deb" Depends)"
root="$stage/root"
test -x "$root/usr/bin/korvane" && test -x "$root/usr/bin/korvane-cli" && test -x "$root/usr/bin/nq4000l-sim"
test -f "$root/usr/share/korvane/help/NQ4000help.html"
test -f "$root/usr/share/korvane/help/NQ4000help_Chinese.html"
test -f "$root/usr/lib/udev/rules.d/70-korvane-usbtmc.rules"
desktop-file-validate "$root/usr/share/applications/korvane.desktop"
appstreamcli validate --no-net "$root/usr/share/metainfo/io.korvane.Korvane.metainfo.xml" >/dev/null
# Debian's own judge: no error and no warning, pedantic tags included.
lintian --pedantic --fail-on error,warning,pedantic --suppress-tags-from-file /dev/null "$deb" \
  2>&1 | grep -v 'running with root privileges' || true
lintian --pedantic --fail-on error,warning,pedantic "$deb" >/dev/null 2>&1 || {
  echo "lintian finds fault with the package"; exit 1; }
for page in korvane korvane-cli nq4000l-sim; do
  test -f "$root/usr/share/man/man1/$page.1.gz"
done
test -f "$root/usr/share/doc/korvane/copyright" && test -f "$root/usr/share/doc/korvane/changelog.gz"
# The installed programs answer --help and --version without a display, and
# the installed program starts and stays up.
for program in korvane korvane-cli; do
  env -u DISPLAY -u WAYLAND_DISPLAY QT_QPA_PLATFORM=xcb "$root/usr/bin/$program" --help >/dev/null
  env -u DISPLAY -u WAYLAND_DISPLAY QT_QPA_PLATFORM=xcb "$root/usr/bin/$program" --version | grep -q "^$program "
done
export QT_QPA_PLATFORM=offscreen XDG_CONFIG_HOME="$stage/config" XDG_RUNTIME_DIR="$stage"
# The Python package where Debian's python3 finds it once installed.
test -f "$root/usr/lib/python3/dist-packages/korvane/__init__.py"
PYTHONPATH="$root/usr/lib/python3/dist-packages" /usr/bin/python3 -c \
  "import korvane, sys; sys.exit(korvane.__version__ != '$(dpkg-deb -f "$deb" Version | cut -d- -f1)')"
status=0
timeout 5 "$root/usr/bin/korvane" >/dev/null 2>&1 || status=$?
[ "$status" -eq 124 ] || { echo "the installed program ended by itself ($status)"; exit 1; }
echo "package check: fine"
