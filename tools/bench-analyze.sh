#!/usr/bin/env bash
# Times the host analysis. Builds the native benchmark and runs it: analyze_host
# over an installation of realistic size beside the digest of its largest file
# alone, ending with "ratio <analysis / largest file>". Arguments go to the
# benchmark (e.g. --benchmark_repetitions=15).
#
# When a Windows build with its fixtures exists (NV_WINDOWS_BUILD, default
# build/windows), it also times `NightveilMode.exe --probe` under Wine on the
# same sizes, once refused before any digest and once through the whole analysis.
set -euo pipefail
cd "$(dirname "$0")/.."
./tools/ensure-packages.sh

windows=${NV_WINDOWS_BUILD:-build/windows}
launcher=$windows/NightveilMode.exe
fixtures=$windows/tests/fixtures/files
if [ ! -f "$launcher" ] || [ ! -f "$fixtures/Paltalk.exe" ] ||
  [ ! -f "$fixtures/qt-6.11.1.0/Qt6Core.dll" ]; then
  echo "probe under Wine: skipped (no Windows build with fixtures at $windows)"
else
  work=$(mktemp -d)
  trap 'rm -rf "$work"' EXIT
  mkdir -p "$work/Tenebrix" "$work/Paltalk"
  cp "$launcher" "$work/Tenebrix/"
  # The fixture files padded to the sizes of a real installation; what follows a
  # PE image does not change what it says about itself.
  pad() { cp "$1" "$2"; truncate -s "$3" "$2"; }
  pad "$fixtures/Paltalk.exe" "$work/Paltalk/Paltalk.exe" 40M
  pad "$fixtures/qt-6.11.1.0/Qt6Core.dll" "$work/Paltalk/Qt6Core.dll" 7M
  pad "$fixtures/qt-6.11.1.0/Qt6Gui.dll" "$work/Paltalk/Qt6Gui.dll" 9M
  pad "$fixtures/qt-6.11.1.0/Qt6Widgets.dll" "$work/Paltalk/Qt6Widgets.dll" 6M
  hashes=$(cd "$work/Paltalk" && sha256sum Paltalk.exe Qt6Core.dll Qt6Gui.dll Qt6Widgets.dll |
    cut -d' ' -f1 | paste -sd'|')
  printf '[Tested]\r\nHashes=%s\r\n' "$hashes" >"$work/Tenebrix/compatibility.ini"

  winpath() { echo "Z:${1//\//\\}"; }
  probe() {
    local start end code=0
    start=$(date +%s%N)
    tests/wine/wine-run.sh "$work/Tenebrix/NightveilMode.exe" --probe --paltalk "$(winpath "$1")" \
      </dev/null >/dev/null 2>&1 || code=$?
    end=$(date +%s%N)
    echo "$(((end - start) / 1000000)) ms, exit $code"
  }
  # One wineserver for both runs, so that neither pays for starting it.
  # Its output goes nowhere: a lingering wineserver must not hold this script's pipe.
  (
    . tests/wine/env.sh && tests/wine/make-prefix.sh >/dev/null &&
      { wineserver -p 30 </dev/null >/dev/null 2>&1 || true; }
  )
  echo "probe under Wine, host missing (nothing hashed): $(probe "$work/Paltalk/Missing.exe")"
  echo "probe under Wine, recognized installation:       $(probe "$work/Paltalk/Paltalk.exe")"
fi

# Last, the native comparison, so that the run ends with its "ratio" line.
build=build/bench
cmake --preset native -B "$build" -DCMAKE_BUILD_TYPE=Release >/dev/null
cmake --build "$build" -j 2 --target analyze_bench
"$build/bench/analyze_bench" "$@"
