#!/usr/bin/env bash
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
# The installed command line answers, and the installed program starts and stays up.
"$root/usr/bin/korvane-cli" --help >/dev/null
export QT_QPA_PLATFORM=offscreen XDG_CONFIG_HOME="$stage/config" XDG_RUNTIME_DIR="$stage"
status=0
timeout 5 "$root/usr/bin/korvane" >/dev/null 2>&1 || status=$?
[ "$status" -eq 124 ] || { echo "the installed program ended by itself ($status)"; exit 1; }
echo "package check: fine"
