#!/usr/bin/env bash
# Sets up, builds and runs every test under Wine. Exits non-zero on any failure.
# Arguments go to ctest (for example -R frontend).
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD_DIR:-$root/build}
"$root/tools/build.sh"

# Tests that show windows need a display, and a wineserver keeps the display it
# started with: start Xvfb and a fresh server before the first test.
"$root/tools/wine-run.sh" --stop "$build/wineprefix"
xvfb_pid=
if [ -z "${DISPLAY:-}" ] && command -v Xvfb >/dev/null; then
  display=:$((90 + RANDOM % 100))
  Xvfb "$display" -screen 0 1280x800x24 -nolisten tcp >/dev/null 2>&1 &
  xvfb_pid=$!
  export DISPLAY=$display
  sleep 1
fi
status=0
(cd "$build" && ctest --output-on-failure -j"$(nproc)" "$@") || status=$?
"$root/tools/wine-run.sh" --stop "$build/wineprefix"
[ -n "$xvfb_pid" ] && kill "$xvfb_pid" 2>/dev/null
exit $status
