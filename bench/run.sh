#!/usr/bin/env bash
# Builds and runs the benchmarks under Wine and prints their figures.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD_DIR:-$root/build}
"$root/tools/build.sh"
echo "== log throughput"
"$root/tools/wine-run.sh" "$build/wineprefix" "$build/bench/log/Installer.exe"
echo "== usage reporting"
"$root/tools/wine-run.sh" "$build/wineprefix" "$build/bench/usagereporting/usagereporting_bench.exe"
echo "== extraction"
"$root/bench/unrar-bench.sh" "${1:-3}"
