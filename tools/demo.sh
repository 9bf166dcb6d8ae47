#!/usr/bin/env bash
# Sets up, builds, and runs the demo install script with the reference engine,
# tracing every log line. Arguments are passed on to Installer.exe.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD_DIR:-$root/build}
"$root/tools/build.sh"
# A Linux path would read as a switch: the engine takes the script's Windows path.
winpath() { echo "Z:$1" | tr / '\\'; }
script=$(winpath "$root/demo/install.xml")
status=0
"$root/tools/wine-run.sh" "$build/wineprefix" "$build/bin/Installer.exe" /trace "$@" "$script" || status=$?
echo "demo: Installer.exe ended with exit code $status"

# The language demo: a fresh copy of the sample language folder, its online
# part served on 127.0.0.1, and a switch to a language only the server has.
run=$build/demo/run
rm -rf "$run"
mkdir -p "$run"
cp -r "$build/demo/lang" "$run/lang"
"$root/tests/http-server.sh" start "$build/demo/online" "$run/http" >/dev/null
trap '"$root/tests/http-server.sh" stop "$run/http"' EXIT
url="http://127.0.0.1:$(cat "$run/http.port")/"
language_status=0
"$root/tools/wine-run.sh" "$build/wineprefix" "$build/bin/Installer.exe" /trace "/set:String_LangDir=$(winpath "$run/lang")" \
  "/set:String_OnlineLanguages=$url" /languages /select-language=de-DE /texts \
  "$(winpath "$root/demo/language-switch.xml")" || language_status=$?
echo "demo: the language demo ended with exit code $language_status"
if [ $status -ne 0 ]; then exit $status; fi
exit $language_status
