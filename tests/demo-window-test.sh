#!/usr/bin/env bash
# The windowed demo as the README shows it: tools/demo.sh window installs the
# demo product through its dialog and removes it again, the engine's autopilot
# clicking, in a copy of the test prefix that only this test uses.
#   demo-window-test.sh <wine-run.sh> <test prefix> <demo prefix>
set -euo pipefail
wine_run=$1
base=$2
prefix=$3
root=$(cd "$(dirname "$0")/.." && pwd)
screens=${BUILD_DIR:-$root/build}/demo/screens
"$wine_run" --stop "$prefix" 2>/dev/null || true
rm -rf "$prefix"
cp -a "$base" "$prefix" 2>/dev/null || echo "demo-window-test: files vanished while the prefix was copied; going on"
trap '"$wine_run" --stop "$prefix"; rm -rf "$prefix"' EXIT
export DEMO_SKIP_BUILD=1 DEMO_PREFIX=$prefix DEMO_AUTOPILOT=1
"$wine_run" "$prefix" reg delete 'HKLM\Software\InstallCommands' /f >/dev/null 2>&1 || true
"$wine_run" "$prefix" sc delete vlserv >/dev/null 2>&1 || true

failed=0
# run <action> <exit code> <text>...: the demo's exit code and lines of its output.
run() {
  local action=$1 code=$2 status=0
  shift 2
  "$root/tools/demo.sh" window "$action" >"$out/$action.out" 2>&1 || status=$?
  cat "$out/$action.out"
  [ "$status" = "$code" ] || { echo "demo-window-test: $action ended with $status, not $code"; failed=1; }
  for text in "$@"; do
    grep -qF -- "$text" "$out/$action.out" || { echo "demo-window-test: missing from the $action output: $text"; failed=1; }
  done
}
# pictures <name>...: each a PNG of a dialog-sized picture.
pictures() {
  for name in "$@"; do
    local file=$screens/$name.png
    if ! head -c 8 "$file" 2>/dev/null | grep -q PNG || [ "$(stat -c %s "$file")" -lt 4000 ]; then
      echo "demo-window-test: no picture $file"
      failed=1
    fi
  done
}

out=$(mktemp -d)
run install 0 "clicked 'AgreeInstall' in step 1" "clicked 'FinishInstall' in step 3" \
  "InstallPath    REG_SZ    C:\\DemoProduct\\" "RUNNING" "StartUp/Demo Product.lnk" '"eventName":"installed"'
pictures install-step1 install-step3
run uninstall 0 "clicked 'UninstallButton' in step 4" "clicked 'FinishInstall' in step 7" \
  "files: C:\\DemoProduct is not there" "vlserv is not installed" '"eventName":"removed"'
# The removal's bar stands at 40 % for half a second: its picture is taken there.
pictures uninstall-step4 uninstall-step5 uninstall-step7
rm -rf "$out"
exit $failed
