#!/usr/bin/env bash
# Builds the UnRAR library as a 64-bit Windows DLL (unrar64.dll) from Debian's
# unrar-nonfree source package, with the mingw-w64 cross toolchain.
#
#   build-unrar.sh <cache> [dll|exe]
#
# dll (the default) leaves <cache>/unrar64.dll; exe leaves <cache>/unrar.exe, the
# console extractor of the same source, which only the benchmark uses.
#
# The source is fetched with apt-get source (non-free and deb-src must be enabled:
# tools/setup.sh does that) and everything is kept under <cache>/<version>/, so a
# build is done once per source version. The stable copies in <cache> are only
# rewritten when their content changes, so dependent steps stay up to date.
# Nothing of this belongs in the repository.
set -euo pipefail

cache=${1:?usage: build-unrar.sh <cache> [dll|exe]}
what=${2:-dll}
mkdir -p "$cache"
cache=$(cd "$cache" && pwd)
triplet=x86_64-w64-mingw32
cxx=${UNRAR_CXX:-$triplet-g++-posix}

# The candidate version of the source package, as apt-get source would fetch it.
version=$(apt-get source --print-uris -q unrar-nonfree 2>/dev/null |
          sed -n "s/.* unrar-nonfree_\(.*\)\.dsc .*/\1/p" | head -n 1 || true)
if [ -z "$version" ]; then
  # Offline or without the source lists: an earlier build still serves.
  version=$(ls -1 "$cache" 2>/dev/null | grep -E '^[0-9]' | sort -V | tail -n 1 || true)
  if [ -z "$version" ]; then
    echo "build-unrar.sh: apt knows no source of unrar-nonfree; run tools/setup.sh" >&2
    exit 1
  fi
  echo "build-unrar.sh: apt knows no source of unrar-nonfree; using the build of $version" >&2
fi
work=$cache/$version

case $what in
  dll)
    output=unrar64.dll
    defines=(-DRARDLL -DUNRAR -DSILENT)
    # The source files of the DLL flavour, as its own Visual Studio project lists them.
    sources=(archive arcread blake2s cmddata consio crc crypt dll encname errhnd extinfo
             extract filcreat file filefn filestr find getbits global hash headers isnt
             match options pathfn qopen rar rarvm rawread rdwrfn rijndael rs rs16 scantree
             secpassword sha1 sha256 smallfn strfn strlist system threadpool timefn ui
             unicode unpack volume)
    ;;
  exe)
    output=unrar.exe
    defines=(-DUNRAR)
    sources=(archive arcread blake2s cmddata consio crc crypt encname errhnd extinfo
             extract filcreat file filefn filestr find getbits global hash headers isnt
             list match options pathfn qopen rar rarvm rawread rdwrfn recvol resource
             rijndael rs rs16 scantree secpassword sha1 sha256 smallfn strfn strlist system
             threadpool timefn ui unicode unpack volume)
    ;;
  *)
    echo "build-unrar.sh: unknown flavour '$what' (dll or exe)" >&2
    exit 2
    ;;
esac

publish() {
  cmp -s "$work/$what/$output" "$cache/$output" || cp "$work/$what/$output" "$cache/$output"
}
if [ -f "$work/$what/$output" ]; then
  publish
  exit 0
fi

exec 9>"$cache/.lock"
flock 9
if [ -f "$work/$what/$output" ]; then
  publish
  exit 0
fi

if [ ! -d "$work/src" ]; then
  echo "build-unrar.sh: fetching unrar-nonfree $version"
  rm -rf "$work.fetch"
  mkdir -p "$work.fetch"
  (cd "$work.fetch" && apt-get source -q unrar-nonfree >fetch.log 2>&1) || {
    cat "$work.fetch/fetch.log" >&2
    exit 1
  }
  src=$(find "$work.fetch" -mindepth 1 -maxdepth 1 -type d -name 'unrar-nonfree-*' | head -n 1)
  ls "$work.fetch" | grep -qF "unrar-nonfree_$version.dsc" || {
    echo "build-unrar.sh: apt fetched another version than $version" >&2
    exit 1
  }
  [ -n "$src" ] && [ -f "$src/dll.def" ] || {
    echo "build-unrar.sh: the source package has no dll.def" >&2
    exit 1
  }
  # The source is written for Visual C++ on a case-blind file system: mingw's
  # headers are lower case, and a bstr_t made from narrow text needs comsuppw,
  # which mingw lacks.
  sed -i 's/<PowrProf\.h>/<powrprof.h>/' "$src/os.hpp"
  sed -i 's/<Wbemidl\.h>/<wbemidl.h>/; s/bstr_t("\([^"]*\)")/bstr_t(L"\1")/g' "$src/isnt.cpp"
  mkdir -p "$work"
  mv "$src" "$work/src"
  rm -rf "$work.fetch"
fi

echo "build-unrar.sh: building $output of unrar-nonfree $version"
objects=$work/$what/obj
rm -rf "$objects"
mkdir -p "$objects"
printf '%s\n' "${sources[@]}" |
  xargs -P "$(nproc)" -I{} "$cxx" -O2 -w "${defines[@]}" -c "$work/src/{}.cpp" -o "$objects/{}.o"
libraries=(-lole32 -loleaut32 -lwbemuuid -lpowrprof -ladvapi32 -lshell32 -luser32)
if [ "$what" = dll ]; then
  "$cxx" -shared -s -o "$objects/$output" "$objects"/*.o "$work/src/dll.def" \
         -static -static-libgcc -static-libstdc++ "${libraries[@]}"
else
  "$cxx" -s -o "$objects/$output" "$objects"/*.o -static -static-libgcc -static-libstdc++ "${libraries[@]}"
fi
mv "$objects/$output" "$work/$what/$output"
rm -rf "$objects"
publish
