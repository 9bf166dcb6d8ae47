#!/usr/bin/env bash
# The pending rename list end to end, across a restart of the Wine prefix:
#
#   reboot-test.sh <wine-run.sh> <shared prefix> <own prefix> <files_tests program>
#
# wineboot -r carries out every pending rename of a prefix and runs its RunOnce
# entries, so it gets a copy of the shared prefix of its own and never touches
# what other tests queued. The copy is thrown away at the end.
set -euo pipefail
wine_run=$1
shared=$2
prefix=$3
program=$4

cleanup() {
  "$wine_run" --stop "$prefix" || true
  rm -rf "$prefix"
}
trap cleanup EXIT

rm -rf "$prefix"
mkdir -p "$prefix"
# Other tests create and remove files in the shared prefix meanwhile; a file
# that vanishes during the copy does not matter here.
cp -a "$shared/." "$prefix/" 2>/dev/null || true
if [ ! -f "$prefix/.ready" ] || [ ! -f "$prefix/system.reg" ]; then
  echo "reboot-test.sh: could not copy the prefix $shared" >&2
  exit 1
fi

FILES_REBOOT_PHASE=queue "$wine_run" "$prefix" "$program" --gtest_filter='RebootListTest.*'
echo "reboot-test.sh: restarting the prefix (wineboot -r)"
WINEPREFIX=$(realpath "$prefix") WINEDEBUG=-all WINEDLLOVERRIDES="winemenubuilder.exe=d;mscoree=d;mshtml=d" wineboot -r
FILES_REBOOT_PHASE=check "$wine_run" "$prefix" "$program" --gtest_filter='RebootListTest.*'
