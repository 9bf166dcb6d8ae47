#!/usr/bin/env bash
# Runs a Windows program under Wine in a prefix of its own.
#
#   wine-run.sh <prefix> <program.exe> [arguments...]   run a program
#   wine-run.sh --stop <prefix>                           end the prefix's wineserver
#
# The prefix is made once (without Mono and Gecko, which would ask to download),
# with the crash dialog off, and its wineserver is kept running between programs.
set -euo pipefail

if [ "${1:-}" = "--stop" ]; then
  export WINEPREFIX=$(realpath -m "$2")
  [ -d "$WINEPREFIX" ] && wineserver -k 2>/dev/null || true
  exit 0
fi

prefix=$(realpath -m "$1")
shift
export WINEPREFIX=$prefix
export WINEARCH=win64
export WINEDEBUG=-all
export WINEDLLOVERRIDES="winemenubuilder.exe=d;mscoree=d;mshtml=d"

if [ ! -f "$prefix/.ready" ]; then
  mkdir -p "$(dirname "$prefix")"
  exec 9>"$prefix.lock"
  flock 9
  if [ ! -f "$prefix/.ready" ]; then
    rm -rf "$prefix"
    if ! wineboot -i >"$prefix.log" 2>&1; then
      echo "wine-run.sh: wineboot failed for $prefix:" >&2
      cat "$prefix.log" >&2
      exit 1
    fi
    wine reg add 'HKCU\Software\Wine\WineDbg' /v ShowCrashDialog /t REG_DWORD /d 0 /f >/dev/null 2>&1
    # A virtual desktop: without a window manager every hidden or destroyed
    # window would cost about two seconds.
    wine reg add 'HKCU\Software\Wine\Explorer' /v Desktop /t REG_SZ /d Default /f >/dev/null 2>&1
    wine reg add 'HKCU\Software\Wine\Explorer\Desktops' /v Default /t REG_SZ /d 1280x800 /f >/dev/null 2>&1
    wineserver -w
    touch "$prefix/.ready"
  fi
  flock -u 9
  exec 9>&-
fi

# A persistent server saves the start-up of a new one for every program.
wineserver -p >/dev/null 2>&1 </dev/null || true

# Wine's own background processes (services.exe, winedevice.exe, ...) inherit
# the output of the program that started them and outlive it with the server.
# When that output is a pipe (CTest, CI logs), its reader would wait for them
# forever, so the program's output goes through files instead.
if [ -t 1 ] && [ -t 2 ]; then
  exec wine "$@"
fi
capture=$(mktemp -d)
trap 'rm -rf "$capture"' EXIT
status=0
wine "$@" >"$capture/out" 2>"$capture/err" </dev/null || status=$?
cat "$capture/out"
cat "$capture/err" >&2
exit $status
