#!/usr/bin/env bash
# The shipped launcher: stripped, at most 1 MiB, and importing nothing but Windows' own DLLs.
set -euo pipefail
size=$(stat -c %s "$1")
echo "NightveilMode.exe: $size bytes"
if [ "$size" -gt 1048576 ]; then echo "larger than 1 MiB" >&2; exit 1; fi
if x86_64-w64-mingw32-objdump -h "$1" | grep -q '\.debug'; then echo "not stripped" >&2; exit 1; fi
system=kernel32,user32,advapi32,shell32,ole32,oleaut32,comctl32,comdlg32,bcrypt,crypt32,wintrust
system=$system,version,wtsapi32,rstrtmgr,winhttp,shlwapi,msvcrt,gdi32,uxtheme
others=$(x86_64-w64-mingw32-objdump -p "$1" | sed -n 's/.*DLL Name: //p' |
  tr '[:upper:]' '[:lower:]' | grep -Ev "^(${system//,/|})\.dll$" || true)
if [ -n "$others" ]; then echo "imports non-system DLLs: $others" >&2; exit 1; fi
