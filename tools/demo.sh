#!/usr/bin/env bash
# The demo install: sets up, builds, makes the demo product's distribution folder
# (Installer.exe, the plug-in, unrar64.dll, UsageReporting.dll, htmlayout.dll,
# installerpackage.exe packed with rar, the language folder with the dialog's
# page) and runs it under Wine in a prefix of its own.
#
#   tools/demo.sh [install]      install the demo product with the console front end
#                                and the script the plug-in carries (demo/install.xml)
#   tools/demo.sh uninstall      remove it again (Installer.exe /remove)
#   tools/demo.sh languages      the language demo: an online language fetched
#                                from a web server on 127.0.0.1
#   tools/demo.sh window [install|uninstall|repair|fail]
#                                the same product through the setup dialog
#                                (demo/window.xml); see window_demo below
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
product=$prefix/drive_c/DemoProduct
product_key='HKLM\Software\InstallCommands\Demo Product'

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
make_dist() {
  rm -rf "$dist" "$build/demo/payload"
  mkdir -p "$dist" "$build/demo/payload"
  cp "$build/bin/Installer.exe" "$build/bin/InstallCommands.dll" "$build/bin/unrar64.dll" \
    "$build/bin/UsageReporting.dll" "$build/bin/htmlayout.dll" "$dist/"
  cp -r "$build/demo/lang" "$dist/lang"
  cp "$build/demo/product/vlscan.exe" "$build/demo/product/vliface.exe" "$root/demo/product/readme.txt" \
    "$build/demo/payload/"
  cp -r "$root/demo/product/data" "$build/demo/payload/data"
  (cd "$build/demo/payload" && rar a -r -idq "$dist/installerpackage.exe" .)
}

# Where everything is, read from the prefix; $1 names the decoded log.
summary() {
  echo
  echo "== Summary"
  if [ -d "$product" ]; then
    echo "files in C:\\DemoProduct ($product):"
    (cd "$product" && find . -type f | sed 's|^\./|  |' | sort)
  else
    echo "files: C:\\DemoProduct is not there"
  fi
  echo "registry:"
  if key=$(wine_run reg query "$product_key" 2>/dev/null); then
    echo "$key" | tr -d '\r' | sed '/^$/d; s/^/  /'
  else
    echo "  $product_key is not there"
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
    plain=$build/demo/$1.log
    wine_run "$build/bin/logdecode.exe" "$(winpath "$merged")" "$(winpath "$plain")"
    echo "merged log: C:/ProgramData/$(basename "$merged") ($merged)"
    echo "  decoded: $plain ($(wc -l < "$plain") lines); its last lines:"
    tail -n 5 "$plain" | sed 's/^/  /'
  fi
}

# What the summary compares with: the logs and usage lines before the run.
note_before() {
  logs_before=$(ls "$prefix/drive_c/ProgramData/"*.nvinstall.bin 2>/dev/null || true)
  usage="$prefix/drive_c/ProgramData/InstallCommands/Demo Product/usage/UsageReport.jsonl"
  usage_before=$( (wc -l < "$usage") 2>/dev/null || echo 0)
}

# tools/demo.sh window [install|uninstall|repair|fail]: the dialog of
# demo/window.xml. On a display ($DISPLAY set) the user clicks through it. Without
# one, or with DEMO_AUTOPILOT=1, the engine's autopilot clicks what a user would
# (/autoclick=), on an Xvfb of this script's own when there is no display:
#   install    Install, then Close on the finished view
#   uninstall  Uninstall in the maintenance view (the product must be installed), then Close
#   repair     Repair in the maintenance view (the product must be installed), then Close
#   fail       the install with /crash, which fails part-way, then Close on the failure view
# Pictures of every step go to build/demo/screens/<action>-step<N>.png.
window_demo() {
  local run=${1:-install}
  [ $# -gt 0 ] && shift
  local clicks
  case $run in
    install | fail) clicks=AgreeInstall,FinishInstall ;;
    uninstall) clicks=UninstallButton,FinishInstall ;;
    repair) clicks=RepairButton,FinishInstall ;;
    *) echo "demo: window takes install, uninstall, repair or fail, not '$run'" >&2; exit 87 ;;
  esac
  local pilot=0 xvfb_pid=
  [ -z "${DISPLAY:-}" ] || [ "${DEMO_AUTOPILOT:-0}" = 1 ] && pilot=1
  # A wineserver keeps the display it started with: the demo prefix's server
  # goes first, and ends with this script when the display is the script's own.
  "$root/tools/wine-run.sh" --stop "$prefix"
  if [ -z "${DISPLAY:-}" ]; then
    command -v Xvfb >/dev/null || { echo "demo: no display and no Xvfb (tools/setup.sh installs it)" >&2; exit 1; }
    local number=$build/demo/xvfb.display
    mkdir -p "$build/demo"
    Xvfb -displayfd 3 -screen 0 1280x800x24 -nolisten tcp 3>"$number" >/dev/null 2>&1 &
    xvfb_pid=$!
    for _ in $(seq 50); do [ -s "$number" ] && break; sleep 0.1; done
    export DISPLAY=:$(cat "$number")
    trap '"$root/tools/wine-run.sh" --stop "$prefix"; kill '"$xvfb_pid"' 2>/dev/null || true' EXIT
    echo "demo: no display: the autopilot clicks through the dialog on Xvfb $DISPLAY"
  fi

  local installed=0
  wine_run reg query "$product_key" >/dev/null 2>&1 && installed=1
  if [ $pilot = 1 ] && [ $installed = 0 ] && { [ "$run" = uninstall ] || [ "$run" = repair ]; }; then
    echo "demo: Demo Product is not installed in $prefix, so the dialog offers no $run: run tools/demo.sh window first" >&2
    exit 1
  fi
  if [ $pilot = 1 ] && [ $installed = 1 ] && { [ "$run" = install ] || [ "$run" = fail ]; }; then
    echo "demo: Demo Product is installed in $prefix, so the dialog offers uninstall and repair: run tools/demo.sh window uninstall first" >&2
    exit 1
  fi

  make_dist
  cp "$root/demo/window.xml" "$dist/"
  local screens=$build/demo/screens shots=$build/demo/screens/$run.new
  rm -rf "$shots" "$screens/$run"-step*.png
  mkdir -p "$shots"
  local switches=("/screens=$(winpath "$shots")")
  [ "$run" = fail ] && switches+=(/crash)
  [ $pilot = 1 ] && switches+=("/autoclick=$clicks" /autoanswer)
  [ "${DEMO_TRACE:-0}" = 1 ] && switches+=(/trace)
  note_before

  echo "demo: window $run of Demo Product with $(winpath "$dist")\\Installer.exe ${switches[*]} window.xml"
  [ $pilot = 1 ] || echo "demo: the dialog is on $DISPLAY: click through it"
  local status=0
  wine_run "$dist/Installer.exe" "${switches[@]}" "$@" "$(winpath "$dist/window.xml")" || status=$?
  echo "demo: Installer.exe ended with exit code $status"
  for shot in "$shots"/step*.png; do
    [ -f "$shot" ] && mv "$shot" "$screens/$run-$(basename "$shot")"
  done
  rmdir "$shots" 2>/dev/null || true

  summary "window-$run"
  echo "pictures of the dialog:"
  ls "$screens/$run"-step*.png 2>/dev/null | sed 's/^/  /' || echo "  none"
  exit $status
}

if [ "$action" = window ]; then
  window_demo "$@"
fi

make_dist
trace=()
[ "${DEMO_TRACE:-0}" = 1 ] && trace=(/trace)
switches=(/autoanswer)
[ "$action" = uninstall ] && switches+=(/remove)
note_before

echo "demo: $action of Demo Product with $(winpath "$dist")\\Installer.exe ${switches[*]}"
status=0
wine_run "$dist/Installer.exe" "${trace[@]}" "${switches[@]}" "$@" || status=$?
echo "demo: Installer.exe ended with exit code $status"
summary "$action"
exit $status
