"""The feed fetch and the installer download on the real WinHTTP under Wine against the local update host."""
import socket, subprocess  # noqa: E401
from pathlib import Path

import pytest

from harness import CASES, FAILURE, probe, update_host, win

FEED, SETUP, SIZE = (
    "/downloads/updates/stable/latest.jws",
    "/downloads/Tenebrix-9.9.9-Setup.exe",
    300000,
)
MOVED = {"location": "https://updates.tenebrix.test/moved"}

# Wine's prefix, the cases' folder and the update host's name, made or checked on import (tools/bench-feed.sh too).
assert (
    socket.gethostbyname("updates.tenebrix.test") == "127.0.0.1"
), "run tests/pki/update-host.sh install"
subprocess.run([Path(__file__).parents[1] / "wine" / "make-prefix.sh"], check=True, timeout=900)
CASES.mkdir(parents=True, exist_ok=True)


def run(routes: dict | None, *args: str) -> tuple[str, list[str], float]:
    """feed_probe's answer, the paths asked for and the seconds taken; a redirect's target is always there."""
    with update_host(
        None if routes is None else {"/moved": {"size": 9}} | routes, CASES / "requests.log"
    ) as asked:
        answer, seconds = probe(*args, timed=True)
        return answer, asked(), seconds


@pytest.mark.parametrize(
    "routes, answer, seconds",
    [
        ({FEED: {"size": 0}}, "ok 0", (0, 3)),
        ({FEED: {"size": 16384}}, "ok 16384", (0, 3)),
        ({FEED: {"size": 16385}}, FAILURE.update_manifest_size, (0, 3)),
        (
            {FEED: {"status": 302} | MOVED},
            FAILURE.update_feed_unavailable,
            (0, 3),
        ),  # a redirect is never followed
        (
            {FEED: {"size": 16384, "piece": 1, "pause": 0.1}},
            FAILURE.update_deadline,
            (2.9, 3.3),
        ),  # trickles
        ({FEED: {"silent": True}}, FAILURE.update_deadline, (2.9, 3.3)),
        (None, FAILURE.update_deadline, (0, 1)),  # refused: nothing listens
    ],
    ids=["empty", "at-limit", "over-limit", "302", "trickle", "silent", "refused"],
)
def test_feed_answers_within_its_deadline(routes, answer, seconds):
    got, asked, taken = run(routes, "feed")
    assert (got, asked) == (answer, [] if routes is None else [FEED])
    assert seconds[0] <= taken <= seconds[1]


@pytest.mark.parametrize(
    "route, cancel_ms, answer, on_disk, asked",
    [
        ({"size": SIZE}, "-1", f"ok {SIZE}", [SIZE], [SETUP]),
        ({"status": 302} | MOVED, "-1", FAILURE.download_unavailable, [None], [SETUP]),
        ({"size": SIZE}, "0", FAILURE.download_cancelled, [None], []),
        (
            {"size": SIZE, "piece": 16384, "pause": 0.1},
            "700",
            FAILURE.download_cancelled,
            range(SIZE),
            [SETUP],
        ),
    ],
    ids=["exact", "302", "cancelled-first", "cancelled-while-slow"],
)  # the unit tests take the sizes
def test_download_streams_exactly_the_manifest_size(route, cancel_ms, answer, on_disk, asked):
    target = CASES / "setup.part"
    target.unlink(missing_ok=True)
    got, requests, taken = run({SETUP: route}, "download", SETUP, str(SIZE), win(target), cancel_ms)
    assert (got, requests, taken < 2) == (answer, asked, True)  # a cancel acts at the next read
    assert (target.stat().st_size if target.exists() else None) in on_disk
