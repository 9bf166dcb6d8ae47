#!/usr/bin/env bash
# Extraction benchmark: one archive of >= 200 MB of mixed data in a few thousand
# files, extracted three ways in one run:
#
#   native     unrar x on Linux (Debian's unrar)
#   unrar.exe  the UnRAR source the plug-in uses, built as a Windows console
#              program, under Wine
#   command    the Unrar command through the reference engine, under Wine
#
# and the share of the command's first pass (the sum of sizes), taken as a run
# whose extraction stops at its first entry less a run that extracts nothing.
# Each way runs <rounds> times (3 by default), alternating; medians and the best
# wall time are reported, and CPU time, which a busy machine moves less.
# Every output is checked byte for byte against the source files.
#
#   bench/unrar-bench.sh [rounds]
#
# Needs a built tree (tools/build.sh). Works in build/bench/ (or $BUILD_DIR/bench),
# where the data and the archive are kept for the next run. Not part of ctest.
set -euo pipefail
root=$(cd "$(dirname "$0")/.." && pwd)
build=${BUILD_DIR:-$root/build}
bench=$build/bench
rounds=${1:-3}
prefix=$build/wineprefix
wine_run() { "$root/tools/wine-run.sh" "$prefix" "$@"; }
windows_path() { echo "Z:$1" | tr '/' '\\'; }

[ -f "$build/bin/Installer.exe" ] && [ -f "$build/bin/unrar64.dll" ] || {
  echo "unrar-bench.sh: build first (tools/build.sh)" >&2
  exit 1
}
"$root/tools/build-unrar.sh" "$build/unrar" exe
unrar_exe=$build/unrar/unrar.exe
mkdir -p "$bench"

# The data: 3,000 files in 60 folders. A third random bytes (incompressible), a
# third text, a third base64 of random bytes (partly compressible); mostly small
# files with some large ones.
data=$bench/data
archive=$bench/mixed.rar
if [ ! -f "$archive" ]; then
  echo "unrar-bench.sh: making the data and the archive"
  rm -rf "$data"
  for folder in $(seq -w 1 60); do
    dir=$data/folder-$folder/sub-$((10#$folder % 7))
    mkdir -p "$dir"
    for n in $(seq -w 1 50); do
      i=$((10#$folder * 50 + 10#$n))
      size=$(( (i * 7919) % 100000 + 2000 ))
      [ $((i % 97)) -eq 0 ] && size=$(( 2000000 + (i * 31) % 3000000 ))
      case $((i % 3)) in
        0) head -c "$size" /dev/urandom > "$dir/random-$n.bin" ;;
        1) seq "$i" 100000000 | head -c "$size" > "$dir/text-$n.txt" || true ;;
        2) head -c $((size * 3 / 4)) /dev/urandom | base64 > "$dir/base64-$n.txt" ;;
      esac
    done
  done
  (cd "$data" && rar a -r -idq -qo- "$archive" .)
fi
files=$(find "$data" -type f | wc -l)
bytes=$(du -sb "$data" | cut -f1)
archive_bytes=$(stat -c %s "$archive")

out=$bench/out
script_full=$bench/extract.xml
script_size=$bench/size-pass.xml
script_noop=$bench/noop.xml
cat > "$script_full" <<EOF
<install><commands>
  <Unrar archive="$(windows_path "$archive")" destination="$(windows_path "$out")\\" progressVar="Bench" errVar="Failed" next="0"/>
</commands></install>
EOF
# A file where the destination's folder should be: the first entry cannot be
# created, so the run is the first pass, one open and one header.
rm -rf "$bench/blocked"
: > "$bench/blocked"
cat > "$script_size" <<EOF
<install><commands>
  <Unrar archive="$(windows_path "$archive")" destination="$(windows_path "$bench/blocked")\\out\\" next="0"/>
</commands></install>
EOF
cat > "$script_noop" <<EOF
<install><commands>
  <Unrar archive="$(windows_path "$archive")" destination="$(windows_path "$out")\\" refresh="0" next="0"/>
</commands></install>
EOF

calc() { awk "BEGIN { printf \"%.3f\", $1 }"; }
declare -A wall cpu
# Wall time, and the CPU time (user + system) of the process and its children:
# the second is little moved by whatever else the machine is doing.
measure() {
  local label=$1 result real user sys
  shift
  rm -rf "$out"
  mkdir -p "$out"
  sync
  local TIMEFORMAT='%R %U %S'
  result=$({ time "$@" >/dev/null 2>&1; } 2>&1)
  read -r real user sys <<<"$result"
  wall[$label]+="$real "
  cpu[$label]+="$(calc "$user + $sys") "
}
check() {
  diff -rq "$data" "$out" >/dev/null || {
    echo "unrar-bench.sh: the $1 output differs from the source" >&2
    exit 1
  }
}
median() { tr ' ' '\n' | grep . | sort -g | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'; }
minimum() { tr ' ' '\n' | grep . | sort -g | head -n 1; }

wine_run "$build/bin/Installer.exe" "$(windows_path "$script_noop")"  # a warm wineserver
for round in $(seq 1 "$rounds"); do
  echo "unrar-bench.sh: round $round of $rounds"
  measure native unrar x -idq -o+ "$archive" "$out/"
  check native
  measure exe wine_run "$unrar_exe" x -idq -o+ "$(windows_path "$archive")" "$(windows_path "$out")\\"
  check unrar.exe
  measure command wine_run "$build/bin/Installer.exe" "$(windows_path "$script_full")"
  check command
  measure sizepass wine_run "$build/bin/Installer.exe" "$(windows_path "$script_size")"
  measure noop wine_run "$build/bin/Installer.exe" "$(windows_path "$script_noop")"
done
"$root/tools/wine-run.sh" --stop "$prefix"
rm -rf "$out" "$bench/blocked"

row() {
  printf '| %s | %.2f | %.2f | %.2f |\n' "$1" "$(median <<<"${wall[$2]}")" "$(minimum <<<"${wall[$2]}")" \
    "$(median <<<"${cpu[$2]}")"
}
share() {  # percent of $2 over $3, on medians of the given measure
  local -n measure=$1
  calc "($(median <<<"${measure[$2]}") - $(median <<<"${measure[$3]}")) * 100 / $(median <<<"${measure[$3]}")"
}
first_pass() {  # the stopped run less the idle one, as a percent of the command
  local -n measure=$1
  calc "($(median <<<"${measure[sizepass]}") - $(median <<<"${measure[noop]}")) * 100 / $(median <<<"${measure[command]}")"
}

echo
echo "Archive: $files files, $((bytes / 1000000)) MB unpacked, $((archive_bytes / 1000000)) MB packed; $rounds rounds"
echo "Machine: $(nproc) cores, $(lscpu | sed -n 's/^Model name: *//p'), $(free -g | awk '/^Mem:/ {print $2}') GB," \
     "$(uname -sr), $(WINEDEBUG=-all wine --version 2>/dev/null), unrar-nonfree $(ls "$build/unrar" | grep -E '^[0-9]' | sort -V | tail -n 1)"
echo "Load average at the end: $(cut -d' ' -f1-3 /proc/loadavg)"
echo
echo "| way | wall median (s) | wall best (s) | CPU median (s) |"
echo "|---|---|---|---|"
row 'native `unrar x` (Linux)' native
row '`unrar.exe` under Wine' exe
row '`Unrar` command through `Installer.exe`' command
row 'first pass, one open and one header (stopped run)' sizepass
row 'engine with nothing to do' noop
echo
printf 'Command against unrar.exe: %+.1f %% wall, %+.1f %% CPU.\n' "$(share wall command exe)" "$(share cpu command exe)"
printf 'First pass (stopped run less the idle one): %.1f %% of the command wall, %.1f %% CPU.\n' \
  "$(first_pass wall)" "$(first_pass cpu)"
