#!/usr/bin/env bash
# Checks the built library from outside: it exports exactly the factories of its
# export list, undecorated, and it and the engine import system DLLs only (no
# libstdc++, libgcc or winpthread to ship beside them).
set -euo pipefail
dll=$1
exe=$2
def=$3
objdump=${OBJDUMP:-x86_64-w64-mingw32-objdump}
failed=0

expected=$(awk '/^EXPORTS/{on=1;next} on && NF {print $1}' "$def" | sort)
actual=$("$objdump" -p "$dll" | awk '/\[Ordinal\/Name Pointer\] Table/{on=1;next} on && /^[ \t]*\[/{print $NF; next} {on=0}' | sort)
if [ "$expected" != "$actual" ]; then
  echo "exports of $dll differ from $def:"
  diff <(echo "$expected") <(echo "$actual") || true
  failed=1
fi

system_dlls='^(kernel32|user32|advapi32|shell32|shlwapi|ole32|oleaut32|msvcrt|ntdll|version|wtsapi32|userenv|winhttp|urlmon|gdi32|comctl32|comdlg32|powrprof|psapi|crypt32|bcrypt|ws2_32|rpcrt4|secur32|wintrust|setupapi|iphlpapi|uxtheme|imm32|msimg32|windowscodecs|winmm|dbghelp|api-ms-win-[a-z0-9-]+)\.dll$'
for binary in "$dll" "$exe"; do
  while read -r name; do
    if ! echo "$name" | tr 'A-Z' 'a-z' | grep -Eq "$system_dlls"; then
      echo "$binary imports $name, which is not a system DLL"
      failed=1
    fi
  done < <("$objdump" -p "$binary" | awk '/DLL Name:/{print $3}')
done

[ $failed -eq 0 ] && echo "exports and imports as expected ($(echo "$actual" | wc -l) factories)"
exit $failed
