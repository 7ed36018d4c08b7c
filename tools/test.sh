#!/usr/bin/env bash
# The whole test run: native unit tests, the same under AddressSanitizer and
# UBSan, then the Windows build with its unit, platform and black-box tests
# under Wine. Installs what it needs first.
set -euo pipefail
cd "$(dirname "$0")/.."
./tools/ensure-packages.sh

jobs=2
cmake --preset native >/dev/null
cmake --build --preset native -j "$jobs"
ctest --preset native

cmake --preset native-asan >/dev/null
cmake --build --preset native-asan -j "$jobs"
ctest --preset native-asan

cmake --preset windows >/dev/null
cmake --build --preset windows -j "$jobs"
tests/pki/install-root.sh build/windows/pki/root.crt

# The update host of the HTTPS tests, for this run only: its CA in the system
# store and its name on 127.0.0.1. Undone when the run ends, however it ends.
update_ca=build/windows/pki/update-root.crt xvfb_pid=
finish() {
  if [ -n "$xvfb_pid" ]; then kill "$xvfb_pid" 2>/dev/null || true; (. tests/wine/env.sh; wineserver -k 2>/dev/null) || true; fi
  tests/pki/update-host.sh remove "$update_ca" || true
}
trap finish EXIT
trap 'exit 130' INT TERM
tests/pki/update-host.sh install "$update_ca"

# Message boxes and task dialogs need a display: a private Xvfb for this run.
if [ -z "${DISPLAY:-}" ]; then
  display=":$((90 + RANDOM % 400))"
  Xvfb "$display" -screen 0 1280x1024x24 -nolisten tcp >/dev/null 2>&1 &
  xvfb_pid=$!
  export DISPLAY="$display"
  for _ in $(seq 50); do xdpyinfo -display "$DISPLAY" >/dev/null 2>&1 && break; sleep 0.1; done
fi
ctest --preset windows
