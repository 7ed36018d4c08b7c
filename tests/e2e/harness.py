"""Black-box harness: runs NightveilMode.exe under Wine against fixture installations.

Every case gets a fresh directory with a copy of the launcher and a fixture
host. A run returns the exit code and the texts of the message boxes the
launcher showed (taken from Wine's msgbox trace); dialogs are answered by keys
through xdotool, and each one is photographed for a person to look at later.
Every process has a bounded wait and is killed by its id when the bound passes:
a hang is a failure, never a stuck run.
"""
from __future__ import annotations

import hashlib
import os
import re
import shutil
import signal
import struct
import subprocess
import time
from dataclasses import dataclass, field
from pathlib import Path

ROOT = Path(__file__).resolve().parents[2]
BUILD = Path(os.environ.get("NV_BUILD_DIR", ROOT / "build" / "windows"))
LAUNCHER = Path(os.environ.get("NV_LAUNCHER", BUILD / "NightveilMode.exe"))
FIXTURES = Path(os.environ.get("NV_FIXTURES", BUILD / "tests" / "fixtures" / "files"))
ARTIFACTS = Path(os.environ.get("NV_E2E_ARTIFACTS", BUILD / "e2e-artifacts"))
CASES = Path(os.environ.get("NV_E2E_CASES", BUILD / "e2e-cases"))
WINE_SCRIPTS = ROOT / "tests" / "wine"

TITLE = "Tenebrix"
QT_MODULES = ("Qt6Core.dll", "Qt6Gui.dll", "Qt6Widgets.dll")
# Variables the launcher manages; everything else must pass through unchanged.
MANAGED = {
    "QT_PLUGIN_PATH", "QT_STYLE_OVERRIDE", "NIGHTVEIL_HOME", "NIGHTVEIL_HASHES", "NIGHTVEIL_DIAGNOSTICS",
    "WEBVIEW2_DEFAULT_BACKGROUND_COLOR", "WEBVIEW2_ADDITIONAL_BROWSER_ARGUMENTS",
    "TENEBRIX_WEBVIEW_BACKGROUND_ACTIVE", "TENEBRIX_WEBVIEW_BACKGROUND_ORIGINAL",
    "TENEBRIX_WEBVIEW_ARGS_ACTIVE", "TENEBRIX_WEBVIEW_ARGS_ORIGINAL",
}


# --- Wine and the display --------------------------------------------------

def wine_environment() -> dict[str, str]:
    """The variables of tests/wine/env.sh (private prefix, no Wine chatter)."""
    out = subprocess.run(["bash", "-c", f'. "{WINE_SCRIPTS / "env.sh"}" && env -0'],
                         check=True, capture_output=True, timeout=30).stdout.decode()
    return {k: v for k, _, v in (e.partition("=") for e in out.split("\0") if e) if k.startswith("WINE")}


WINE_ENV = wine_environment()


def base_environment(extra: dict[str, str] | None = None) -> dict[str, str]:
    """This process's environment without anything the launcher manages, plus Wine's settings."""
    env = {k: v for k, v in os.environ.items() if k.upper() not in MANAGED and k != "PYTEST_CURRENT_TEST"}
    env.update(WINE_ENV)
    env.update(extra or {})
    return env


def win_path(path: Path | str) -> str:
    """The path as Windows programs under Wine see it (drive Z: is the Unix root)."""
    return "Z:" + str(path).replace("/", "\\")


def kill_group(proc: subprocess.Popen) -> None:
    """Ends a process this harness started, and whatever it started in its group, by its id."""
    try:
        os.killpg(proc.pid, signal.SIGKILL)
    except ProcessLookupError:
        pass
    proc.wait(timeout=10)


def dialog_windows(title: str = TITLE) -> list[str]:
    found = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", f"^{re.escape(title)}$"],
                           capture_output=True, text=True, timeout=10)
    return found.stdout.split()


def screenshot(name: str) -> Path:
    ARTIFACTS.mkdir(parents=True, exist_ok=True)
    target = ARTIFACTS / f"{name}.png"
    subprocess.run(["import", "-window", "root", str(target)], check=True, timeout=20,
                   stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
    return target


def start_display() -> subprocess.Popen | None:
    """A private Xvfb for dialogs, unless the caller already provides a display."""
    if os.environ.get("DISPLAY"):
        return None
    for number in range(140, 200):
        if Path(f"/tmp/.X11-unix/X{number}").exists() or Path(f"/tmp/.X{number}-lock").exists():
            continue
        proc = subprocess.Popen(["Xvfb", f":{number}", "-screen", "0", "1024x768x24", "-nolisten", "tcp"],
                                stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, start_new_session=True)
        for _ in range(50):
            if Path(f"/tmp/.X11-unix/X{number}").exists():
                os.environ["DISPLAY"] = f":{number}"
                return proc
            if proc.poll() is not None:
                break
            time.sleep(0.1)
        stop_display(proc)
    raise RuntimeError("no free X display for Xvfb")


def stop_display(proc: subprocess.Popen) -> None:
    """Ends an Xvfb so that it removes its lock and socket (a killed one leaves both behind)."""
    proc.terminate()
    try:
        proc.wait(timeout=10)
    except subprocess.TimeoutExpired:
        kill_group(proc)


class SessionKeeper:
    """A windowless Windows process that lives for the whole test session.

    It keeps the wineserver and Wine's desktop shell up, so each run starts fast
    and the shell's environment is the session's, not that of a test's launcher
    (the hand-off test relies on that). It is a copy of the fixture host under
    another name, so it never counts as a running Paltalk.
    """

    def __init__(self) -> None:
        subprocess.run([str(WINE_SCRIPTS / "make-prefix.sh")], check=True, timeout=300,
                       stdout=subprocess.DEVNULL)
        # A shell left over from an earlier session may belong to a display that
        # is gone: let that session end first (it does within seconds).
        try:
            subprocess.run(["wineserver", "-w"], env=base_environment(), timeout=30)
        except subprocess.TimeoutExpired:
            pass
        self.directory = CASES / "_session"
        shutil.rmtree(self.directory, ignore_errors=True)
        self.directory.mkdir(parents=True)
        shutil.copy2(FIXTURES / "Paltalk.exe", self.directory / "session-keeper.exe")
        (self.directory / "host-control.ini").write_text("[Host]\nStaySeconds=3600\n")
        self.proc = subprocess.Popen(["wine", str(self.directory / "session-keeper.exe")],
                                     env=base_environment(), cwd=self.directory, stdin=subprocess.DEVNULL,
                                     stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                                     start_new_session=True)
        if not wait_for(lambda: (self.directory / "host-record.txt").exists(), 60):
            self.stop()
            raise RuntimeError("the Wine session did not start")
        # With no window manager on Xvfb, Wine waits 2 s for one to acknowledge
        # each closed dialog; the launcher's windows are left to Wine alone.
        subprocess.run(["wine", "reg", "add", r"HKCU\Software\Wine\AppDefaults\NightveilMode.exe\X11 Driver",
                        "/v", "Managed", "/d", "N", "/f"], env=base_environment(), timeout=60,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)

    def stop(self) -> None:
        (self.directory / "host-stop").touch()
        try:
            self.proc.wait(timeout=15)
        except subprocess.TimeoutExpired:
            kill_group(self.proc)


def wait_for(condition, timeout: float, interval: float = 0.1) -> bool:
    end = time.monotonic() + timeout
    while True:
        if condition():
            return True
        if time.monotonic() > end:
            return False
        time.sleep(interval)


# --- Files the launcher and the host write ----------------------------------

def read_text(path: Path) -> str:
    data = path.read_bytes()
    if data.startswith(b"\xff\xfe"):
        return data[2:].decode("utf-16-le")
    return data.decode("utf-8")


def read_ini(path: Path) -> dict[str, dict[str, str]]:
    """Sections and keys as Windows profile files hold them (missing file: empty)."""
    sections: dict[str, dict[str, str]] = {}
    if not path.exists():
        return sections
    current = None
    for line in read_text(path).splitlines():
        line = line.strip()
        if line.startswith("[") and line.endswith("]"):
            current = sections.setdefault(line[1:-1], {})
        elif "=" in line and current is not None:
            key, _, value = line.partition("=")
            current[key.strip()] = value.strip()
    return sections


def split_entry(entry: str) -> tuple[str, str] | None:
    equals = entry.find("=", 1 if entry.startswith("=") else 0)
    return None if equals < 0 else (entry[:equals], entry[equals + 1:])


def fold(name: str) -> str:
    """The order of _wcsicmp: A-Z compared as lower case, all else by code unit."""
    return "".join(chr(ord(c) + 32) if "A" <= c <= "Z" else c for c in name)


def without_wine_additions(entries: list[tuple[str, str]]) -> list[tuple[str, str]]:
    """Wine appends WINE* names, SystemDrive and SystemRoot to every process's block."""
    return [(n, v) for n, v in entries
            if not n.upper().startswith("WINE") and fold(n) not in ("systemdrive", "systemroot")]


@dataclass
class HostRecord:
    pid: int
    command_line: str
    current_directory: str
    loaded: str
    environment: list[tuple[str, str]]  # the block as received, in order

    @staticmethod
    def parse(data: bytes) -> "HostRecord":
        assert data.startswith(b"\xff\xfe"), "host record without byte-order mark"
        text = data[2:].decode("utf-16-le", errors="surrogatepass")
        magic, pid, command_line, directory, loaded, block = text.split("\0", 5)
        assert magic == "nv-host-record-1"
        entries = []
        for entry in block.split("\0"):
            if not entry:
                break
            pair = split_entry(entry)
            assert pair, f"host received an entry without '=': {entry!r}"
            entries.append(pair)
        return HostRecord(int(pid), command_line, directory, loaded, entries)

    def variables(self) -> list[tuple[str, str]]:
        return without_wine_additions(self.environment)

    def get(self, name: str) -> str | None:
        return next((v for n, v in self.environment if fold(n) == fold(name)), None)


# --- Installations ----------------------------------------------------------

def tested_hashes(host_dir: Path) -> str:
    files = [host_dir / "Paltalk.exe"] + [host_dir / m for m in QT_MODULES]
    return "|".join(hashlib.sha256(f.read_bytes()).hexdigest() for f in files)


@dataclass
class Install:
    """One case's files: <case>/Tenebrix (the launcher) and <case>/<host folder> (the host)."""
    name: str
    root: Path
    tenebrix: Path
    paltalk: Path
    processes: list[subprocess.Popen] = field(default_factory=list)

    @property
    def launcher(self) -> Path:
        return self.tenebrix / "NightveilMode.exe"

    @property
    def host(self) -> Path:
        return self.paltalk / "Paltalk.exe"

    @property
    def record_path(self) -> Path:
        return self.paltalk / "host-record.txt"

    def record(self) -> HostRecord | None:
        return HostRecord.parse(self.record_path.read_bytes()) if self.record_path.exists() else None

    def wait_for_record(self, timeout: float = 15) -> HostRecord:
        assert wait_for(self.record_path.exists, timeout), "the host was not started"
        return self.record()

    def assert_no_host(self, grace: float = 1.0) -> None:
        """No host started: checked after a grace period, since a hand-off starts it late."""
        time.sleep(grace)
        assert not self.record_path.exists(), "a host was started"

    def control_host(self, stay_seconds: int = 0, load_library: str = "") -> None:
        (self.paltalk / "host-control.ini").write_text(
            f"[Host]\nStaySeconds={stay_seconds}\nLoadLibrary={load_library}\n")

    def stop_host(self) -> None:
        (self.paltalk / "host-stop").touch()

    def last_status(self) -> dict[str, str] | None:
        path = self.tenebrix / "last-status.ini"
        return read_ini(path).get("Launch") if path.exists() else None

    def wait_for_last_status(self, timeout: float = 15) -> dict[str, str]:
        assert wait_for(lambda: (self.last_status() or {}).get("Mode"), timeout), "no last-status.ini"
        return self.last_status()

    def settings(self) -> dict[str, dict[str, str]]:
        return read_ini(self.tenebrix / "settings.ini")

    def write_settings(self, text: str) -> None:
        (self.tenebrix / "settings.ini").write_text(text)

    def hashes(self) -> str:
        return tested_hashes(self.paltalk)

    def mark_tested(self) -> None:
        """compatibility.ini that names this very build as the tested one."""
        (self.tenebrix / "compatibility.ini").write_text(f"[Tested]\nHashes={self.hashes()}\n")

    def settle(self, timeout: float = 10) -> list[int]:
        """Waits until no process of this case is left; kills stragglers by id and returns them."""
        def ours() -> list[int]:
            return list(case_processes(self))

        if wait_for(lambda: not ours(), timeout):
            return []
        stragglers = ours()
        for pid in stragglers:
            try:
                os.kill(pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
        return stragglers


def case_processes(install: Install) -> dict[int, str]:
    """Processes whose command line names a file of this case: pid -> command line."""
    marks = (str(install.root) + "/", win_path(install.root).lower() + "\\")
    found = {}
    for proc in Path("/proc").iterdir():
        if not proc.name.isdigit():
            continue
        try:
            cmdline = (proc / "cmdline").read_bytes().replace(b"\0", b" ").decode(errors="replace")
        except OSError:
            continue
        if marks[0] in cmdline or marks[1] in cmdline.lower():
            found[int(proc.name)] = cmdline
    return found


def make_install(name: str, qt: str | dict[str, str] = "6.11.1.0", plugin: bool = True,
                 host_folder: str = "Paltalk", host: bytes | None = None) -> Install:
    """Lays out a fresh installation: the launcher, its plugin, and a host with its Qt libraries.

    `qt` names a variant folder of the fixtures (qt-<variant>) for all three
    libraries, or maps single library names to variants; `host` replaces the
    fixture host's bytes (a non-PE file, a patched machine word).
    """
    root = CASES / re.sub(r"[^A-Za-z0-9_.-]+", "_", name)
    shutil.rmtree(root, ignore_errors=True)
    tenebrix, paltalk = root / "Tenebrix", root / host_folder
    (tenebrix / "plugins" / "styles").mkdir(parents=True)
    paltalk.mkdir(parents=True)
    shutil.copy2(LAUNCHER, tenebrix / "NightveilMode.exe")
    if plugin:
        shutil.copy2(FIXTURES / "plugin" / "Nightveil.dll", tenebrix / "plugins" / "styles" / "Nightveil.dll")
    if host is None:
        shutil.copy2(FIXTURES / "Paltalk.exe", paltalk / "Paltalk.exe")
    else:
        (paltalk / "Paltalk.exe").write_bytes(host)
    for module in QT_MODULES:
        variant = qt.get(module, "6.11.1.0") if isinstance(qt, dict) else qt
        shutil.copy2(FIXTURES / f"qt-{variant}" / module, paltalk / module)
    return Install(name, root, tenebrix, paltalk)


def with_machine(image: bytes, machine: int) -> bytes:
    """A copy of a PE image whose file header names another processor."""
    data = bytearray(image)
    offset = struct.unpack_from("<I", data, 60)[0]
    struct.pack_into("<H", data, offset + 4, machine)
    return bytes(data)


# --- Running the launcher ---------------------------------------------------

_TRACE = re.compile(r'trace:msgbox:MSGBOX_OnInit L"(.*)"(\.\.\.)?$')
_ESCAPE = re.compile(r'\\(n|r|t|"|\\|[0-9a-fA-F]{4})')


class Text(str):
    """A message text; Wine's trace cuts long ones short, and a cut text equals every text it begins."""
    truncated = False

    def __eq__(self, other):
        if self.truncated and isinstance(other, str):
            return other.startswith(self)
        return str.__eq__(self, other)

    __hash__ = str.__hash__


def unescape_trace(text: str) -> str:
    """Undoes the quoting of Wine's debugstr_w."""
    simple = {"n": "\n", "r": "\r", "t": "\t", '"': '"', "\\": "\\"}
    return _ESCAPE.sub(lambda m: simple.get(m.group(1)) or chr(int(m.group(1), 16)), text)


@dataclass
class Result:
    code: int
    messages: list[str]  # texts of the message boxes shown, in order
    screenshots: list[Path]
    stderr: str


def message_texts(stderr: str) -> list[str]:
    texts = []
    for match in filter(None, map(_TRACE.search, stderr.splitlines())):
        text = Text(unescape_trace(match.group(1)))
        text.truncated = bool(match.group(2))
        texts.append(text)
    return texts


def run(install: Install, *args: str, env: dict[str, str] | None = None,
        answers: tuple[str | tuple[str, ...], ...] = (), timeout: float = 20, trace: str = "") -> Result:
    """Runs the launcher of `install` with `args` and waits for it, answering each dialog in turn.

    `answers` holds one xdotool key name per dialog ("Return", "Escape", "y",
    "alt+n"), for a window titled "Tenebrix", or (title, key) for a dialog of
    another title, or (title, key, text) to type a text before the key. Each
    dialog is photographed before it is answered. A message box that was not
    expected fails the run at once. `trace` adds Wine debug channels (",+win").
    """
    environment = base_environment(env)
    environment["WINEDEBUG"] = "-all,+msgbox" + trace  # the text of every message box goes to stderr
    stderr_path = install.root / f"stderr-{len(install.processes)}.txt"
    with open(stderr_path, "wb") as stderr:
        proc = subprocess.Popen(["wine", str(install.launcher), *args], env=environment, cwd=install.root,
                                stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=stderr,
                                start_new_session=True)
    install.processes.append(proc)
    try:
        failure, shots, pending = _answer_dialogs(install, proc, args, answers, timeout)
    finally:
        if proc.poll() is None:
            kill_group(proc)
    text = stderr_path.read_text(errors="replace")
    assert not failure, f"{failure}; messages: {message_texts(text)}; screenshots: {shots}"
    assert not pending, f"dialogs expected but not shown: {pending}; messages: {message_texts(text)}"
    return Result(proc.returncode, message_texts(text), shots, text)


def _answer_dialogs(install: Install, proc: subprocess.Popen, args, answers, timeout: float):
    pending = [(TITLE, a, "") if isinstance(a, str) else (*a, "")[:3] for a in answers]
    shots: list[Path] = []
    label = install.root.name
    end = time.monotonic() + timeout
    failure = None
    while proc.poll() is None and not failure:
        if time.monotonic() > end:
            failure = f"NightveilMode.exe {' '.join(args)} did not finish within {timeout} s"
            shots.append(screenshot(f"{label}-timeout"))
            break
        title, key, text = pending[0] if pending else (TITLE, "", "")
        windows = dialog_windows(title)
        if not windows:
            time.sleep(0.1)
            continue
        time.sleep(0.3)  # let it paint before the picture is taken
        shots.append(screenshot(f"{label}-{len(shots) + 1}" + ("" if key else "-unexpected")))
        if not key:
            failure = "unexpected dialog"
            break
        pending.pop(0)
        if text:
            subprocess.run(["xdotool", "windowfocus", "--sync", windows[0]], timeout=10, capture_output=True)
            subprocess.run(["xdotool", "type", "--delay", "5", text], timeout=30, capture_output=True)
        # A key that arrives while the dialog is still taking the focus is lost: send it again.
        for _ in range(4):
            subprocess.run(["xdotool", "windowfocus", "--sync", windows[0]], timeout=10, capture_output=True)
            subprocess.run(["xdotool", "key", "--clearmodifiers", key], timeout=10, capture_output=True)
            if wait_for(lambda: windows[0] not in dialog_windows(title), 2.5):
                break
        else:
            failure = f"dialog {title!r} did not close on {key}"
    return failure, shots, pending


def probe_environment(install: Install, env: dict[str, str] | None = None) -> list[tuple[str, str]]:
    """The block a Windows program receives from this harness with `env`: the launcher's own environment."""
    directory = install.root / "probe"
    directory.mkdir(exist_ok=True)
    shutil.copy2(FIXTURES / "Paltalk.exe", directory / "probe.exe")
    environment = base_environment(env)
    environment["WINEDEBUG"] = "-all,+msgbox"
    proc = subprocess.Popen(["wine", str(directory / "probe.exe")], env=environment, cwd=install.root,
                            stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL,
                            start_new_session=True)
    try:
        proc.wait(timeout=20)
    except subprocess.TimeoutExpired:
        kill_group(proc)
        raise AssertionError("the environment probe did not finish")
    return HostRecord.parse((directory / "host-record.txt").read_bytes()).variables()
