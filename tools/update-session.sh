# shellcheck shell=bash
# Sourced by the scripts that run Wine against the local update host (the test
# command, the update demo, the benchmarks): the update host's name on
# 127.0.0.1 and its CA for this run only, a private Xvfb when there is no
# display, and both undone when the script ends, however it ends. A script with
# more to undo adds it to `finish_also`.
update_ca=build/windows/pki/update-root.crt xvfb_pid='' finish_also=:
finish() {
  if [ -n "$xvfb_pid" ]; then
    kill "$xvfb_pid" 2>/dev/null || true
    (. tests/wine/env.sh; wineserver -k 2>/dev/null) || true
  fi
  tests/pki/update-host.sh remove "$update_ca" || true
  eval "$finish_also"
}
trap finish EXIT
trap 'exit 130' INT TERM
tests/pki/update-host.sh install "$update_ca"
if [ -z "${DISPLAY:-}" ]; then
  # A display nobody uses.
  n=$((90 + RANDOM % 400))
  while [ -e "/tmp/.X$n-lock" ]; do n=$((n + 1)); done
  export DISPLAY=":$n"
  Xvfb "$DISPLAY" -screen 0 1280x1024x24 -nolisten tcp >/dev/null 2>&1 &
  xvfb_pid=$!
  for _ in $(seq 50); do
    xdpyinfo -display "$DISPLAY" >/dev/null 2>&1 && break
    sleep 0.1
  done
fi
