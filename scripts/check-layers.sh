#!/usr/bin/env bash
# SPDX-License-Identifier: GPL-3.0-or-later
# Includes point one way: platform, shared, link, the subsystems, app. A
# lower folder that includes a higher one fails the check.
set -euo pipefail
cd "$(dirname "$0")/.."
status=0
check() { # folder, the folders it may include
  local folder=$1; shift
  local allowed; allowed=$(printf '%s|' "$@"); allowed=${allowed%|}
  if grep -nE '#include "[a-z]+/' src/"$folder"/*.h src/"$folder"/*.cpp |
     grep -vE "#include \"($allowed)/"; then
    echo "src/$folder includes a layer above it" >&2
    status=1
  fi
}
check platform platform
check shared platform shared
check link platform shared link
check export platform shared sheet replay export
check decode platform shared sheet replay export decode
check logger platform shared link sheet acquire measure logger
for folder in controller acquire sheet views measure replay memwave panel cli export decode; do
  if grep -nE '#include "app/' src/"$folder"/*.h src/"$folder"/*.cpp; then
    echo "src/$folder includes app/" >&2
    status=1
  fi
done
exit $status
