#!/usr/bin/env bash
# Times under Wine, as medians of N runs (default 15), a do-nothing program's whole run, the
# fixture host started directly until its record appears, and the same host through
# `NightveilMode.exe --desktop-launch` (a dark launch of a tested, unchanged build: no hand-off,
# no update question). Ends with "ratio R", R = (through the launcher - direct) / (the
# do-nothing run + 25 ms); goal 1.0 or less. Builds the Windows preset; needs a display only for
# Wine's own start.
set -euo pipefail
cd "$(dirname "$0")/.."
. tools/bench-session.sh
NV_E2E_CASES=$build/bench-launch NV_PKI=$build/pki NV_NOTHING=$build/bench/nothing.exe \
  /usr/bin/python3 - "${1:-15}" <<'PY'
import os, statistics, sys, time
from pathlib import Path

sys.path.insert(0, "tests/e2e")
import harness as h

runs = int(sys.argv[1])
env = h.environment()
install = h.Install("bench-launch")
install.mark_tested()
record = install.paltalk / "host-record.txt"


def timed(program: Path, *args: str, until_record: bool) -> float:
    """Milliseconds from the start of `wine program` to its end, or to the host's record."""
    record.unlink(missing_ok=True)
    log = install.root / "bench.log"
    begin = time.monotonic()
    proc = h.start(program, *args, cwd=install.root, env=env, log=log)
    try:
        if until_record:
            while not record.exists():  # polled finely: the harness's wait polls every 100 ms
                assert time.monotonic() - begin < 30, log.read_text(errors="replace")
                time.sleep(0.002)
        else:
            proc.wait(timeout=30)
        elapsed = (time.monotonic() - begin) * 1000
    finally:
        proc.wait(timeout=30)
        h.kill(proc)
    return elapsed


nothing = Path(os.environ["NV_NOTHING"])
kinds = {
    "nothing": lambda: timed(nothing, until_record=False),
    "direct": lambda: timed(install.host, until_record=True),
    "launcher": lambda: timed(install.launcher, "--desktop-launch", until_record=True),
}
# The first launch names the host and writes settings.ini; the timed ones find it there, as a
# double-click does.
timed(install.launcher, "--desktop-launch", "--paltalk", h.win(install.host), until_record=True)
times = {name: [] for name in kinds}
for round in range(runs):  # the three kinds in turn, so a load peak touches all of them
    for name, run in kinds.items():
        times[name].append(run())
median = {name: statistics.median(values) for name, values in times.items()}
for name, value in median.items():
    print(f"{name:9} median {value:6.0f} ms  ({min(times[name]):.0f} to {max(times[name]):.0f})")
print(f"load     {os.getloadavg()[0]:.1f}")
print(f"launcher - direct {median['launcher'] - median['direct']:.0f} ms")
print(f"ratio {(median['launcher'] - median['direct']) / (median['nothing'] + 25):.2f}")
PY
