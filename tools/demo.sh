#!/usr/bin/env bash
# Sets up, builds, and runs the demo install script with the reference engine,
# tracing every log line. Arguments are passed on to Installer.exe.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD_DIR:-$root/build}
"$root/tools/build.sh"
# A Linux path would read as a switch: the engine takes the script's Windows path.
script='Z:'$(echo "$root/demo/install.xml" | tr / '\\')
status=0
"$root/tools/wine-run.sh" "$build/wineprefix" "$build/bin/Installer.exe" /trace "$@" "$script" || status=$?
echo "demo: Installer.exe ended with exit code $status"
exit $status
