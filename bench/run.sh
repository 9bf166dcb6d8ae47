#!/usr/bin/env bash
# Builds and runs the benchmarks under Wine and prints their figures.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD_DIR:-$root/build}
"$root/tools/build.sh"
echo "== log throughput"
"$root/tools/wine-run.sh" "$build/wineprefix" "$build/bench/log/Installer.exe"
echo "== script loading and walking at scale"
"$root/tools/wine-run.sh" "$build/wineprefix" "$build/bench/scale/Installer.exe"
echo "== usage reporting"
"$root/tools/wine-run.sh" "$build/wineprefix" "$build/bench/usagereporting/usagereporting_bench.exe"
echo "== htmlayout (needs a display: Xvfb when DISPLAY is unset)"
xvfb_pid=
if [ -z "${DISPLAY:-}" ] && command -v Xvfb >/dev/null; then
  "$root/tools/wine-run.sh" --stop "$build/wineprefix"
  display=:$((90 + RANDOM % 100))
  Xvfb "$display" -screen 0 1280x800x24 -nolisten tcp >/dev/null 2>&1 &
  xvfb_pid=$!
  export DISPLAY=$display
  sleep 1
fi
"$root/tools/wine-run.sh" "$build/wineprefix" "$build/bench/htmlayout/htmlayout_bench.exe"
if [ -n "$xvfb_pid" ]; then
  "$root/tools/wine-run.sh" --stop "$build/wineprefix"
  kill "$xvfb_pid"
fi
echo "== extraction"
"$root/bench/unrar-bench.sh" "${1:-3}"
