#!/usr/bin/env bash
# The demo as users run it: tools/demo.sh installs the demo product and removes
# it again, in a copy of the test prefix that only this test uses.
#   demo-test.sh <wine-run.sh> <test prefix> <demo prefix>
set -euo pipefail
wine_run=$1
base=$2
prefix=$3
root=$(cd "$(dirname "$0")/.." && pwd)
"$wine_run" --stop "$prefix" 2>/dev/null || true
rm -rf "$prefix"
# Tests running beside this one delete their temporary files in the prefix while
# it is copied; a file that vanishes under the copy is theirs, not the demo's.
cp -a "$base" "$prefix" 2>/dev/null || echo "demo-test: files vanished while the prefix was copied; going on"
trap '"$wine_run" --stop "$prefix"; rm -rf "$prefix"' EXIT
export DEMO_SKIP_BUILD=1 DEMO_PREFIX=$prefix
# Other tests may have left the product's key or service in the prefix copied.
"$wine_run" "$prefix" reg delete 'HKLM\Software\InstallCommands' /f >/dev/null 2>&1 || true
"$wine_run" "$prefix" sc delete vlserv >/dev/null 2>&1 || true

failed=0
expect() {  # expect <output file> <text>...
  local file=$1
  shift
  for text in "$@"; do
    if ! grep -qF -- "$text" "$file"; then
      echo "demo-test: missing from the $(basename "$file" .out) output: $text"
      failed=1
    fi
  done
}

out=$(mktemp -d)
"$root/tools/demo.sh" install > "$out/install.out" 2>&1 || { cat "$out/install.out"; exit 1; }
cat "$out/install.out"
expect "$out/install.out" "Running silent installer" "Installing!" "Install path is C:\\DemoProduct\\" \
  "Demo Product - 75%" "Demo Product - 100%" "ended with exit code 0" "vliface.exe" "data/settings.ini" \
  "InstallPath    REG_SZ    C:\\DemoProduct\\" "SERVICE_NAME: vlserv" "RUNNING" \
  "Programs/InstallCommands Demo Product/Demo Product.lnk" "StartUp/Demo Product.lnk" "merged log: C:/ProgramData/"
expect "$out/install.out" "[ThreadId 2] Reached end command." "first-run.txt: Demo product 1.0 started by its installer" \
  '"call":"BeginReport"' '"call":"EndReport"' '"eventName":"installed"' '"durationMs":'

"$root/tools/demo.sh" uninstall > "$out/uninstall.out" 2>&1 || { cat "$out/uninstall.out"; exit 1; }
cat "$out/uninstall.out"
expect "$out/uninstall.out" "Uninstalling!" "Demo Product - 100%" "ended with exit code 0" \
  "files: C:\\DemoProduct is not there" "is not there" "vlserv is not installed" "merged log: C:/ProgramData/" \
  '"eventName":"removed"'
rm -rf "$out"
exit $failed
