"""The feed fetch and the installer download on the real WinHTTP under Wine, against the local
update host."""

import socket
import subprocess
from dataclasses import dataclass
from pathlib import Path

import pytest

from harness import CASES, FAILURE, probe, update_host, win

FEED = "/downloads/updates/stable/latest.jws"
SETUP = "/downloads/Tenebrix-9.9.9-Setup.exe"
SIZE = 300000  # the installer's size as its manifest gives it
MOVED = {"status": 302, "location": "https://updates.tenebrix.test/moved"}

# Wine's prefix, the cases' folder and the update host's name, made or checked on import
# (tools/bench-feed.sh imports this module too).
host = socket.gethostbyname("updates.tenebrix.test")
assert host == "127.0.0.1", "run tests/pki/update-host.sh install"
subprocess.run([Path(__file__).parents[1] / "wine" / "make-prefix.sh"], check=True, timeout=900)
CASES.mkdir(parents=True, exist_ok=True)


def run(routes: dict | None, *args: str) -> tuple[str, list[str], float]:
    """feed_probe's answer, the paths asked for and the seconds taken.

    A redirect's target is always there.
    """
    with update_host(
        None if routes is None else {"/moved": {"size": 9}} | routes, CASES / "requests.log"
    ) as asked:
        answer, seconds = probe(*args, timed=True)
        return answer, asked(), seconds


@dataclass(frozen=True)
class Feed:
    name: str
    route: dict | None  # how the host answers the feed; None: nothing listens
    answer: str
    seconds: tuple[float, float] = (0, 3)  # the least and most it may take


FEEDS = [
    Feed("empty", {"size": 0}, "ok 0"),
    Feed("at-limit", {"size": 16384}, "ok 16384"),
    Feed("over-limit", {"size": 16385}, FAILURE.update_manifest_size),
    Feed("302", MOVED, FAILURE.update_feed_unavailable),  # a redirect is never followed
    Feed(
        "trickle",
        {"size": 16384, "piece": 1, "pause": 0.1},
        FAILURE.update_deadline,
        seconds=(2.9, 3.3),
    ),
    Feed("silent", {"silent": True}, FAILURE.update_deadline, seconds=(2.9, 3.3)),
    Feed("refused", None, FAILURE.update_deadline, seconds=(0, 1)),
]


@pytest.mark.parametrize("row", FEEDS, ids=lambda row: row.name)
def test_feed_answers_within_its_deadline(row):
    answer, asked, taken = run(None if row.route is None else {FEED: row.route}, "feed")
    assert (answer, asked) == (row.answer, [] if row.route is None else [FEED])
    assert row.seconds[0] <= taken <= row.seconds[1]


@dataclass(frozen=True)
class Download:
    name: str
    route: dict  # how the host answers the installer's path
    answer: str
    on_disk: object  # the sizes the file may have afterwards (None: no file)
    cancel_ms: str = "-1"  # when the probe cancels; -1: never
    asked: tuple[str, ...] = (SETUP,)


# The unit tests take the sizes.
DOWNLOADS = [
    Download("exact", {"size": SIZE}, f"ok {SIZE}", on_disk=[SIZE]),
    Download("302", MOVED, FAILURE.download_unavailable, on_disk=[None]),
    Download(
        "cancelled-first",
        {"size": SIZE},
        FAILURE.download_cancelled,
        on_disk=[None],
        cancel_ms="0",
        asked=(),
    ),
    Download(
        "cancelled-while-slow",
        {"size": SIZE, "piece": 16384, "pause": 0.1},
        FAILURE.download_cancelled,
        on_disk=range(SIZE),  # a part, short of the whole
        cancel_ms="700",
    ),
]


@pytest.mark.parametrize("row", DOWNLOADS, ids=lambda row: row.name)
def test_download_streams_exactly_the_manifest_size(row):
    target = CASES / "setup.part"
    target.unlink(missing_ok=True)
    args = ("download", SETUP, str(SIZE), win(target), row.cancel_ms)
    answer, asked, taken = run({SETUP: row.route}, *args)
    assert (answer, asked) == (row.answer, list(row.asked))
    assert taken < 2  # a cancel acts at the next read
    assert (target.stat().st_size if target.exists() else None) in row.on_disk
