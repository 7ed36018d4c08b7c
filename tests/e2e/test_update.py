"""The update step of real launches under Wine against the local update host: the question, the download
behind its progress dialog, the checks before the hand-over, the clean-up and the once-a-day schedule."""
import os, shutil, time  # noqa: E401
from pathlib import Path

import pytest

from harness import CASES, EXIT, FIXTURES, SENTENCE, WINE_ENV, release_manifest, update_host, wait_for, win
from harness import install, make_install, session_keeper  # noqa: F401  (fixtures)

FEED, DUAL, DAY = "/downloads/updates/stable/latest.jws", FIXTURES / "installer" / "installer-dual.exe", 86400
QUESTION = SENTENCE.update_question_lead + "2.1.0" + SENTENCE.update_question
WINE_INDEX = "Wine ignores WSS_VERIFY_SPECIFIC's index: the dual-signed installer fails at its second signer"


def cache() -> Path:
    """The per-user update folder of the Wine prefix's user."""
    return next(Path(WINE_ENV["WINEPREFIX"], "drive_c", "users").glob("*/AppData/Local")) / "Tenebrix" / "Updates"


def aged(path: Path, folder: bool = False) -> Path:
    """A leftover of a crashed download or an old revision, last changed two days ago."""
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
    install.routes = {FEED: {"file": str(install.root / "latest.jws")}, install.setup: {"file": str(DUAL)}}
    install.launch = lambda **kw: install.run("--paltalk", win(install.host), timeout=90, **kw)
    return install


def test_no_goes_on_with_the_host_and_is_not_asked_again_that_day(release):
    old, part = aged(cache() / "stable" / "15", folder=True), aged(cache() / "stable" / "16" / "x.exe{G}.part")
    with update_host(release.routes, CASES / "update.log") as asked:
        assert release.launch(answers=("n",))[:2] == (EXIT.done, [QUESTION])
        release.record()
        (release.paltalk / "host-record.txt").unlink()
        assert release.launch()[:2] == (EXIT.done, [])
        release.record()
        assert asked() == [FEED]
    assert not old.exists() and not part.exists()


def test_yes_downloads_behind_the_progress_dialog_and_refuses_what_does_not_verify(release):
    slow = release.routes | {release.setup: {"file": str(DUAL), "piece": 16384, "pause": 0.3}}
    with update_host(slow, CASES / "update.log") as asked:  # under Wine it fails at the second signer
        code, messages, shots = release.launch(answers=("y", "wait", "Return"))
        assert (code, messages, asked()) == (EXIT.done, [QUESTION, SENTENCE.update_download_failed], [FEED, release.setup])
    release.record()  # the launch goes on with the installed version
    assert list((cache() / "stable" / "17").iterdir()) == [] and len(shots) == 3


@pytest.mark.xfail(strict=True, reason=WINE_INDEX)
def test_yes_hands_over_to_the_verified_installer(release):
    with update_host(release.routes, CASES / "update.log"):
        code, messages, _ = release.launch(answers=("y", "wait"))
    record = cache() / "stable" / "17" / "installer-record.txt"
    assert wait_for(record.exists, 15), "the installer was not started"
    parent, line = record.read_bytes()[2:].decode("utf-16-le").split("\0")[:2]
    setup = win(cache() / "stable" / "17" / "Tenebrix-2.1.0-Setup.exe")
    assert (code, messages) == (EXIT.done, [QUESTION]) and not (release.paltalk / "host-record.txt").exists()
    assert line == f'"{setup}" /AUTOUPDATE /UPGRADE /PARENTPID={parent} /RESUME=dark /PALTALK="{win(release.host)}"'


def test_cancel_during_a_slow_download_leaves_nothing(release):
    slow = release.routes | {release.setup: {"file": str(DUAL), "piece": 4096, "pause": 0.5}}
    with update_host(slow, CASES / "update.log"):
        assert release.launch(answers=("y", "Escape"))[:2] == (EXIT.done, [QUESTION])  # the user's act needs no message
    release.record()
    assert list((cache() / "stable" / "17").iterdir()) == []


@pytest.mark.parametrize("feed", [{"silent": True}, {"size": 16384, "piece": 1, "pause": 0.1}], ids=["silent", "trickle"])
def test_a_dead_feed_costs_three_seconds_once_a_day(release, feed):
    def host_start() -> float:
        (release.paltalk / "host-record.txt").unlink(missing_ok=True)
        begin = time.monotonic()
        assert release.launch()[:2] == (EXIT.done, [])
        release.record()
        return time.monotonic() - begin

    with update_host({FEED: feed}, CASES / "update.log") as asked:
        delay = host_start() - host_start()
        assert asked() == [FEED]
    assert 2.0 <= delay <= 4.5  # 3 s, give or take the noise of two Wine launches on a loaded machine


@pytest.mark.parametrize("args, cleans", [
    (["--silent"], True), (["--desktop-launch"], True), (["--configure"], False), (["--skip-update-once"], False)])
def test_options_that_make_no_request(release, args, cleans):
    part = aged(cache() / "stable" / "16" / "x.exe{G}.part")
    with update_host(release.routes, CASES / "update.log") as asked:
        release.run("--paltalk", win(release.host), *args, timeout=90)
        assert asked() == []
    assert part.exists() != cleans
