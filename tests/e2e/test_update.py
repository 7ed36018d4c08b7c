"""The update step of real launches under Wine against the local update host."""

import os
import shutil
import threading
import time
from dataclasses import dataclass
from pathlib import Path

import pytest

from harness import (
    ARTIFACTS,
    CASES,
    EXIT,
    FIXTURES,
    SENTENCE,
    WAIT,
    WINE_ENV,
    environment,
    kill,
    probe,
    record,
)
from harness import release_manifest, start, update_host, wait_for, win

FEED = "/downloads/updates/stable/latest.jws"
DUAL = FIXTURES / "installer" / "installer-dual.exe"
DAY = 86400
# The offer of the release the update host holds, 2.1.0.
QUESTION = SENTENCE.update_question_lead + "2.1.0" + SENTENCE.update_question


def cache() -> Path:
    """The Wine user's update folder."""
    users = Path(WINE_ENV["WINEPREFIX"], "drive_c", "users")
    return next(users.glob("*/AppData/Local")) / "Tenebrix" / "Updates"


def aged(path: Path, folder: bool = False) -> Path:
    """A leftover of a crashed download or an old revision, two days old."""
    path.parent.mkdir(parents=True, exist_ok=True)
    path.mkdir() if folder else path.write_bytes(b"left over")
    os.utime(path, (time.time() - 2 * DAY,) * 2)
    return path


@pytest.fixture
def release(install):
    """A tested build due for a check, and the routes of an update host that offers revision 17."""
    shutil.rmtree(cache(), ignore_errors=True)
    install.mark_tested()
    text, install.setup = release_manifest(17, "2.1.0", DUAL)
    (install.root / "latest.jws").write_text(text)
    install.routes = {
        FEED: {"file": str(install.root / "latest.jws")},
        install.setup: {"file": str(DUAL)},
    }
    install.launch = lambda **kw: install.run("--paltalk", win(install.host), timeout=90, **kw)
    return install


def test_no_goes_on_with_the_host_and_is_not_asked_again_that_day(release):
    old = aged(cache() / "stable" / "15", folder=True)
    part = aged(cache() / "stable" / "16" / "x.exe{G}.part")
    with update_host(release.routes, CASES / "update.log") as asked:
        assert release.launch(answers=("n",))[:2] == (EXIT.done, [QUESTION])
        release.record()
        (release.paltalk / "host-record.txt").unlink()
        assert release.launch()[:2] == (EXIT.done, [])
        release.record()
        assert asked() == [FEED]
    assert not old.exists() and not part.exists()


@dataclass(frozen=True)
class Download:
    name: str
    answers: tuple  # to the question, the progress dialog, and what follows
    messages: tuple[str, ...]


# Wine ignores WSS_VERIFY_SPECIFIC's index, so the dual-signed installer fails at its second signer
# there; the user's own cancel needs no message. Either way the launch goes on with the installed
# version, and nothing is left.
DOWNLOADS = [
    Download(
        "refused",
        answers=("y", WAIT, "Return"),
        messages=(QUESTION, SENTENCE.update_download_failed),
    ),
    Download("cancelled", answers=("y", "Escape"), messages=(QUESTION,)),
]


@pytest.mark.parametrize("row", DOWNLOADS, ids=lambda row: row.name)
def test_yes_downloads_behind_the_progress_dialog(release, row):
    slow = release.routes | {release.setup: {"file": str(DUAL), "piece": 8192, "pause": 0.4}}
    with update_host(slow, CASES / "update.log") as asked:
        code, messages, shots = release.launch(answers=row.answers)
        assert (code, messages, len(shots)) == (EXIT.done, list(row.messages), len(row.answers))
        assert asked() == [FEED, release.setup]
    release.record()
    assert list((cache() / "stable" / "17").iterdir()) == []


def test_a_dead_feed_costs_three_seconds_once_a_day(release):
    def host_start() -> float:
        (release.paltalk / "host-record.txt").unlink(missing_ok=True)
        begin = time.monotonic()
        assert release.launch()[:2] == (EXIT.done, [])
        release.record()
        return time.monotonic() - begin

    with update_host({FEED: {"silent": True}}, CASES / "update.log") as asked:
        delay = host_start() - host_start()
        assert asked() == [FEED]
    # 3 s, give or take the noise of two Wine launches on a loaded machine.
    assert 2.0 <= delay <= 4.5


@dataclass(frozen=True)
class NoRequest:
    args: tuple[str, ...]
    cleans_up: bool = True  # old downloads are removed
    starts_host: bool = True


# Under Wine a start without --desktop-launch hands off to a second start, which cleans up before
# the host starts.
NO_REQUEST = [
    NoRequest(args=("--silent",)),
    NoRequest(args=("--desktop-launch",)),
    NoRequest(args=("--configure",), cleans_up=False, starts_host=False),
    NoRequest(args=("--skip-update-once",)),
    NoRequest(args=("--skip-update-once", "--desktop-launch"), cleans_up=False),
]


@pytest.mark.parametrize("row", NO_REQUEST, ids=lambda row: " ".join(row.args))
def test_options_that_make_no_request(release, row):
    part = aged(cache() / "stable" / "16" / "x.exe{G}.part")
    with update_host(release.routes, CASES / "update.log") as asked:
        release.run("--paltalk", win(release.host), *row.args, timeout=90)
        if row.starts_host:
            release.record()
        assert asked() == []
    assert part.exists() != row.cleans_up


HOST = r"C:\Program Files (x86)\Paltalk\Paltalk.exe"
DIAG = r"C:\diag nostic\layout.txt"


# The unit tests vary the pieces of its command line.
def test_the_installer_receives_the_hand_over():
    folder = CASES / "hand over"  # a space: the installer's path is quoted
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    setup = win(shutil.copy2(DUAL, folder / "Tenebrix-2.1.0-Setup.exe"))
    pid = probe("start", setup, HOST, "0", "off", DIAG).removeprefix("started ")
    tail = f'/RESUME=normal /PALTALK="{HOST}" /BROWSERDARK=off /DIAGNOSTIC="{DIAG}"'
    installer = record(folder)
    assert (installer.parent, installer.command_line) == (
        pid,
        f'"{setup}" /AUTOUPDATE /UPGRADE /PARENTPID={pid} {tail}',
    )


def test_the_wait_dialog_closes_by_itself_when_the_host_exits(install):
    (install.paltalk / "host-control.ini").write_text("[Host]\nStaySeconds=120\n")
    host = start(install.host, cwd=install.root, env=environment(), log=install.root / "host.log")
    shot = ARTIFACTS / "wait-dialog-1.png"  # once it is taken, the host is told to stop
    shot.unlink(missing_ok=True)
    threading.Thread(
        target=lambda: wait_for(shot.exists, 60) and (install.paltalk / "host-stop").touch(),
        daemon=True,
    ).start()
    try:
        install.record()  # the host runs
        args = ("wait", win(install.host), win(install.tenebrix))
        assert probe(*args, answers=(WAIT,), label="wait-dialog") == "true"
    finally:
        kill(host)
    assert shot.exists()
