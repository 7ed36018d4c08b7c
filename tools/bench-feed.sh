#!/usr/bin/env bash
# Times the feed fetch under Wine on the real WinHTTP against the local update
# host: a server that trickles, one that accepts and never answers, and a
# refused connection, each timed by the probe's steady clock from its start
# line to its answer. Ends with "ratio R", R = the longest of the three / 3,000 ms
# (goal 1.03 or less; a refused connection well under 100 ms). Builds the Windows
# preset, and maps the update host for the run and unmaps it after (root).
set -euo pipefail
cd "$(dirname "$0")/.."
. tools/bench-session.sh
NV_PKI=$build/pki NV_FEED_PROBE=$build/tests/feed_probe.exe NV_E2E_CASES=$build/bench-feed \
  /usr/bin/python3 - "${1:-3}" <<'PY'
import sys
sys.path.insert(0, "tests/e2e")
from test_feed import FEED, run  # prepares Wine and checks the host name

cases = {
    "trickle": {FEED: {"size": 16384, "piece": 1, "pause": 0.1}},
    "silent": {FEED: {"silent": True}},
    "refused": None,
}
longest = {}
for name, routes in cases.items():
    runs = []
    for _ in range(int(sys.argv[1])):
        answer, _, seconds = run(routes, "feed")
        runs.append(seconds * 1000)
    longest[name] = max(runs)
    print(f"{name:8} {answer:16} " + " ".join(f"{ms:6.0f}" for ms in runs) + " ms")
print(f"ratio {max(longest.values()) / 3000:.3f}")
PY
