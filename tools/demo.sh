#!/usr/bin/env bash
# The main job: build NightveilMode.exe and its fixture host, and run the
# launcher under Wine on a demo installation of a recognized build.
#   demo.sh update: the self-update instead, against a local update host (root):
#   a release issued by nv-release, served on 127.0.0.1:443, a launch answering Yes.
set -euo pipefail
cd "$(dirname "$0")/.."
./tools/ensure-packages.sh
cmake --preset windows >/dev/null
if [ "${1:-}" != update ]; then
  cmake --build --preset windows -j 2 --target NightveilMode nv_fixtures
  tests/wine/make-prefix.sh
  PYTHONPATH=tests/e2e exec /usr/bin/python3 tools/demo/launch.py
fi

cmake --preset native >/dev/null
cmake --build --preset native -j 2 --target nv-release >/dev/null
cmake --build --preset windows -j 2 --target NightveilMode nv_fixtures feed_probe >/dev/null
tests/wine/make-prefix.sh >/dev/null
tests/pki/install-root.sh build/windows/pki/root.crt  # the signers' root, as the tests trust it
# The update host's name on 127.0.0.1 and its CA, for this run only; the dialogs need a display.
update_ca=build/windows/pki/update-root.crt xvfb_pid=
finish() {
  if [ -n "$xvfb_pid" ]; then kill "$xvfb_pid" 2>/dev/null || true; (. tests/wine/env.sh; wineserver -k 2>/dev/null) || true; fi
  tests/pki/update-host.sh remove "$update_ca" || true
}
trap finish EXIT
trap 'exit 130' INT TERM
tests/pki/update-host.sh install "$update_ca"
if [ -z "${DISPLAY:-}" ]; then
  n=$((90 + RANDOM % 400)); while [ -e /tmp/.X$n-lock ]; do n=$((n + 1)); done  # a display nobody uses
  export DISPLAY=":$n"
  Xvfb "$DISPLAY" -screen 0 1280x1024x24 -nolisten tcp >/dev/null 2>&1 &
  xvfb_pid=$!
  for _ in $(seq 50); do xdpyinfo -display "$DISPLAY" >/dev/null 2>&1 && break; sleep 0.1; done
fi
PYTHONPATH=tests/e2e /usr/bin/python3 tools/demo/update.py
