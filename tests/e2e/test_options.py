"""Exit codes of every option of NightveilMode.exe, each on its own.

Placeholders still in the product (src/placeholders/): shortcut removal removes
nothing, the support report cannot be saved (6), the support dialog cannot be
shown (6, or 2 when silent), every release manifest and installer is refused
(4). The cases that rest on them say so; their codes change when the real
operations arrive.
"""
import hashlib

import pytest

from harness import read_ini, run, win_path


def host(i):
    return win_path(i.host)


def missing(i):
    return win_path(i.root / "missing" / "Paltalk.exe")


def file_of(i, name: str, size: int = 0, text: bytes = b"") -> str:
    path = i.root / name
    path.write_bytes(text or b"x" * size)
    return win_path(path)


LAUNCH = ["--desktop-launch", "--silent"]  # a launch that shows nothing and needs no hand-off

EXIT_CODES = [
    ("desktop-launch", lambda i: LAUNCH + ["--paltalk", host(i)], 0),
    ("browser-dark-on", lambda i: LAUNCH + ["--browser-dark", "on", "--paltalk", host(i)], 0),
    ("browser-dark-off", lambda i: LAUNCH + ["--browser-dark", "off", "--paltalk", host(i)], 0),
    ("browser-dark-upper-case", lambda i: ["--browser-dark", "ON", "--paltalk", host(i)], 2),
    ("browser-dark-last", lambda i: ["--paltalk", host(i), "--browser-dark"], 2),
    ("browser-dark-last-value-is-next-option", lambda i: ["--browser-dark", "--silent"], 2),
    ("browser-dark-last-before-remove-shortcuts", lambda i: ["--browser-dark", "--remove-shortcuts"], 2),
    ("browser-dark-on-with-remove-shortcuts", lambda i: ["--browser-dark", "on", "--remove-shortcuts"], 0),
    ("diagnostic-layout-absolute", lambda i: LAUNCH + ["--diagnostic-layout", "Z:\\d.txt", "--paltalk", host(i)], 0),
    ("diagnostic-layout-relative", lambda i: ["--diagnostic-layout", "relative\\layout.txt"], 2),
    ("diagnostic-layout-relative-before-remove-shortcuts",
     lambda i: ["--remove-shortcuts", "--diagnostic-layout", "relative\\layout.txt"], 2),
    ("diagnostic-layout-last", lambda i: LAUNCH + ["--paltalk", host(i), "--diagnostic-layout"], 0),
    ("silent", lambda i: ["--silent", "--paltalk", missing(i)], 4),
    ("remove-shortcuts", lambda i: ["--remove-shortcuts"], 0),  # placeholder: removes nothing yet
    ("root", lambda i: ["--remove-shortcuts", "--root", win_path(i.root / "other")], 0),
    ("running-no-host", lambda i: ["--running", "--paltalk", host(i)], 0),
    ("busy-no-host", lambda i: ["--busy"], 0),
    ("busy-root", lambda i: ["--busy", "--root", win_path(i.tenebrix)], 0),
    ("remove-shortcuts-before-running", lambda i: ["--running", "--remove-shortcuts"], 0),
    ("verify-update-manifest", lambda i: ["--verify-update-manifest",  # placeholder: every manifest is refused
                                          file_of(i, "latest.jws", text=b"eyJhbGciOiJFUzI1NiJ9.e30.c2ln")], 4),
    ("verify-update-manifest-16384-bytes-is-read",
     lambda i: ["--verify-update-manifest", file_of(i, "latest.jws", 16384)], 4),
    ("verify-update-manifest-16385-bytes", lambda i: ["--verify-update-manifest", file_of(i, "latest.jws", 16385)], 2),
    ("verify-update-manifest-relative", lambda i: ["--verify-update-manifest", "latest.jws"], 2),
    ("verify-update-manifest-missing", lambda i: ["--verify-update-manifest", win_path(i.root / "none.jws")], 2),
    ("verify-update-manifest-folder", lambda i: ["--verify-update-manifest", win_path(i.root)], 2),
    ("verify-update-manifest-last", lambda i: ["--verify-update-manifest"], 2),
    ("verify-update-installer-without-size",
     lambda i: ["--verify-update-installer", file_of(i, "setup.exe", 10)], 4),
    ("verify-update-installer-bad-size",
     lambda i: ["--verify-update-installer", file_of(i, "setup.exe", 10), "--size", "ten"], 4),
    ("verify-update-installer-size-out-of-range",
     lambda i: ["--verify-update-installer", file_of(i, "setup.exe", 10), "--size", "18446744073709551616"], 4),
    ("verify-update-installer", lambda i: [  # an unsigned file is refused (and, for now, every file)
        "--verify-update-installer", file_of(i, "setup.exe", 10), "--size", "10",
        "--sha256", hashlib.sha256(b"x" * 10).hexdigest()], 4),
    ("size-and-sha256-alone", lambda i: LAUNCH + ["--size", "10", "--sha256", "00", "--paltalk", host(i)], 0),
    ("paltalk", lambda i: LAUNCH + ["--paltalk", host(i)], 0),
    ("paltalk-missing-silent", lambda i: ["--silent", "--paltalk", missing(i)], 4),
    ("paltalk-is-a-folder", lambda i: ["--silent", "--desktop-launch", "--paltalk", win_path(i.paltalk)], 2),
    ("support-report", lambda i: ["--support-report", win_path(i.root / "report.json"),  # placeholder: 0 when built
                                  "--paltalk", host(i)], 6),
    ("support-report-relative", lambda i: ["--support-report", "report.json"], 2),
    ("support-report-last", lambda i: ["--support-report"], 2),
    ("set-browser-dark-upper-case", lambda i: ["--set-browser-dark", "Off"], 2),
    ("set-browser-dark-last", lambda i: ["--set-browser-dark"], 2),
    ("support", lambda i: ["--support"], 6),  # placeholder: the dialog cannot be shown yet
    ("support-silent", lambda i: ["--support", "--silent"], 2),
    ("probe-unknown-build", lambda i: ["--probe", "--paltalk", host(i)], 5),
    ("probe-missing-host", lambda i: ["--probe", "--paltalk", missing(i)], 4),
    ("probe-no-host", lambda i: ["--probe", "--silent"], 2),
    ("original", lambda i: ["--desktop-launch", "--original", "--paltalk", host(i)], 0),
    ("configure-silent-unknown-build", lambda i: ["--configure", "--silent", "--paltalk", host(i),
                                                  "--output", win_path(i.root / "o.ini")], 5),
    ("configure-missing-host", lambda i: ["--configure", "--silent", "--paltalk", missing(i)], 4),
    ("experimental-on-a-launch", lambda i: LAUNCH + ["--experimental", "--paltalk", host(i)], 0),
    ("approved-settings-on-a-launch",
     lambda i: LAUNCH + ["--approved-settings", win_path(i.root / "a.ini"), "--paltalk", host(i)], 0),
    ("skip-update-once", lambda i: LAUNCH + ["--skip-update-once", "--paltalk", host(i)], 0),
    ("unknown-options-are-ignored", lambda i: LAUNCH + ["--frobnicate", "-x", "--paltalk", host(i)], 0),
]


@pytest.mark.parametrize("arguments, code", [c[1:] for c in EXIT_CODES], ids=[c[0] for c in EXIT_CODES])
def test_exit_code(install, arguments, code):
    arguments = arguments(install)
    result = run(install, *arguments)
    assert (result.code, result.messages) == (code, [])
    if code != 0 or "--desktop-launch" not in arguments:
        install.assert_no_host(grace=0)


def test_launch_options_start_the_host(install):
    """The launch cases above exit 0 because the host was started, in normal mode for an unknown build."""
    assert run(install, *LAUNCH, "--experimental", "--approved-settings", "Z:\\a.ini",
               "--paltalk", host(install)).code == 0
    assert install.wait_for_record().command_line == f'"{host(install)}"'
    assert install.last_status()["Mode"] == "normal"
    assert install.settings() == {}


# --- Options with files to look at afterwards ------------------------------------

@pytest.mark.parametrize("value, stored", [("on", "1"), ("off", "0")])
def test_set_browser_dark_stores_the_preference(install, value, stored):
    result = run(install, "--set-browser-dark", value)
    assert (result.code, result.messages) == (0, [])
    assert install.settings() == {"Appearance": {"BrowserDark": stored}}


def test_set_browser_dark_with_a_bad_value_leaves_settings_untouched(install):
    install.write_settings("[Appearance]\nBrowserDark=0\n")
    before = (install.tenebrix / "settings.ini").read_bytes()
    assert run(install, "--set-browser-dark", "Off").code == 2
    assert (install.tenebrix / "settings.ini").read_bytes() == before


def test_set_browser_dark_that_cannot_save_exits_1_silently(install):
    (install.tenebrix / "settings.ini").mkdir()
    result = run(install, "--set-browser-dark", "on", "--silent")
    assert (result.code, result.messages) == (1, [])


def test_probe_writes_its_configuration_to_output(install):
    output = install.root / "probe.ini"
    assert run(install, "--probe", "--output", win_path(output), "--paltalk", host(install)).code == 5
    written = read_ini(output)
    assert written["Paltalk"] == {"Exe": host(install), "Hashes": install.hashes(), "Experimental": "0"}
    assert written["Info"]["Version"] == "1.34.7.0"
    assert install.settings() == {}


def test_configure_of_a_tested_build_writes_without_asking(install):
    install.mark_tested()
    output = install.root / "o.ini"
    result = run(install, "--configure", "--output", win_path(output), "--paltalk", host(install))
    assert (result.code, result.messages) == (0, [])
    assert read_ini(output)["Paltalk"]["Experimental"] == "0"
    install.assert_no_host(grace=0)


def test_configure_without_output_exits_2(install):
    install.mark_tested()
    assert run(install, "--configure", "--paltalk", host(install)).code == 2


def test_configure_experimental_writes_the_approval_without_asking(install):
    output = install.root / "o.ini"
    result = run(install, "--configure", "--experimental", "--output", win_path(output), "--paltalk", host(install))
    assert (result.code, result.messages) == (0, [])
    assert read_ini(output)["Paltalk"] == {"Exe": host(install), "Hashes": install.hashes(), "Experimental": "1"}


def test_configure_with_approved_settings_keeps_approval_and_appearance(install):
    approved = install.root / "approved.ini"
    approved.write_text(f"[Paltalk]\nExe={host(install)}\nHashes={install.hashes()}\nExperimental=1\n"
                        "[Appearance]\nBrowserDark=0\n")
    output = install.root / "o.ini"
    result = run(install, "--configure", "--approved-settings", win_path(approved), "--output", win_path(output),
                 "--paltalk", host(install))
    assert (result.code, result.messages) == (0, [])
    written = read_ini(output)
    assert (written["Paltalk"]["Experimental"], written["Appearance"]["BrowserDark"]) == ("1", "0")


# --- Questions about running hosts -----------------------------------------------

@pytest.fixture
def running_host(install):
    """The fixture host of `install`, kept running with this installation's plugin loaded."""
    install.control_host(stay_seconds=60, load_library=win_path(install.tenebrix / "plugins/styles/Nightveil.dll"))
    assert run(install, "--desktop-launch", "--original", "--paltalk", host(install)).code == 0
    record = install.wait_for_record()
    assert record.loaded.endswith("Nightveil.dll")
    yield record
    install.stop_host()


@pytest.mark.parametrize("arguments, code", [
    (lambda i: ["--running", "--paltalk", host(i)], 10),
    (lambda i: ["--running"], 10),
    (lambda i: ["--running", "--paltalk", win_path(i.root / "Other" / "Paltalk.exe")], 0),
    (lambda i: ["--running", "--busy", "--root", win_path(i.root / "Other")], 10),
    (lambda i: ["--busy"], 10),
    (lambda i: ["--busy", "--root", win_path(i.root / "Other")], 0),
    (lambda i: ["--original", "--silent", "--desktop-launch", "--paltalk", host(i)], 10),
    (lambda i: ["--silent", "--desktop-launch", "--paltalk", host(i)], 10),
], ids=["running", "running-any", "running-other-path", "running-before-busy", "busy", "busy-other-root",
        "original-refused", "launch-refused"])
def test_with_a_running_host(install, running_host, arguments, code):
    result = run(install, *arguments(install))
    assert (result.code, result.messages) == (code, [])
    assert install.record().pid == running_host.pid
