"""What runs and what is loaded: a fixture host kept running (and loading a plugin file on request)
against launches, `--configure`, `--running` and `--busy`. Every host is stopped and its case settled
before the next starts."""
import pytest

import harness
from harness import read_ini, run, win_path
from host_harness import RECOGNIZED, RUNNING, keep_host_running, stop_and_settle


def plugin_of(install) -> str:
    return win_path(install.tenebrix / "plugins" / "styles" / "Nightveil.dll")


@pytest.fixture(scope="module")
def themed_host():
    """A host of a tested build that has loaded its own installation's plugin, running for this module.
    A second installation of the same build lies beside it, not running."""
    install = harness.make_install("inspection-themed-host")
    other = harness.make_install("inspection-other")
    install.mark_tested()
    record = keep_host_running(install, load_library=plugin_of(install), seconds=90)
    yield install, other, record
    stop_and_settle(install)
    stop_and_settle(other)


def same_host_still_runs(install, record):
    assert install.record().pid == record.pid, "a second host was started"
    assert run(install, "--running", "--paltalk", win_path(install.host)).code == 10


QUERIES = [
    ("running", lambda i, o: ["--running", "--paltalk", win_path(i.host)], 10),
    ("running-path-in-capitals", lambda i, o: ["--running", "--paltalk", win_path(i.host).upper()], 10),
    ("running-path-with-dot-dot", lambda i, o: ["--running", "--paltalk",
                                               win_path(i.paltalk / ".." / i.paltalk.name / "Paltalk.exe")], 10),
    ("running-path-with-forward-slashes",
     lambda i, o: ["--running", "--paltalk", win_path(i.host).replace("\\", "/")], 10),
    ("running-any-host", lambda i, o: ["--running"], 10),
    ("running-other-installation", lambda i, o: ["--running", "--paltalk", win_path(o.host)], 0),
    ("running-missing-path", lambda i, o: ["--running", "--paltalk", win_path(i.root / "gone" / "Paltalk.exe")], 0),
    ("busy", lambda i, o: ["--busy"], 10),
    ("busy-root", lambda i, o: ["--busy", "--root", win_path(i.tenebrix)], 10),
    ("busy-root-in-capitals", lambda i, o: ["--busy", "--root", win_path(i.tenebrix).upper()], 10),
    ("busy-root-with-trailing-separator", lambda i, o: ["--busy", "--root", win_path(i.tenebrix) + "\\"], 10),
    ("busy-other-root", lambda i, o: ["--busy", "--root", win_path(o.tenebrix)], 0),
    ("busy-host-folder-as-root", lambda i, o: ["--busy", "--root", win_path(i.paltalk)], 0),
]


@pytest.mark.parametrize("arguments, code", [q[1:] for q in QUERIES], ids=[q[0] for q in QUERIES])
def test_query_beside_a_themed_host(themed_host, arguments, code):
    install, other, record = themed_host
    result = run(install, *arguments(install, other))
    assert (result.code, result.messages) == (code, [])
    assert install.record().pid == record.pid


def test_busy_asked_from_the_other_installation(themed_host):
    install, other, record = themed_host
    assert run(other, "--busy").code == 0
    assert run(other, "--busy", "--root", win_path(install.tenebrix)).code == 10


@pytest.mark.parametrize("first_start", [False, True], ids=["desktop-launch", "first-start"])
def test_launch_is_refused_with_the_running_message(themed_host, first_start):
    """Refused before any hand-off: the first start asks, too."""
    install, _, record = themed_host
    arguments = ([] if first_start else ["--desktop-launch"]) + ["--paltalk", win_path(install.host)]
    result = run(install, *arguments, answers=("Return",))
    assert (result.code, result.messages) == (10, [RUNNING])
    same_host_still_runs(install, record)


def test_launch_from_the_settings_is_refused_too(themed_host):
    """A plain double-click: the host path comes from settings.ini, and that host runs."""
    install, _, record = themed_host
    install.write_settings(f"[Paltalk]\nExe={win_path(install.host)}\n")
    try:
        result = run(install, "--desktop-launch", "--silent")
        assert (result.code, result.messages) == (10, [])
    finally:
        (install.tenebrix / "settings.ini").unlink()
    same_host_still_runs(install, record)


def test_configure_still_works_beside_the_running_host(themed_host):
    install, _, record = themed_host
    output = install.root / "configure.ini"
    result = run(install, "--configure", "--output", win_path(output), "--paltalk", win_path(install.host))
    assert (result.code, result.messages) == (0, [])
    written = read_ini(output)
    assert (written["Paltalk"]["Experimental"], written["Info"]["Status"]) == ("0", RECOGNIZED)
    same_host_still_runs(install, record)


# --- Hosts with other modules -------------------------------------------------------------------

def test_host_without_the_plugin_runs_but_does_not_make_the_installation_busy(install):
    try:
        keep_host_running(install)
        assert run(install, "--running", "--paltalk", win_path(install.host)).code == 10
        assert run(install, "--busy").code == 0
    finally:
        stop_and_settle(install)


def test_host_of_another_installation_with_this_plugin_loaded_makes_this_one_busy(install, make_install):
    """Busy depends on the plugin file loaded, not on where the host lies."""
    elsewhere = make_install("elsewhere")
    try:
        keep_host_running(elsewhere, load_library=plugin_of(install))
        assert run(install, "--busy").code == 10
        assert run(elsewhere, "--busy").code == 0
        assert run(install, "--running", "--paltalk", win_path(install.host)).code == 0
        assert run(install, "--running").code == 10
    finally:
        stop_and_settle(elsewhere)


def test_host_with_a_copy_of_the_plugin_from_another_folder_is_not_busy(install):
    copy = install.root / "copy" / "Nightveil.dll"
    copy.parent.mkdir()
    copy.write_bytes((install.tenebrix / "plugins" / "styles" / "Nightveil.dll").read_bytes())
    try:
        keep_host_running(install, load_library=win_path(copy))
        assert run(install, "--busy").code == 0
    finally:
        stop_and_settle(install)


def test_after_the_host_exits_nothing_runs_and_a_launch_proceeds(install):
    install.mark_tested()
    keep_host_running(install, load_library=plugin_of(install))
    assert run(install, "--busy").code == 10
    stop_and_settle(install)
    assert run(install, "--running", "--paltalk", win_path(install.host)).code == 0
    assert run(install, "--busy").code == 0
    install.record_path.unlink()
    result = run(install, "--desktop-launch", "--paltalk", win_path(install.host))
    assert (result.code, result.messages) == (0, [])
    assert install.wait_for_record().command_line.endswith(" -style Nightveil")
