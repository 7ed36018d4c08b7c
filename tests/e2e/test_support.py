"""Support and recovery under Wine: the closed report, and the dialog driven by keys."""
import getpass, hashlib, json, re, socket, subprocess  # noqa: E401

import pytest

from harness import EXIT, FIXTURES, ROOT, SENTENCE, TITLE, Install, win, xdo
from harness import install, make_install, session_keeper  # noqa: F401  (fixtures)

NUMBER, TEXT, FLAG, NONE, OBJECT = int, str, bool, type(None), dict
RECORD = [("present", {FLAG}), ("sha256", {TEXT, NONE}), ("signature", {TEXT}), ("verificationCode", {NUMBER})]
# The closed schema: every key in its order with its kinds, one line per entry of the top level but the first.
SCHEMA = [
    [("schemaVersion", {NUMBER}), ("generatedUtc", {TEXT})],
    [("versions", [("tenebrix", {TEXT}), ("windowsBuild", {NUMBER, NONE}), ("windowsUBR", {NUMBER, NONE}),
                   ("paltalk", {TEXT, NONE}), ("qt", {TEXT, NONE}), ("webView2", {TEXT, NONE})])],
    [("system", [("nativeArchitecture", {TEXT}), ("launcherArchitecture", {TEXT}), ("elevated", {FLAG})])],
    [("configuration", [("browserDarkEnabled", {FLAG}), ("compatibility", {TEXT}), ("lastLaunchMode", {TEXT, NONE})])],
    [("runtime", [("paltalkRunning", {TEXT}), ("themeLoaded", {TEXT}), ("webViewProcesses", {NUMBER, NONE})])],
    [("package", [("launcher", RECORD), ("plugin", RECORD), ("uninstaller", RECORD)])],
    [("lastOperation", [("operation", {TEXT, NONE}), ("errorCode", {NUMBER, NONE})])]]
VERSION = re.search(r'NV_LAUNCHER_VERSION "([^"]+)"', (ROOT / "CMakeLists.txt").read_text())[1]


def conforms(pairs, schema) -> dict:
    """The parsed pairs as nested dicts, once their keys, order and kinds are those of `schema`."""
    keys = [key for key, _ in pairs]
    wanted = [key for key, _ in schema]
    assert keys == wanted or (schema is RECORD and keys == wanted[:3] and pairs[2][1] == "missing"), keys
    result = {}
    for (key, value), (_, kinds) in zip(pairs, schema):
        result[key] = conforms(value, kinds) if isinstance(kinds, list) else value
        assert isinstance(kinds, list) or type(value) in kinds, (key, value)  # bool is no number here
    return result


def read_report(path, install) -> dict:
    data = path.read_bytes()
    text = data.decode("ascii")  # no byte-order mark, nothing but ASCII
    lines = text.split("\n")
    assert "\r" not in text and " " not in text and lines[0] == "{" and lines[8:] == ["}", ""], text
    for line, part in zip(lines[1:8], SCHEMA):  # one line each, a comma after all but the last
        assert line.endswith(",") == (part is not SCHEMA[-1]), line
        conforms(json.loads("{" + line.rstrip(",") + "}", object_pairs_hook=list), part)
    for private in (win(install.root), str(install.root), getpass.getuser(), socket.gethostname(), "Z:\\", ":\\\\"):
        assert private.lower() not in text.lower(), private
    report = conforms(json.loads(text, object_pairs_hook=list, parse_constant=pytest.fail), sum(SCHEMA, []))
    assert re.fullmatch(r"\d{4}-\d\d-\d\dT\d\d:\d\d:\d\dZ", report.pop("generatedUtc"))
    return report


def record(path) -> dict:
    return {"present": True, "sha256": hashlib.sha256(path.read_bytes()).hexdigest()}


def test_report_with_and_without_a_host(make_install):
    themed = make_install()
    themed.mark_tested()
    signed_plugin = themed.tenebrix / "plugins" / "styles" / "Nightveil.dll"
    signed_plugin.write_bytes((FIXTURES / "signed" / "Qt6Core.dll").read_bytes())  # test-signed
    (themed.tenebrix / "last-status.ini").write_text("[Launch]\nOperation=create-process\nError=5\nMode=Normal\n")
    target = themed.root / "report.json"
    assert themed.run("--support-report", win(target), "--paltalk", win(themed.host))[:2] == (EXIT.done, [])
    report = read_report(target, themed)
    assert (report["versions"]["tenebrix"], report["versions"]["paltalk"], report["versions"]["qt"]) == \
        (VERSION, "1.34.7.0", "6.11.1.0")
    assert report["system"] == {"nativeArchitecture": "x64", "launcherArchitecture": "x64", "elevated": True}
    assert report["configuration"] == {"browserDarkEnabled": True, "compatibility": "recognized", "lastLaunchMode": None}
    assert report["runtime"] == {"paltalkRunning": "no", "themeLoaded": "no", "webViewProcesses": 0}
    assert report["package"] == {
        "launcher": record(themed.launcher) | {"signature": "unsigned", "verificationCode": 2148204800},
        "plugin": record(signed_plugin) | {"signature": "valid-offline", "verificationCode": 0},
        "uninstaller": {"present": False, "sha256": None, "signature": "missing"}}
    assert report["lastOperation"] == {"operation": "create-process", "errorCode": 5}
    before = target.read_bytes()  # an existing report is kept: only the save dialog may replace one
    assert themed.run("--support-report", win(target))[:2] == (EXIT.action_failed, [])
    assert target.read_bytes() == before

    bare = make_install("-bare")
    target = bare.root / "report.json"
    assert bare.run("--support-report", win(target), "--browser-dark", "off")[:2] == (EXIT.done, [])
    report = read_report(target, bare)
    assert [report["versions"][k] for k in ("paltalk", "qt", "webView2")] == [None, None, None]
    assert report["configuration"] == {"browserDarkEnabled": False, "compatibility": "unavailable", "lastLaunchMode": None}
    assert report["runtime"] == {"paltalkRunning": "unknown", "themeLoaded": "unknown", "webViewProcesses": None}
    assert report["lastOperation"] == {"operation": None, "errorCode": None}



DIALOG = SENTENCE.support_title  # closed by its Close button (Alt+C): Wine's task dialog ignores Escape


def tick_box(back: int):
    """Clicks the check box at the dialog's lower left (Wine's check box ignores a typed space), then moves
    the focus `back` controls, from the box towards the first command link."""
    def act(window: str) -> None:
        geometry = subprocess.run(["xdotool", "getwindowgeometry", window], capture_output=True, text=True, timeout=10)
        xdo("mousemove", "--window", window, "20", str(int(re.search(r"x(\d+)", geometry.stdout)[1]) - 28))
        xdo("click", "1")
        for _ in range(back):
            xdo("key", "shift+Tab")
    return act


def test_dialog_keeps_the_box_as_left_through_a_cancelled_save(install):
    (install.tenebrix / "settings.ini").write_text("[Appearance]\nBrowserDark=0\n")
    answers = (("Return", DIALOG, tick_box(2)), ("Escape", SENTENCE.save_report_title, ""),
               ("Return", DIALOG, "\t\t"),  # apply: the box as left, though it was never applied
               ("alt+c", DIALOG, ""))
    code, messages, shots = install.run("--support", answers=answers)
    assert (code, messages, len(shots)) == (EXIT.done, [], 4)
    assert install.ini("settings.ini") == {"Appearance": {"BrowserDark": "1"}}
    assert not list(install.root.rglob("*.json"))


def test_dialog_saves_a_report_then_starts_the_host_plainly(install):
    install.mark_tested()
    target = install.root / "saved.json"
    replace_name = lambda _: (xdo("key", "End", "shift+Home"), xdo("type", win(target)))  # noqa: E731  (over the suggested name)
    answers = (("Return", DIALOG, "\t"), ("Return", SENTENCE.save_report_title, replace_name), ("Return", DIALOG, ""))
    code, messages, shots = install.run("--support", "--paltalk", win(install.host), answers=answers)
    assert (code, messages, len(shots)) == (EXIT.done, [], 3)
    assert read_report(target, install)["versions"]["paltalk"] == "1.34.7.0"
    assert install.record().command_line == f'"{win(install.host)}"'  # through the shell, as --original


@pytest.mark.parametrize("case", ["running", "start_failed"])
def test_dialog_stays_open_after_a_message(make_install, case):
    install = make_install()
    if case == "running":
        (install.paltalk / "host-control.ini").write_text("[Host]\nStaySeconds=120\n")
        assert install.run("--desktop-launch", "--original", "--paltalk", win(install.host))[0] == EXIT.done
        first = install.record().pid
    else:
        install.host.write_text("not a program")
    answers = (("Return", DIALOG, ""), "Return", ("alt+c", DIALOG, ""))
    code, messages, shots = install.run("--support", "--desktop-launch", "--paltalk", win(install.host), answers=answers)
    sentence = SENTENCE.exit_before_plain_start if case == "running" else SENTENCE.plain_start_failed
    assert (code, messages, len(shots)) == (EXIT.done, [sentence], 3)
    if case == "running":
        assert install.record().pid == first  # no second host
