"""Helpers for the black-box tests of host discovery, the verdict, the settings
file and process inspection: uninstall entries in the Wine registry, signed
copies of the fixture host made with the test PKI, the processes of a case,
and the exact layout of a profile file.

Everything here runs Wine programs with a bounded wait, like the harness.
"""
from __future__ import annotations

import os
import re
import shutil
import subprocess
import time
import uuid
from dataclasses import dataclass
from pathlib import Path

import harness
from harness import FIXTURES, LAUNCHER, MANAGED, QT_MODULES, ROOT, Install, fold, win_path

# --- Texts the user sees ------------------------------------------------------

FALLBACK = "\n\nStarting Paltalk normally."
RUNNING = ("Paltalk is already running. Fully exit it using its Exit command, then reopen this shortcut. "
           "Closing a window to the tray is not enough.")
NOT_FOUND = "Paltalk was not found. Install Paltalk first, or select an existing Paltalk.exe in the next dialog."
START_FAILED = "Windows could not start Paltalk."
PROMPT = ("Automatic compatibility could not be verified. Enable experimental dark mode for this exact build?"
          "\n\nYes: enable it. No: use normal appearance. Cancel: do not launch.")
PICKER_TITLE = "Locate the installed Paltalk.exe"
CHOOSER_INSTRUCTION = "Choose the Paltalk installation to theme"

RECOGNIZED = "Recognized build; camera fix still needs live hardware validation."
SIGNED_UPDATE = "Compatible signed update; continuing dark mode with best-effort compatibility."
UNRECOGNIZED = ("Automatic compatibility could not be verified. Use Normal Mode or explicitly approve this exact "
                "build.")
NOT_X64 = "This theme requires x64 Paltalk. Native ARM64 and 32-bit Paltalk are not supported."
QT_MISSING = "Required x64 Qt DLLs are missing from the Paltalk installation."
QT_FLOOR = "This plugin requires release Qt 6.11.1 or newer within Qt 6."
QT_MISMATCH = "Paltalk's Qt DLL versions do not match. Repair Paltalk before installing the theme."

HOST_VERSION = "1.34.7.0"  # the fixture host's VERSIONINFO
DARK_BACKGROUND = "FF202328"
FORCE_DARK = '"--enable-features=WebContentsForceDark"'


def status(mode: str, error: str = "0") -> dict[str, str]:
    """last-status.ini of a process start in `mode`."""
    return {"Operation": "create-process", "Error": error, "Mode": mode}


def quoted_host(install: Install) -> str:
    return f'"{win_path(install.host)}"'


def theme_variables(install: Install, hashes: str) -> dict[str, str]:
    """The Qt and plugin variables of every dark launch."""
    root = win_path(install.tenebrix)
    return {"QT_PLUGIN_PATH": root + "\\plugins", "QT_STYLE_OVERRIDE": "Nightveil", "NIGHTVEIL_HOME": root,
            "NIGHTVEIL_HASHES": hashes}


def passed_through(caller: list[tuple[str, str]], launcher_sets: dict[str, str]) -> list[tuple[str, str]]:
    """What a host must receive: the caller's block less every managed name, plus the launcher's own
    values, ordered by name as _wcsicmp orders it."""
    entries = [(n, v) for n, v in caller if n.upper() not in MANAGED] + list(launcher_sets.items())
    return sorted(entries, key=lambda entry: fold(entry[0]))


# --- Wine programs --------------------------------------------------------------

def wine(*args: str, timeout: float = 60) -> subprocess.CompletedProcess:
    """One Wine program with the harness's environment, killed by its id when the bound passes."""
    proc = subprocess.Popen(["wine", *args], env=harness.base_environment(), stdin=subprocess.DEVNULL,
                            stdout=subprocess.PIPE, stderr=subprocess.PIPE, start_new_session=True)
    try:
        out, err = proc.communicate(timeout=timeout)
    except subprocess.TimeoutExpired:
        harness.kill_group(proc)
        raise AssertionError(f"wine {' '.join(args)} did not finish within {timeout} s")
    return subprocess.CompletedProcess(proc.args, proc.returncode, out.decode(errors="replace"),
                                       err.decode(errors="replace"))


# --- Uninstall entries ------------------------------------------------------------
# The Wine prefix is shared by the whole run, so every entry a test adds has a
# name of its own under a common prefix and is removed afterwards; a sweep
# removes what a killed run may have left.

UNINSTALL = r"Software\Microsoft\Windows\CurrentVersion\Uninstall"
ENTRY_PREFIX = "NvE2E-"
ROOTS = ("HKCU", "HKLM")
VIEWS = (32, 64)


def _key(root: str, name: str = "") -> str:
    return f"{root}\\{UNINSTALL}" + (f"\\{name}" if name else "")


def registry_values(root: str, view: int, name: str) -> dict[str, tuple[str, str]] | None:
    """Values of one uninstall entry as `reg query` shows them: name -> (type, data); None when absent."""
    result = wine("reg", "query", _key(root, name), f"/reg:{view}")
    if result.returncode != 0:
        return None
    values = {}
    for line in result.stdout.splitlines():
        if not line.startswith("    "):
            continue
        parts = line.strip("\r\n").lstrip(" ").split("    ", 2)
        if len(parts) == 3:
            values[parts[0]] = (parts[1], parts[2])
    return values


def entries_with_test_prefix() -> list[tuple[str, int, str]]:
    """Every entry with the test prefix, in each root and view: (root, view, name)."""
    found = []
    for root in ROOTS:
        for view in VIEWS:
            result = wine("reg", "query", _key(root), f"/reg:{view}")
            for line in result.stdout.splitlines():
                name = line.strip().rpartition("\\")[2]
                if line.upper().startswith("HKEY_") and name.startswith(ENTRY_PREFIX):
                    found.append((root, view, name))
    return found


def sweep_entries() -> None:
    for root, view, name in entries_with_test_prefix():
        wine("reg", "delete", _key(root, name), "/f", f"/reg:{view}")


class UninstallEntries:
    """Uninstall entries added for one test, all removed by `remove_all`."""

    def __init__(self) -> None:
        self.added: list[tuple[str, int, str]] = []

    def add(self, root: str, view: int, display_name: str, *, kinds: dict[str, str] | None = None,
            **values: str) -> str:
        """Adds an entry with DisplayName and the given values (InstallLocation=..., DisplayIcon=...,
        UninstallString=...), each REG_SZ unless `kinds` names another type for it. Returns the entry's name."""
        assert root in ROOTS and view in VIEWS
        name = f"{ENTRY_PREFIX}{uuid.uuid4().hex[:12]}"
        self.added.append((root, view, name))
        wanted = {"DisplayName": display_name, **values}
        expected = {k: ((kinds or {}).get(k, "REG_SZ"), v) for k, v in wanted.items()}
        for value_name, (kind, data) in expected.items():
            result = wine("reg", "add", _key(root, name), "/v", value_name, "/t", kind, "/d", data, "/f",
                          f"/reg:{view}")
            assert result.returncode == 0, f"reg add failed: {result.stderr}"
        # Wine turns the arguments into a command line and reg.exe splits it again: make sure every
        # text arrived as meant, quotes and trailing backslashes included.
        stored = registry_values(root, view, name)
        assert stored == expected, f"registry holds {stored}, meant {expected}"
        return name

    def remove_all(self) -> None:
        for root, view, name in self.added:
            wine("reg", "delete", _key(root, name), "/f", f"/reg:{view}")
        self.added.clear()


KNOWN_FOLDER_MARK = "nv-e2e-placed"


def known_folders() -> list[tuple[str, Path]]:
    """The three known folders that discovery looks in, in its order: (Windows path, Unix path)."""
    drive = Path(harness.WINE_ENV["WINEPREFIX"]) / "drive_c"
    users = sorted(u for u in (drive / "users").iterdir() if u.name != "Public" and (u / "AppData").is_dir())
    assert len(users) == 1, f"expected one user profile in the prefix: {users}"
    return [(f"C:\\users\\{users[0].name}\\AppData\\Local", users[0] / "AppData" / "Local"),
            ("C:\\Program Files", drive / "Program Files"),
            ("C:\\Program Files (x86)", drive / "Program Files (x86)")]


def known_folder_hosts() -> list[Path]:
    """Hosts in the known folders of the prefix; discovery would find them in every case."""
    return [folder / "Paltalk" / "Paltalk.exe" for _, folder in known_folders()
            if (folder / "Paltalk" / "Paltalk.exe").exists()]


def place_known_folder_hosts() -> list[str]:
    """A copy of the fixture host under each known folder; returns their Windows paths."""
    placed = []
    for windows, folder in known_folders():
        target = folder / "Paltalk"
        assert not target.exists(), f"{target} exists already"
        target.mkdir(parents=True)
        (target / KNOWN_FOLDER_MARK).touch()
        (target / "Paltalk.exe").write_bytes((FIXTURES / "Paltalk.exe").read_bytes())
        placed.append(windows + "\\Paltalk\\Paltalk.exe")
    return placed


def remove_known_folder_hosts() -> None:
    """Removes the hosts that place_known_folder_hosts put there, and nothing else."""
    for _, folder in known_folders():
        target = folder / "Paltalk"
        if (target / KNOWN_FOLDER_MARK).exists():
            shutil.rmtree(target)


# --- The test PKI and signed hosts -----------------------------------------------

PKI = Path(os.environ.get("NV_TEST_PKI", LAUNCHER.parent / "pki"))
PKI_SCRIPTS = ROOT / "tests" / "pki"


def _pem_body(path: Path) -> str:
    lines = path.read_text().splitlines()
    return "".join(line for line in lines if line and not line.startswith("-----"))


def require_trusted_pki() -> Path:
    """The build's test PKI, whose root Wine must trust for signatures to verify."""
    subprocess.run([str(PKI_SCRIPTS / "make-pki.sh"), str(PKI)], check=True, timeout=120,
                   stdout=subprocess.DEVNULL)
    bundle = Path("/etc/ssl/certs/ca-certificates.crt")
    body = _pem_body(PKI / "root.crt")
    trusted = bundle.exists() and body in bundle.read_text().replace("\n", "")
    assert trusted, (f"the test root is not trusted by the system: run tests/pki/install-root.sh "
                     f"{PKI / 'root.crt'} (as root) first")
    return PKI


def sign(pki: Path, signer: str, path: Path) -> None:
    """Signs `path` in place as one signer of the test PKI (paltalk, qt, paltalk-europe, someone-else)."""
    subprocess.run([str(PKI_SCRIPTS / "sign.sh"), str(pki), signer, str(path), str(path)], check=True,
                   timeout=60, stdout=subprocess.DEVNULL)


def sign_host(pki: Path, install: Install, host_signer: str = "paltalk",
              qt_signers: dict[str, str] | None = None) -> None:
    """Signs the host of `install` and its three Qt libraries, as a genuine later release would be."""
    sign(pki, host_signer, install.host)
    for module in QT_MODULES:
        sign(pki, (qt_signers or {}).get(module, "qt"), install.paltalk / module)


# --- Processes of a case ------------------------------------------------------------

def running_images(install: Install) -> list[str]:
    """Lower-cased file names of the Windows programs of this case that run now."""
    names = []
    for cmdline in harness.case_processes(install).values():
        first = cmdline.strip().split(" ")[0] if not cmdline.startswith('"') else cmdline[1:].split('"')[0]
        names.append(first.replace("/", "\\").rpartition("\\")[2].lower())
    return names


def keep_host_running(install: Install, *args: str, load_library: str = "", seconds: int = 60):
    """Starts the fixture host of `install` unthemed and keeps it running; returns its record."""
    install.control_host(stay_seconds=seconds, load_library=load_library)
    result = harness.run(install, "--desktop-launch", "--original", "--paltalk", win_path(install.host), *args)
    assert (result.code, result.messages) == (0, [])
    record = install.wait_for_record()
    if load_library:
        assert record.loaded == load_library, f"the host could not load {load_library}: {record.loaded}"
    return record


def stop_and_settle(install: Install, timeout: float = 15) -> None:
    install.stop_host()
    stragglers = install.settle(timeout)
    assert not stragglers, f"processes of {install.name} were still running and were killed: {stragglers}"


# --- Profile files byte for byte -----------------------------------------------------

def profile_layout(path: Path) -> list[tuple[str, str, str]]:
    """(section, key, value) in the order the file holds them; the file must be UTF-16 with FF FE."""
    data = path.read_bytes()
    assert data[:2] == b"\xff\xfe", f"{path.name} does not start with FF FE: {data[:8]!r}"
    entries, section = [], None
    for line in data[2:].decode("utf-16-le").splitlines():
        line = line.strip()
        if line.startswith("[") and line.endswith("]"):
            section = line[1:-1]
        elif "=" in line:
            key, _, value = line.partition("=")
            entries.append((section, key, value))
        else:
            assert not line, f"unexpected line in {path.name}: {line!r}"
    return entries


def settings_layout(install: Install, experimental: str = "0", status_text: str = RECOGNIZED,
                    browser_dark: str = "1") -> list[tuple[str, str, str]]:
    """The seven keys, in order, that a save writes for the fixture host of `install`."""
    return [("Paltalk", "Exe", win_path(install.host)), ("Paltalk", "Hashes", install.hashes()),
            ("Paltalk", "Experimental", experimental), ("Info", "Version", HOST_VERSION),
            ("Info", "Qt", "6.11.1.0"), ("Info", "Status", status_text),
            ("Appearance", "BrowserDark", browser_dark)]


def file_stamp(path: Path) -> tuple[bytes, int, int]:
    """Bytes, modification time and inode: a rewrite through a temporary file changes the inode."""
    stat = path.stat()
    return path.read_bytes(), stat.st_mtime_ns, stat.st_ino


def sleep_past_timestamp_granularity() -> None:
    """Lets a rewrite show in the modification time even on coarse file systems."""
    time.sleep(1.1)


# --- Windows a dialog was built from ---------------------------------------------------

_CREATED = re.compile(r'trace:win:WIN_CreateWindowEx (L".*?"|\(null\)) (L"[^"]*"|#[0-9a-fA-F]+)\S* ex=\S+ '
                      r'style=(\S+) .* parent=(\S+) menu=(\S+)')


@dataclass
class Control:
    text: str
    window_class: str
    control_id: int
    parent: int


def created_windows(stderr: str) -> list[Control]:
    """The windows a run created, in order, from Wine's +win trace: text, class, id and parent."""
    controls = []
    for match in filter(None, map(_CREATED.search, stderr.splitlines())):
        text = "" if match.group(1) == "(null)" else harness.unescape_trace(match.group(1)[2:-1])
        window_class = match.group(2)[2:-1] if match.group(2).startswith("L") else match.group(2)
        controls.append(Control(text, window_class, int(match.group(5), 16), int(match.group(4), 16)))
    return controls


def run_traced(install: Install, *args: str, answers=(), timeout: float = 20) -> harness.Result:
    """Like harness.run, with Wine's window trace on as well, so that the texts and ids of the controls
    of a task dialog can be checked (see created_windows)."""
    return harness.run(install, *args, answers=answers, timeout=timeout, trace=",+win")


def dialog_controls(stderr: str, title: str = harness.TITLE) -> list[Control]:
    """The controls of the first dialog window titled `title` that a run created, in creation order."""
    windows = created_windows(stderr)
    start = next((i for i, w in enumerate(windows) if w.text == title and w.window_class == "#8002"), None)
    assert start is not None, f"no dialog titled {title!r} was created"
    children = windows[start + 1:]
    return [c for c in children if children and c.parent == children[0].parent]
