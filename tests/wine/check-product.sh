#!/usr/bin/env bash
# The shipped launcher: stripped, at most 1 MiB, and importing nothing but
# Windows' own DLLs (it is linked statically).
set -euo pipefail
exe=$1
size=$(stat -c %s "$exe")
echo "NightveilMode.exe: $size bytes"
if [ "$size" -gt 1048576 ]; then echo "larger than 1 MiB" >&2; exit 1; fi
if x86_64-w64-mingw32-objdump -h "$exe" | grep -q '\.debug'; then echo "not stripped" >&2; exit 1; fi
system='^(kernel32|user32|advapi32|shell32|ole32|oleaut32|comctl32|comdlg32|bcrypt|crypt32|wintrust|version|wtsapi32|rstrtmgr|winhttp|shlwapi|msvcrt|gdi32|uxtheme)\.dll$'
status=0
while read -r dll; do
  lower=$(echo "$dll" | tr 'A-Z' 'a-z')
  if [[ "$lower" =~ $system ]]; then echo "imports $dll"; else echo "imports a non-system DLL: $dll" >&2; status=1; fi
done < <(x86_64-w64-mingw32-objdump -p "$exe" | sed -n 's/.*DLL Name: //p')
exit $status
