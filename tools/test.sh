#!/usr/bin/env bash
# Sets up, builds and runs every test under Wine. Exits non-zero on any failure.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD_DIR:-$root/build}
"$root/tools/build.sh"
cd "$build"
ctest --output-on-failure -j"$(nproc)" "$@"
