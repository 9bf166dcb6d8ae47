#!/usr/bin/env bash
# Installs what building and testing need on Debian 12: the mingw-w64 cross
# toolchain, Wine and GoogleTest's sources. Installs only what is missing.
set -euo pipefail

packages=(
  cmake make
  g++-mingw-w64-x86-64-posix gcc-mingw-w64-x86-64-posix binutils-mingw-w64-x86-64
  wine wine64 xvfb
  googletest
  python3
  rar unrar dpkg-dev
)

# rar, unrar and the sources of the UnRAR library (unrar-nonfree, unpacked at
# build time by apt-get source) live in Debian's non-free component, and the
# sources need deb-src entries. They get a file of their own beside the system's
# entries for main, on the same mirrors; apt's lists are refreshed when that file
# is new or the sources are not known yet.
nonfree_sources=/etc/apt/sources.list.d/installcommands-nonfree.sources
codename=$(. /etc/os-release && echo "${VERSION_CODENAME:-bookworm}")
targets=$(apt-get indextargets --no-release-info --format '$(TARGET_OF) $(RELEASE) $(COMPONENT) $(SITE)')
root_cmd=()
[ "$(id -u)" -eq 0 ] || root_cmd=(sudo)
if ! grep -q "^deb-src $codename non-free " <<<"$targets" && [ ! -f "$nonfree_sources" ]; then
  mirror=$(awk -v r="$codename" '$1 == "deb" && $2 == r {print $4; exit}' <<<"$targets")
  security=$(awk -v r="$codename-security" '$1 == "deb" && $2 == r {print $4; exit}' <<<"$targets")
  echo "setup: enabling contrib, non-free and their sources in $nonfree_sources"
  printf '%s\n' \
    "Types: deb deb-src" "URIs: ${mirror:-http://deb.debian.org/debian}" \
    "Suites: $codename $codename-updates" "Components: contrib non-free" \
    "Signed-By: /usr/share/keyrings/debian-archive-keyring.gpg" "" \
    "Types: deb deb-src" "URIs: ${security:-http://deb.debian.org/debian-security}" \
    "Suites: $codename-security" "Components: contrib non-free" \
    "Signed-By: /usr/share/keyrings/debian-archive-keyring.gpg" |
    "${root_cmd[@]}" tee "$nonfree_sources.new" >/dev/null
  "${root_cmd[@]}" mv "$nonfree_sources.new" "$nonfree_sources"
fi
if ! apt-cache showsrc --only-source unrar-nonfree >/dev/null 2>&1; then
  # Another apt may hold the lists lock for a while.
  for attempt in 1 2 3 4 5 6 7 8 9 10; do
    "${root_cmd[@]}" apt-get -q update && break
    [ "$attempt" -lt 10 ] || exit 1
    sleep 30
  done
fi

missing=()
for package in "${packages[@]}"; do
  dpkg-query -W -f='${Status}' "$package" 2>/dev/null | grep -q "install ok installed" || missing+=("$package")
done
[ ${#missing[@]} -eq 0 ] && exit 0

as_root=()
[ "$(id -u)" -eq 0 ] || as_root=(sudo)
echo "setup: installing ${missing[*]}"
"${as_root[@]}" apt-get update -q
DEBIAN_FRONTEND=noninteractive "${as_root[@]}" apt-get install -y -q "${missing[@]}"
