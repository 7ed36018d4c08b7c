"""Support and recovery under Wine: the closed report, and the dialog driven by keys."""

import getpass
import hashlib
import json
import re
import socket
from dataclasses import dataclass

import pytest

from harness import EXIT, FIXTURES, ROOT, SENTENCE, Answer, win, xdo

VERSION = re.search(r'NV_LAUNCHER_VERSION "([^"]+)"', (ROOT / "CMakeLists.txt").read_text())[1]
LINES = (
    "schemaVersion",
    "versions",
    "system",
    "configuration",
    "runtime",
    "package",
    "lastOperation",
)
MISSING = {"present": False, "sha256": None, "signature": "missing"}
UNAVAILABLE = {
    "paltalk": None,
    "qt": None,
    "webView2": None,
    "compatibility": "unavailable",
    "lastLaunchMode": None,
    "paltalkRunning": "unknown",
    "themeLoaded": "unknown",
    "webViewProcesses": None,
}


def read_report(path, install, **values) -> None:
    """Checks the report at `path`: the closed layout, and exactly the keys in their order, with
    `values`."""
    text = path.read_bytes().decode("ascii")  # no byte-order mark, nothing but ASCII
    lines = text.split("\n")
    assert "\r" not in text and " " not in text and lines[0] == "{" and lines[8:] == ["}", ""], text
    for line, key in zip(lines[1:8], LINES):  # one part a line, a comma after all but the last
        assert line.startswith(f'"{key}":') and line.endswith(",") == (key != LINES[-1]), line
    for private in (
        win(install.root),
        str(install.root),
        getpass.getuser(),
        socket.gethostname(),
        "Z:\\",
        ":\\\\",
    ):
        assert private.lower() not in text.lower(), private

    def ordered(pairs):
        return {k: ordered(v) if isinstance(v, list) else v for k, v in pairs}

    report = ordered(json.loads(text, object_pairs_hook=list, parse_constant=pytest.fail))
    versions = report["versions"]
    assert re.fullmatch(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ", report["generatedUtc"]), report[
        "generatedUtc"
    ]
    assert (type(versions["windowsBuild"]), type(versions["windowsUBR"])) in (
        (int, int),
        (int, type(None)),
    )
    # Every token reads as elevated under Wine.
    v = {"elevated": True, "browserDarkEnabled": True} | values
    expected = {
        "schemaVersion": 1,
        "generatedUtc": report["generatedUtc"],
        "versions": versions
        | {k: v[k] for k in ("paltalk", "qt", "webView2")}
        | {"tenebrix": VERSION},
        "system": {
            "nativeArchitecture": "x64",
            "launcherArchitecture": "x64",
            "elevated": v["elevated"],
        },
        "configuration": {
            k: v[k] for k in ("browserDarkEnabled", "compatibility", "lastLaunchMode")
        },
        "runtime": {k: v[k] for k in ("paltalkRunning", "themeLoaded", "webViewProcesses")},
        "package": v["package"],
        "lastOperation": v["lastOperation"],
    }
    assert json.dumps(report) == json.dumps(expected)  # the order of keys included


def package_entry(path, signature: str = "unsigned", code: int = 2148204800) -> dict:
    return {
        "present": True,
        "sha256": hashlib.sha256(path.read_bytes()).hexdigest(),
        "signature": signature,
        "verificationCode": code,
    }


def test_report_with_a_host(make_install):
    themed = make_install()
    themed.mark_tested()
    plugin = themed.tenebrix / "plugins" / "styles" / "Nightveil.dll"
    plugin.write_bytes((FIXTURES / "signed" / "Qt6Core.dll").read_bytes())  # signed by the test PKI
    # "Normal" is not a mode the launcher writes: the report names none.
    (themed.tenebrix / "last-status.ini").write_text(
        "[Launch]\nOperation=create-process\nError=5\nMode=Normal\n"
    )
    target = themed.root / "report.json"
    assert themed.run("--support-report", win(target), "--paltalk", win(themed.host))[:2] == (
        EXIT.done,
        [],
    )
    read_report(
        target,
        themed,
        paltalk="1.34.7.0",
        qt="6.11.1.0",
        webView2=None,
        compatibility="recognized",
        lastLaunchMode=None,
        paltalkRunning="no",
        themeLoaded="no",
        webViewProcesses=0,
        package={
            "launcher": package_entry(themed.launcher),
            "plugin": package_entry(plugin, "valid-offline", 0),
            "uninstaller": MISSING,
        },
        lastOperation={"operation": "create-process", "errorCode": 5},
    )


def test_report_without_a_host(make_install):
    bare = make_install()
    target = bare.root / "report.json"
    assert bare.run("--support-report", win(target), "--browser-dark", "off")[:2] == (EXIT.done, [])
    read_report(
        target,
        bare,
        **UNAVAILABLE,
        browserDarkEnabled=False,
        lastOperation={"operation": None, "errorCode": None},
        package={
            "launcher": package_entry(bare.launcher),
            "plugin": package_entry(bare.tenebrix / "plugins" / "styles" / "Nightveil.dll"),
            "uninstaller": MISSING,
        },
    )


# Closed by its Close button (Alt+C): Wine's task dialog ignores Escape.
DIALOG = SENTENCE.support_title


def tick_box(window: str) -> None:
    """Clicks the check box at the dialog's lower left (Wine's check box ignores a typed space),
    then moves the focus back to the second command link."""
    height = int(xdo("getwindowgeometry", window)[-1].split("x")[1])
    xdo("mousemove", "--window", window, "20", str(height - 28))
    xdo("click", "1")
    xdo("key", "shift+Tab", "shift+Tab")


def test_dialog_saves_applies_and_starts_the_host_plainly(install):
    """Each action shows the dialog anew with the box as the user left it, applied or not."""
    install.mark_tested()
    (install.tenebrix / "settings.ini").write_text("[Appearance]\nBrowserDark=0\n")
    target = install.root / "saved.json"

    def replace_name(_):
        xdo("key", "End", "shift+Home")
        xdo("type", win(target))

    save = SENTENCE.save_report_title
    answers = (
        Answer("Return", title=DIALOG, act=tick_box),
        Answer("Escape", title=save),  # saves nothing
        Answer("Return", title=DIALOG, typed="\t"),
        Answer("Return", title=save, act=replace_name),
        Answer("Return", title=DIALOG, typed="\t\t"),  # applies the box as left
        Answer("Return", title=DIALOG),  # starts the host
    )
    code, messages, shots = install.run(
        "--support", "--paltalk", win(install.host), answers=answers
    )
    assert (code, messages, len(shots)) == (EXIT.done, [], 6)
    assert install.ini("settings.ini") == {"Appearance": {"BrowserDark": "1"}}
    assert [p.name for p in install.root.rglob("*.json")] == ["saved.json"]
    assert json.loads(target.read_text())["versions"]["paltalk"] == "1.34.7.0"
    # Through the shell, as --original.
    assert install.record().command_line == f'"{win(install.host)}"'


@dataclass(frozen=True)
class Refusal:
    name: str
    message: str
    host_running: bool = False  # a host runs; otherwise the host file is no program


REFUSALS = [
    Refusal("running", SENTENCE.exit_before_plain_start, host_running=True),
    Refusal("start-failed", SENTENCE.plain_start_failed),
]


@pytest.mark.parametrize("row", REFUSALS, ids=lambda row: row.name)
def test_dialog_stays_open_after_a_message(install, row):
    if row.host_running:
        (install.paltalk / "host-control.ini").write_text("[Host]\nStaySeconds=120\n")
        started = install.run("--desktop-launch", "--original", "--paltalk", win(install.host))
        assert started[0] == EXIT.done
        first = install.record().pid
    else:
        install.host.write_text("not a program")
    answers = (Answer("Return", title=DIALOG), "Return", Answer("alt+c", title=DIALOG))
    code, messages, shots = install.run(
        "--support", "--desktop-launch", "--paltalk", win(install.host), answers=answers
    )
    assert (code, messages, len(shots)) == (EXIT.done, [row.message], 3)
    if row.host_running:
        assert install.record().pid == first  # no second host
