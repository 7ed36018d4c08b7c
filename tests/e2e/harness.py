"""Black-box harness: NightveilMode.exe under Wine on fresh fixture installations.

Each dialog is screenshot into ARTIFACTS and answered by keys; message boxes are read from Wine's
msgbox trace; every wait is bounded and its overrun killed by process id. Only harness steps are
retried (Wine failing to start, a key lost to a focus change), never the launcher.
"""

import codecs
import contextlib
import hashlib
import itertools
import json
import os
import re
import select
import shutil
import signal
import subprocess
import sys
import time
from base64 import urlsafe_b64encode
from collections.abc import Callable
from dataclasses import dataclass
from pathlib import Path
from types import SimpleNamespace

import pytest

ROOT = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ.get("NV_BUILD_DIR", ROOT / "build" / "windows"))


def _given(variable: str, default: str) -> Path:
    """A path tests/CMakeLists.txt passes in `variable`, else its place in the Windows build."""
    return Path(os.environ.get(variable, BUILD / default))


LAUNCHER = _given("NV_LAUNCHER", "NightveilMode.exe")
FIXTURES = _given("NV_FIXTURES", "tests/fixtures/files")
PROBE = _given("NV_FEED_PROBE", "tests/feed_probe.exe")
ARTIFACTS = _given("NV_E2E_ARTIFACTS", "e2e-artifacts")
CASES = _given("NV_E2E_CASES", "e2e-cases")
PKI = _given("NV_PKI", "pki")

QT = ("Qt6Core.dll", "Qt6Gui.dll", "Qt6Widgets.dll")
TITLE = "Tenebrix"
# The prefixes of the environment names the launcher sets.
MANAGED = ("QT_PLUGIN_PATH", "QT_STYLE_OVERRIDE", "NIGHTVEIL_", "WEBVIEW2_", "TENEBRIX_WEBVIEW_")


# The product's own sentences, failure words and exit codes, by their names in its catalogues, so
# that a changed text is changed in one place.
def _catalogue(header: str, pattern: str) -> list[tuple[str, str]]:
    return re.findall(pattern, (ROOT / "src" / "foundation" / header).read_text())


def _wide_text(literals: str) -> str:
    """The text of adjacent L"..." literals, escapes read as C++ reads them."""
    parts = re.findall(r'L"((?:[^"\\]|\\.)*)"', literals)
    return codecs.decode("".join(parts), "unicode_escape")


SENTENCE = SimpleNamespace(
    **{
        name: _wide_text(literals)
        for name, literals in _catalogue(
            "sentences.h", r'wchar_t\* (\w+) =\s*((?:L"(?:[^"\\]|\\.)*"\s*)+);'
        )
    }
)
FAILURE = SimpleNamespace(**dict(_catalogue("failure.h", r'char\* (\w+) =\s*"([^"]*)";')))
EXIT = SimpleNamespace(
    **{name: int(code) for name, code in _catalogue("exit_code.h", r"int (\w+) =\s*(\d+);")}
)


def _wine_variables() -> dict[str, str]:
    """The WINE* variables of tests/wine/env.sh: the checkout's own prefix."""
    listing = subprocess.run(
        ["bash", "-c", f'. "{ROOT}/tests/wine/env.sh"; env'],
        check=True,
        capture_output=True,
        text=True,
        timeout=30,
    ).stdout
    pairs = (line.split("=", 1) for line in listing.splitlines() if line.startswith("WINE"))
    return dict(pairs)


WINE_ENV = _wine_variables()


def environment(extra: dict | None = None, debug: str = "-all") -> dict[str, str]:
    env = {
        k: v
        for k, v in os.environ.items()
        if not k.upper().startswith(MANAGED) and k != "PYTEST_CURRENT_TEST"
    }
    return env | WINE_ENV | {"WINEDEBUG": debug} | (extra or {})


def win(path: Path) -> str:
    return "Z:" + str(path).replace("/", "\\")


def wait_for(condition, timeout: float) -> bool:
    end = time.monotonic() + timeout
    while not (done := condition()) and time.monotonic() < end:
        time.sleep(0.1)
    return bool(done)


def xdo(*args: str) -> list[str]:
    return subprocess.run(
        ["xdotool", *args], capture_output=True, text=True, timeout=10
    ).stdout.split()


@dataclass(frozen=True)
class Answer:
    """How the harness answers one dialog; a plain string is the key for a "Tenebrix" dialog."""

    key: str = ""  # the key that closes it
    title: str = TITLE
    typed: str = ""  # typed into it before the key
    act: Callable[[str], object] | None = None  # done to its window before the key
    closes_by_itself: bool = False  # no key: the harness waits for it to close


WAIT = Answer(closes_by_itself=True)
UNEXPECTED = Answer()  # what a dialog no answer was left for meets


def _drive(proc, answers, deadline: float, label: str) -> list[Path]:
    """Waits for `proc`, answering each dialog it shows by the next of `answers`."""
    pending = [Answer(key=a) if isinstance(a, str) else a for a in answers]
    shots = []
    # A search of X windows may come back empty while windows come and go: a dialog once answered
    # that still shows is not taken for the next one.
    answered = set()
    while proc.poll() is None:
        answer = pending[0] if pending else UNEXPECTED
        title = answer.title
        found = xdo(
            "search",
            "--all",
            "--onlyvisible",
            "--pid",
            str(proc.pid),
            "--name",
            f"^{re.escape(title)}$",
        )
        windows = [window for window in found if window not in answered]

        def closed():  # every window found is gone: a dialog may show more than one
            return not set(windows) & set(xdo("search", "--onlyvisible", "--name", title))

        if time.monotonic() > deadline or windows:
            time.sleep(0.3)  # let it paint
            shots.append(ARTIFACTS / f"{label}-{len(shots) + 1}.png")
            subprocess.run(["import", "-window", "root", shots[-1]], check=True, timeout=20)
            assert time.monotonic() <= deadline, f"{label} did not finish in time: {shots[-1]}"
            assert answer is not UNEXPECTED, f"{label} showed an unexpected dialog: {shots[-1]}"
            pending.pop(0)
            answered.update(windows)
            if answer.closes_by_itself:
                assert wait_for(closed, 60), shots[-1]
                continue
            xdo("windowfocus", "--sync", windows[0])
            if answer.act:
                answer.act(windows[0])
            if answer.typed:
                xdo("type", "--delay", "5", answer.typed)
            key = answer.key
            # A key that arrives while the dialog takes the focus is lost: send it again.
            for _ in range(4):
                xdo("windowfocus", "--sync", windows[0])
                xdo("key", "--clearmodifiers", key)
                if wait_for(closed, 2.5):
                    break
            else:
                raise AssertionError(f"dialog {title!r} did not close on {key}: {shots[-1]}")
        time.sleep(0.1)
    assert not pending, f"{label}: dialogs not shown: {pending}"
    return shots


def start(program: Path, *args: str, cwd: Path, env: dict, log: Path) -> subprocess.Popen:
    with open(log, "wb") as output:  # a pipe would wait for explorer, which inherits Wine's output
        return subprocess.Popen(
            ["wine", program, *args],
            cwd=cwd,
            env=env,
            stdin=subprocess.DEVNULL,
            stdout=output,
            stderr=output,
            start_new_session=True,
        )


def kill(proc: subprocess.Popen) -> None:
    if proc.poll() is None:
        os.killpg(proc.pid, signal.SIGKILL)
    proc.wait(timeout=10)


def wine(
    program: Path,
    *args: str,
    cwd: Path = CASES,
    env: dict | None = None,
    log: Path,
    answers=(),
    timeout=30,
):
    """Runs one Windows program to its end.

    Returns its exit code, its and Wine's output, and the screenshots of its dialogs.
    """
    for _ in range(3):
        proc = start(program, *args, cwd=cwd, env=env or environment(), log=log)
        try:
            shots = _drive(proc, answers, time.monotonic() + timeout, log.stem)
        finally:
            kill(proc)
        text = log.read_text(errors="replace")
        if not re.search(
            r"^wine: (failed|could not|cannot)|ShellExecuteEx failed|error 1359", text, re.M
        ):
            return proc.returncode, text, shots
    raise AssertionError(f"Wine could not start {program}: {text}")


def probe(*args: str, answers=(), label: str = "probe", timed: bool = False):
    """feed_probe's answer to `args`; `timed`: with the seconds it took by its own clock."""
    text = wine(PROBE, *args, log=CASES / f"{label}.log", answers=answers, timeout=60)[1]
    found = re.search(r"^start\r?\n(.*) (\d+)\r?$", text, re.M)
    assert found, f"feed_probe {args}: {text}"
    return (found[1], int(found[2]) / 1000) if timed else found[1]


def record(folder: Path, timeout: float = 15) -> SimpleNamespace:
    """What the fixture host (or installer) in `folder` received.

    `block` leaves out what Wine adds to every process.
    """
    assert wait_for((folder / "host-record.txt").exists, timeout), f"nothing started in {folder}"
    _, pid, parent, line, cwd, loaded, block = (
        (folder / "host-record.txt").read_bytes()[2:].decode("utf-16-le").split("\0", 6)
    )
    entries = [(e[: e.index("=", 1)], e[e.index("=", 1) + 1 :]) for e in block.split("\0") if e]
    block = [
        (n, v)
        for n, v in entries
        if not n.upper().startswith("WINE") and n.upper() not in ("SYSTEMDRIVE", "SYSTEMROOT")
    ]
    return SimpleNamespace(
        pid=int(pid),
        parent=parent,
        command_line=line,
        directory=cwd,
        loaded=loaded,
        block=block,
        env=dict(entries),
    )


@contextlib.contextmanager
def update_host(routes: dict | None, log: Path):
    """update_server.py answering `routes` (None: nothing listens).

    Yields a function that returns the paths asked for so far.
    """
    log.write_text("")
    script = json.dumps({"routes": routes or {}, "refuse": routes is None})
    server = subprocess.Popen(
        [
            sys.executable,
            Path(__file__).parent / "update_server.py",
            script,
            log,
            PKI / "update-server.crt",
            PKI / "update-server.key",
            "300",
        ],
        stdout=subprocess.PIPE,
        text=True,
    )
    try:  # another checkout's server may hold the port for a while
        assert (
            select.select([server.stdout], [], [], 600)[0] and server.stdout.readline() == "ready\n"
        )
        yield lambda: [line.split()[1] for line in log.read_text().splitlines()]
    finally:
        server.kill()
        server.wait(10)


def release_manifest(revision: int, version: str, installer: Path) -> tuple[str, str]:
    """A latest.jws for `installer`, and the path it names on the update host.

    Signed with the test builds' key (the ES256 example key of RFC 7515, A.3). The nonce 1 needs no
    curve arithmetic: r is the generator's x.
    """
    path = f"/downloads/releases/stable/{revision}/Tenebrix-{version}-Setup.exe"
    claims = {
        "schema": 1,
        "product": "tenebrix",
        "channel": "stable",
        "revision": revision,
        "releaseUtc": 1750000000,
        "size": installer.stat().st_size,
        "sha256": hashlib.sha256(installer.read_bytes()).hexdigest(),
        "path": path,
        "version": version,
    }

    def b64(data: bytes) -> str:
        return urlsafe_b64encode(data).decode().rstrip("=")

    signed = ".".join(
        b64(json.dumps(o, separators=(",", ":")).encode())
        for o in ({"alg": "ES256", "typ": "TXUPDATE", "kid": "stable-1"}, claims)
    )
    n = 0xFFFFFFFF00000000FFFFFFFFFFFFFFFFBCE6FAADA7179E84F3B9CAC2FC632551  # the group order
    x = 0x6B17D1F2E12C4247F8BCE6E563A440F277037D812DEB33A0F4A13945D898C296  # the generator's x
    d = 0x8E9B109E719098BF980487DF1F5D77E9CB29606EBED2263B5F57C213DF84F4B2  # the private key
    s = (int.from_bytes(hashlib.sha256(signed.encode()).digest(), "big") + x * d) % n
    return signed + "." + b64(x.to_bytes(32, "big") + s.to_bytes(32, "big")), path


def uninstall_key(root: str, view: int) -> str:
    """The tests' uninstall entry in one registry view.

    The 32-bit view lies under Wow6432Node of the 64-bit one.
    """
    return (
        f"{root}\\Software\\"
        + ("Wow6432Node\\" if view == 32 else "")
        + r"Microsoft\Windows\CurrentVersion\Uninstall\NvE2E"
    )


def registry(*lines: str) -> None:
    """Imports the lines of a .reg file.

    "[-KEY]" deletes a key; "[KEY]" followed by '"name"="text"' sets a value.
    """
    reg = CASES / "registry.reg"
    reg.write_text("REGEDIT4\n\n" + "\n".join(lines) + "\n")
    code, text, _ = wine("regedit", "/S", win(reg), log=CASES / "registry.log")
    assert code == 0, f"regedit {lines}: {code} {text}"


def read_ini(path: Path) -> dict[str, dict[str, str]]:
    """Sections of a profile file (UTF-16 with FF FE, or plain) in the file's order.

    A missing file is empty.
    """
    data = path.read_bytes() if path.exists() else b""
    text = data[2:].decode("utf-16-le") if data[:2] == b"\xff\xfe" else data.decode()
    sections, current = {}, {}
    for line in text.splitlines():
        if line.startswith("["):
            current = sections.setdefault(line.strip("[]"), {})
        elif "=" in line:
            name, value = line.split("=", 1)
            current[name] = value
    return sections


class Install:
    """One case's files: <case>/Tenebrix (launcher, plugin) beside <case>/Paltalk (host, Qt)."""

    def __init__(
        self,
        name: str,
        host_files: Path = FIXTURES / "qt-6.11.1.0",
        host: Path = FIXTURES / "Paltalk.exe",
    ):
        # Short and unique, whatever the case's name holds.
        folder = re.sub(r"[^\w.-]+", "_", name)[:40] + hashlib.sha1(name.encode()).hexdigest()[:6]
        self.root = CASES / folder
        shutil.rmtree(self.root, ignore_errors=True)
        self.tenebrix = self.root / "Tenebrix"
        self.paltalk = self.root / "Paltalk"
        self.launcher = self.tenebrix / "NightveilMode.exe"
        self.host = self.paltalk / "Paltalk.exe"
        (self.tenebrix / "plugins" / "styles").mkdir(parents=True)
        self.paltalk.mkdir()
        shutil.copy2(LAUNCHER, self.launcher)
        shutil.copy2(FIXTURES / "plugin" / "Nightveil.dll", self.tenebrix / "plugins" / "styles")
        shutil.copy2(host, self.host)
        for module in QT:
            shutil.copy2(host_files / module, self.paltalk)
        self.runs = itertools.count(1)

    def run(self, *args: str, env: dict | None = None, answers=(), timeout: float = 30):
        """The launcher's exit code, its message boxes' texts, and its dialogs' screenshots."""
        code, text, shots = wine(
            self.launcher,
            *args,
            cwd=self.root,
            env=environment(env, "-all,+msgbox"),
            log=self.root / f"{self.root.name}-{next(self.runs)}.log",
            answers=answers,
            timeout=timeout,
        )
        texts = re.findall(r'trace:msgbox:MSGBOX_OnInit L"(.*)"$', text, re.M)
        return code, [codecs.decode(t, "unicode_escape") for t in texts], shots

    def record(self) -> SimpleNamespace:
        return record(self.paltalk)

    def ini(self, name: str) -> dict[str, dict[str, str]]:
        return read_ini(self.tenebrix / name)

    def hashes(self) -> str:
        """The installation's fingerprints as the configuration files hold them."""
        return "|".join(
            hashlib.sha256((self.paltalk / f).read_bytes()).hexdigest()
            for f in ("Paltalk.exe", *QT)
        )

    def mark_tested(self) -> None:
        (self.tenebrix / "compatibility.ini").write_text(f"[Tested]\nHashes={self.hashes()}\n")

    def settle(self) -> list[str]:
        """Stops the case's host; kills by id, and returns, what of the case runs after 15 s."""
        (self.paltalk / "host-stop").touch()
        pattern = (
            self.root.name + r"[/\\]"
        )  # a path in this case's folder, Unix or Windows spelling

        def ours() -> list[str]:
            found = subprocess.run(
                ["pgrep", "-if", pattern], capture_output=True, text=True, timeout=10
            )
            return found.stdout.split()

        left = [] if wait_for(lambda: not ours(), 15) else ours()
        if left:
            subprocess.run(["kill", "-9", *left], capture_output=True, timeout=10)
        return left


@pytest.fixture(scope="session", autouse=True)
def session_keeper():
    """A windowless copy of the host running for the session.

    The wineserver and Wine's desktop shell stay up, so runs start fast, and its record holds the
    block any program this harness starts receives.
    """
    assert LAUNCHER.exists(), "build the windows preset"
    assert os.environ.get("DISPLAY"), "provide a display"
    subprocess.run(
        [ROOT / "tests" / "wine" / "make-prefix.sh"],
        check=True,
        timeout=900,
        stdout=subprocess.DEVNULL,
    )
    ARTIFACTS.mkdir(parents=True, exist_ok=True)
    CASES.mkdir(parents=True, exist_ok=True)
    # Entries a killed run may have left; with no window manager on Xvfb, Wine waits 2 s for one
    # after each dialog: leave them to Wine alone.
    registry(
        *(
            f"[-{uninstall_key(root, view)}]"
            for root in ("HKEY_CURRENT_USER", "HKEY_LOCAL_MACHINE")
            for view in (32, 64)
        ),
        r"[HKEY_CURRENT_USER\Software\Wine\AppDefaults\NightveilMode.exe\X11 Driver]",
        '"Managed"="N"',
    )
    # Its host runs under another name, so it never counts as a running Paltalk.
    keeper = Install("session")
    keeper.host.rename(keeper.paltalk / "session-keeper.exe")
    (keeper.paltalk / "host-control.ini").write_text("[Host]\nStaySeconds=3600\n")
    for _ in range(3):
        proc = start(
            keeper.paltalk / "session-keeper.exe",
            cwd=keeper.root,
            env=environment(),
            log=keeper.root / "k.log",
        )
        if wait_for((keeper.paltalk / "host-record.txt").exists, 60):
            break
        kill(proc)
    try:
        yield keeper.record()
    finally:
        keeper.settle()
        kill(proc)


@pytest.fixture
def make_install(request):
    """Fresh installations for this case; afterwards nothing of them may still run."""
    made = []

    def make(suffix: str = "", **options) -> Install:
        made.append(Install(request.node.name + suffix, **options))
        return made[-1]

    yield make
    left = [pid for install in made for pid in install.settle()]
    assert not left, f"processes of the case were still running and were killed: {left}"


@pytest.fixture
def install(make_install) -> Install:
    return make_install()


@pytest.fixture
def uninstall_entry():
    """Adds the uninstall entry of a root (HKCU, HKLM) and view with the given values.

    The entries are removed afterwards.
    """
    added = []

    def add(root: str, view: int, **values: str) -> None:
        added.append(
            uninstall_key({"HKCU": "HKEY_CURRENT_USER", "HKLM": "HKEY_LOCAL_MACHINE"}[root], view)
        )
        registry(
            f"[{added[-1]}]",
            *(f'"{name}"="{data}"'.replace("\\", "\\\\") for name, data in values.items()),
        )

    yield add
    registry(*(f"[-{key}]" for key in added))
