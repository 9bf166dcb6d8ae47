#!/usr/bin/env bash
# The demo install: sets up, builds, makes the demo product's distribution folder
# (Installer.exe, the plug-in, unrar64.dll, UsageReporting.dll, installerpackage.exe
# packed with rar, the language folder) and runs it under Wine in a prefix of its own, with the
# console front end and the script the plug-in carries (demo/install.xml).
#
#   tools/demo.sh [install]      install the demo product (the default)
#   tools/demo.sh uninstall      remove it again (Installer.exe /remove)
#   tools/demo.sh languages      the language demo: an online language fetched
#                                from a web server on 127.0.0.1
#
# DEMO_TRACE=1 also prints every log line. Further arguments go to Installer.exe.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD_DIR:-$root/build}
action=${1:-install}
[ $# -gt 0 ] && shift
# DEMO_SKIP_BUILD=1 uses the build as it is (the tests run the demo that way);
# DEMO_PREFIX names another Wine prefix.
[ "${DEMO_SKIP_BUILD:-0}" = 1 ] || "$root/tools/build.sh" >/dev/null

winpath() { echo "Z:$1" | tr / '\\'; }
wine_run() { "$root/tools/wine-run.sh" "$prefix" "$@"; }
prefix=${DEMO_PREFIX:-$build/demo-prefix}
dist=$build/demo/dist

if [ "$action" = languages ]; then
  # A fresh copy of the sample language folder, its online part served on
  # 127.0.0.1, and a switch to a language only the server has.
  run=$build/demo/run
  rm -rf "$run"
  mkdir -p "$run"
  cp -r "$build/demo/lang" "$run/lang"
  "$root/tests/http-server.sh" start "$build/demo/online" "$run/http" >/dev/null
  trap '"$root/tests/http-server.sh" stop "$run/http"' EXIT
  url="http://127.0.0.1:$(cat "$run/http.port")/"
  status=0
  wine_run "$build/bin/Installer.exe" /trace "/set:String_LangDir=$(winpath "$run/lang")" \
    "/set:String_OnlineLanguages=$url" /languages /select-language=de-DE /texts \
    "$(winpath "$root/demo/language-switch.xml")" "$@" || status=$?
  echo "demo: the language demo ended with exit code $status"
  exit $status
fi

# The distribution folder, as a product would ship it.
rm -rf "$dist" "$build/demo/payload"
mkdir -p "$dist" "$build/demo/payload"
cp "$build/bin/Installer.exe" "$build/bin/InstallCommands.dll" "$build/bin/unrar64.dll" \
  "$build/bin/UsageReporting.dll" "$dist/"
cp -r "$build/demo/lang" "$dist/lang"
cp "$build/demo/product/vlscan.exe" "$build/demo/product/vliface.exe" "$root/demo/product/readme.txt" \
  "$build/demo/payload/"
cp -r "$root/demo/product/data" "$build/demo/payload/data"
(cd "$build/demo/payload" && rar a -r -idq "$dist/installerpackage.exe" .)

trace=()
[ "${DEMO_TRACE:-0}" = 1 ] && trace=(/trace)
switches=(/autoanswer)
[ "$action" = uninstall ] && switches+=(/remove)
logs_before=$(ls "$prefix/drive_c/ProgramData/"*.nvinstall.bin 2>/dev/null || true)
usage="$prefix/drive_c/ProgramData/InstallCommands/Demo Product/usage/UsageReport.jsonl"
usage_before=$( (wc -l < "$usage") 2>/dev/null || echo 0)

echo "demo: $action of Demo Product with $(winpath "$dist")\\Installer.exe ${switches[*]}"
status=0
wine_run "$dist/Installer.exe" "${trace[@]}" "${switches[@]}" "$@" || status=$?
echo "demo: Installer.exe ended with exit code $status"

# Where everything is, read from the prefix.
echo
echo "== Summary"
product=$prefix/drive_c/DemoProduct
if [ -d "$product" ]; then
  echo "files in C:\\DemoProduct ($product):"
  (cd "$product" && find . -type f | sed 's|^\./|  |' | sort)
else
  echo "files: C:\\DemoProduct is not there"
fi
echo "registry:"
if key=$(wine_run reg query 'HKLM\Software\InstallCommands\Demo Product' 2>/dev/null); then
  echo "$key" | tr -d '\r' | sed '/^$/d; s/^/  /'
else
  echo "  HKLM\\Software\\InstallCommands\\Demo Product is not there"
fi
echo "service:"
if service=$(wine_run sc query vlserv 2>/dev/null); then
  echo "$service" | tr -d '\r' | grep -E "SERVICE_NAME|STATE" | sed 's/^ */  /'
else
  echo "  vlserv is not installed"
fi
echo "shortcuts:"
find "$prefix/drive_c/ProgramData/Microsoft/Windows/Start Menu" -name '*.lnk' 2>/dev/null | grep -i "demo product" |
  sed "s|^$prefix/drive_c/|  C:/|" || echo "  none"
echo "started program:"
# The installer does not wait for the program it starts last; give it a moment.
for _ in 1 2 3 4 5 6 7 8 9 10; do [ -f "$product/first-run.txt" ] && break; [ -d "$product" ] || break; sleep 0.5; done
if [ -f "$product/first-run.txt" ]; then
  sed 's/^/  C:\\DemoProduct\\first-run.txt: /' "$product/first-run.txt"
else
  echo "  none"
fi
if [ -f "$usage" ]; then
  echo "usage report: C:/ProgramData/InstallCommands/Demo Product/usage/UsageReport.jsonl ($usage), this run's lines:"
  tail -n +"$((usage_before + 1))" "$usage" | sed 's/^/  /'
else
  echo "usage report: none"
fi
merged=$(ls -t "$prefix/drive_c/ProgramData/"*.nvinstall.bin 2>/dev/null | head -n 1 || true)
if [ -n "$merged" ] && ! echo "$logs_before" | grep -qxF "$merged"; then
  plain=$build/demo/$action.log
  wine_run "$build/bin/logdecode.exe" "$(winpath "$merged")" "$(winpath "$plain")"
  echo "merged log: C:/ProgramData/$(basename "$merged") ($merged)"
  echo "  decoded: $plain ($(wc -l < "$plain") lines); its last lines:"
  tail -n 5 "$plain" | sed 's/^/  /'
fi
exit $status
