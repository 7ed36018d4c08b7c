#!/usr/bin/env bash
# The shipped launcher: stripped, at most 1 MiB, importing at start only Known DLLs (which Windows
# maps from System32 whatever lies beside the exe; every other library is delay-loaded), and
# restricting its DLL search to System32.
set -euo pipefail
size=$(stat -c %s "$1")
echo "NightveilMode.exe: $size bytes"
if [ "$size" -gt 1048576 ]; then echo "larger than 1 MiB" >&2; exit 1; fi
if x86_64-w64-mingw32-objdump -h "$1" | grep -q '\.debug'; then echo "not stripped" >&2; exit 1; fi
table=$(x86_64-w64-mingw32-objdump -p "$1")
known='^(kernel32|user32|advapi32|shell32|ole32|oleaut32|shlwapi|comdlg32|msvcrt)\.dll$'
others=$(sed -n 's/.*DLL Name: //p' <<<"$table" | tr '[:upper:]' '[:lower:]' |
  grep -Ev "$known" || true)
if [ -n "$others" ]; then
  echo "imports at start DLLs that are not Known DLLs: $others" >&2
  exit 1
fi
if ! grep -q ' SetDefaultDllDirectories$' <<<"$table"; then
  echo "does not restrict its DLL search to System32" >&2
  exit 1
fi
