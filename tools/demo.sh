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
. tools/update-session.sh  # the update host and a display, for this run only
PYTHONPATH=tests/e2e /usr/bin/python3 tools/demo/update.py
