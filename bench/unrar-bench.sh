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
# Each way runs <rounds> times (3 by default), alternating; the median counts.
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

seconds() { date +%s.%N; }
calc() { awk "BEGIN { printf \"%.3f\", $1 }"; }
declare -A times
measure() {
  local label=$1
  shift
  rm -rf "$out"
  mkdir -p "$out"
  sync
  local start end
  start=$(seconds)
  "$@" >/dev/null
  end=$(seconds)
  times[$label]+="$(calc "$end - $start") "
}
check() {
  diff -rq "$data" "$out" >/dev/null || {
    echo "unrar-bench.sh: the $1 output differs from the source" >&2
    exit 1
  }
}
median() { tr ' ' '\n' | grep . | sort -g | awk '{ v[NR] = $1 } END { print v[int((NR + 1) / 2)] }'; }

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

native=$(echo "${times[native]}" | median)
exe=$(echo "${times[exe]}" | median)
command=$(echo "${times[command]}" | median)
sizepass=$(echo "${times[sizepass]}" | median)
noop=$(echo "${times[noop]}" | median)
first=$(calc "$sizepass - $noop")

echo
echo "Archive: $files files, $((bytes / 1000000)) MB unpacked, $((archive_bytes / 1000000)) MB packed; $rounds rounds, medians"
echo "Machine: $(nproc) cores, $(lscpu | sed -n 's/^Model name: *//p'), $(free -g | awk '/^Mem:/ {print $2}') GB," \
     "$(uname -sr), $(WINEDEBUG=-all wine --version 2>/dev/null), unrar-nonfree $(ls "$build/unrar" | grep -E '^[0-9]' | sort -V | tail -n 1)"
echo
echo "| way | seconds | runs |"
echo "|---|---|---|"
printf '| native `unrar x` (Linux) | %.2f | %s|\n' "$native" "${times[native]}"
printf '| `unrar.exe` under Wine | %.2f | %s|\n' "$exe" "${times[exe]}"
printf '| `Unrar` command through `Installer.exe` | %.2f | %s|\n' "$command" "${times[command]}"
printf '| engine with nothing to do | %.2f | %s|\n' "$noop" "${times[noop]}"
printf '| first pass (size sum) | %.2f | stopped run less the idle one |\n' "$first"
echo
printf 'Command against unrar.exe: %+.1f %%; first pass: %.1f %% of the command.\n' \
  "$(calc "($command - $exe) * 100 / $exe")" "$(calc "$first * 100 / $command")"
