"""NightveilMode.exe under Wine: what only the real program on the real Windows API can show."""

import hashlib
import shutil
import subprocess
from dataclasses import dataclass, field
from enum import Enum
from pathlib import Path

import pytest

from harness import (
    EXIT,
    FIXTURES,
    ROOT,
    SENTENCE,
    WINE_ENV,
    Answer,
    Install,
    environment,
    wait_for,
    win,
    wine,
)

LAYOUT = "Z:\\d\\layout.txt"
USERS_BACKGROUND = {"WEBVIEW2_DEFAULT_BACKGROUND_COLOR": "00000000"}
DARK_BROWSER = {
    "WEBVIEW2_DEFAULT_BACKGROUND_COLOR": "FF202328",
    "TENEBRIX_WEBVIEW_BACKGROUND_ACTIVE": "present",
    "TENEBRIX_WEBVIEW_BACKGROUND_ORIGINAL": "00000000",
    "TENEBRIX_WEBVIEW_ARGS_ACTIVE": "absent",
    "WEBVIEW2_ADDITIONAL_BROWSER_ARGUMENTS": '"--enable-features=WebContentsForceDark"',
}
# What of THEMED_CALLER the host receives as it is: every name the launcher does not manage.
CALLERS_OWN = {
    "NV_E2E_ODD": 'a "quoted" value = with equals',
    "NV_E2E_EMPTY": "",
    "nv_e2e_lower": "sorted among the capitals",
}
# A caller started from a full-dark launch, with the user's own values under the launcher's names.
THEMED_CALLER = (
    DARK_BROWSER
    | {
        "QT_PLUGIN_PATH": "Z:\\elsewhere\\plugins",
        "qt_style_override": "Fusion",
        "NIGHTVEIL_HOME": "Z:\\old",
        "NIGHTVEIL_HASHES": "old",
        "NIGHTVEIL_DIAGNOSTICS": "Z:\\old.txt",
    }
    | CALLERS_OWN
)


def status(mode: str) -> dict:
    return {"Launch": {"Operation": "create-process", "Error": "0", "Mode": mode}}


@dataclass(frozen=True)
class Launch:
    mode: str  # as last-status.ini names it
    args: tuple[str, ...] = ()
    themed: bool = True  # the host gets the style plugin
    browser: dict = field(default_factory=lambda: DARK_BROWSER)
    checks_saved_settings: bool = False  # the row also checks what the first launch saved


LAUNCHES = [
    Launch(mode="normal", args=("--original",), themed=False, browser=USERS_BACKGROUND),
    Launch(
        mode="qt-only",
        args=("--browser-dark", "off", "--diagnostic-layout", LAYOUT),
        browser=USERS_BACKGROUND | {"NIGHTVEIL_DIAGNOSTICS": LAYOUT},
    ),
    Launch(mode="full-dark", checks_saved_settings=True),
]


@pytest.mark.parametrize("row", LAUNCHES, ids=lambda row: row.mode)
def test_launch_passes_its_block_and_command_line(install, session_keeper, row):
    install.mark_tested()
    code, messages, _ = install.run(
        "--desktop-launch", *row.args, "--paltalk", win(install.host), env=THEMED_CALLER
    )
    assert (code, messages) == (EXIT.done, [])
    record = install.record()
    style = " -style Nightveil" if row.themed else ""
    assert record.command_line == f'"{win(install.host)}"{style}'
    assert record.directory == win(install.paltalk)

    theme = {
        "QT_PLUGIN_PATH": win(install.tenebrix) + "\\plugins",
        "QT_STYLE_OVERRIDE": "Nightveil",
        "NIGHTVEIL_HOME": win(install.tenebrix),
        "NIGHTVEIL_HASHES": install.hashes(),
    }
    expected = (
        dict(session_keeper.block) | CALLERS_OWN | (theme if row.themed else {}) | row.browser
    )
    assert dict(record.block) == expected
    assert len(record.block) == len(expected), "a name passed twice"
    names = [name for name, _ in record.block]
    # The block is sorted as _wcsicmp sorts: without regard to case.
    assert [name for name in names if name in CALLERS_OWN] == [
        "NV_E2E_EMPTY",
        "nv_e2e_lower",
        "NV_E2E_ODD",
    ]
    assert names == sorted(names, key=str.lower)
    assert install.ini("last-status.ini") == status(row.mode)
    if row.checks_saved_settings:
        # The first launch saves the host through the Windows profile API: UTF-16, seven keys.
        assert (install.tenebrix / "settings.ini").read_bytes()[:2] == b"\xff\xfe"
        assert install.ini("settings.ini") == {
            "Paltalk": {"Exe": win(install.host), "Hashes": install.hashes(), "Experimental": "0"},
            "Info": {"Version": "1.34.7.0", "Qt": "6.11.1.0", "Status": SENTENCE.recognized_build},
            "Appearance": {"BrowserDark": "1"},
        }


def test_plain_start_finds_the_registered_host_and_hands_off_through_the_shell(
    install, uninstall_entry
):
    """Every token reads as elevated under Wine, so a start without --desktop-launch goes to a
    second launcher through the desktop shell: the host gets the shell's environment, and the
    options the first one was given.
    """
    install.mark_tested()
    uninstall_entry("HKLM", 32, DisplayName="Paltalk", InstallLocation=win(install.paltalk))
    code, messages, shots = install.run(
        "--browser-dark", "off", "--diagnostic-layout", LAYOUT, env={"NV_E2E_CALLER": "first"}
    )
    assert (code, messages, shots) == (EXIT.done, [], [])
    record = install.record()
    assert "NV_E2E_CALLER" not in record.env and record.env.get("NIGHTVEIL_DIAGNOSTICS") == LAYOUT
    assert record.command_line == f'"{win(install.host)}" -style Nightveil'
    # The second launcher writes it after the first has returned.
    written = lambda: install.ini("last-status.ini") == status("qt-only")  # noqa: E731
    assert wait_for(written, 15), install.ini("last-status.ini")
    assert install.ini("settings.ini")["Paltalk"]["Exe"] == win(install.host)


def test_prompt_answered_yes_stores_the_approval_and_starts_the_stored_appearance(install):
    (install.tenebrix / "settings.ini").write_text(
        f"[Paltalk]\nExe={win(install.host)}\n[Appearance]\nBrowserDark=0\n"
    )
    code, messages, shots = install.run("--desktop-launch", answers=("y",))
    assert (code, messages, len(shots)) == (EXIT.done, [SENTENCE.launch_prompt], 1)
    assert install.record().command_line == f'"{win(install.host)}" -style Nightveil'
    assert install.ini("last-status.ini") == status("qt-only")
    assert install.ini("settings.ini")["Paltalk"]["Experimental"] == "1"


def test_chooser_offers_the_registered_hosts_as_command_links(make_install, uninstall_entry):
    first, second = make_install("-first"), make_install("-second")
    first.mark_tested()  # both hold the same build
    uninstall_entry("HKCU", 64, DisplayName="Paltalk", InstallLocation=win(first.paltalk))
    uninstall_entry(
        "HKLM", 64, DisplayName="Paltalk Messenger", DisplayIcon=win(second.host) + ",0"
    )
    # A typed Tab moves the focus from the first command link to the second; Return presses it.
    code, messages, shots = first.run("--desktop-launch", answers=(Answer("Return", typed="\t"),))
    assert (code, messages, len(shots)) == (EXIT.done, [], 1)
    assert second.record().command_line == f'"{win(second.host)}" -style Nightveil'
    assert not (first.paltalk / "host-record.txt").exists()


def test_no_host_found_says_so_and_the_file_dialog_picks_one(install):
    install.mark_tested()
    pick = Answer("Return", title=SENTENCE.locate_host_title, typed=win(install.host))
    code, messages, shots = install.run("--desktop-launch", answers=("Return", pick))
    assert (code, messages, len(shots)) == (EXIT.done, [SENTENCE.host_missing], 2)
    assert install.record().command_line == f'"{win(install.host)}" -style Nightveil'
    assert install.ini("settings.ini")["Paltalk"]["Exe"] == win(install.host)


@pytest.fixture(scope="module")
def themed_host():
    """A host of a tested build that has loaded its installation's plugin, up for this module."""
    install = Install("themed-host")
    install.mark_tested()
    plugin = win(install.tenebrix / "plugins" / "styles" / "Nightveil.dll")
    (install.paltalk / "host-control.ini").write_text(
        f"[Host]\nStaySeconds=300\nLoadLibrary={plugin}\n"
    )
    try:
        started = install.run("--desktop-launch", "--original", "--paltalk", win(install.host))
        assert started[0] == EXIT.done
        assert install.record().loaded == plugin
        yield install, install.record()
    finally:
        assert not install.settle()


@dataclass(frozen=True)
class Beside:
    name: str
    option: str
    code: int
    names_host: bool = False  # the running host's file is given as --paltalk
    messages: tuple[str, ...] = ()
    answers: tuple[str, ...] = ()


BESIDE = [
    Beside("running", "--running", EXIT.host_running, names_host=True),
    Beside("busy", "--busy", EXIT.host_running),
    Beside(
        "launch",
        "--desktop-launch",
        EXIT.host_running,
        names_host=True,
        messages=(SENTENCE.running,),
        answers=("Return",),
    ),
]


@pytest.mark.parametrize("row", BESIDE, ids=lambda row: row.name)
def test_beside_a_running_themed_host(themed_host, row):
    install, record = themed_host
    args = [row.option] + (["--paltalk", win(install.host)] if row.names_host else [])
    code, messages, shots = install.run(*args, answers=row.answers)
    assert (code, messages, len(shots)) == (row.code, list(row.messages), len(row.answers))
    assert install.record().pid == record.pid  # no second host


SIGNED = (ROOT / "tests/fuzz/corpus/all/manifest-signed.txt").read_text()
PRIMARY = FIXTURES / "installer/installer-primary.exe"  # signed by the first signer only


class Check(Enum):
    MANIFEST = "--verify-update-manifest with the manifest's absolute path"
    PRIMARY_INSTALLER = "--verify-update-installer on the installer signed by one signer"
    PROBE_HOST = "--probe on the host and Qt libraries signed by the test PKI"


@dataclass(frozen=True)
class Signature:
    name: str
    check: Check
    code: int
    manifest: str = SIGNED  # latest.jws's text


# Through the real CNG and WinVerifyTrust; a manifest too large is not read.
SIGNATURES = [
    Signature("signed", Check.MANIFEST, EXIT.done),
    # Padded to the size limit: read as it is, padding and all.
    Signature(
        "read-as-is", Check.MANIFEST, EXIT.not_acceptable, manifest=SIGNED.ljust(16384, "\n")
    ),
    Signature("too-large", Check.MANIFEST, EXIT.bad_use, manifest="A" * 16385),
    Signature("one-signer", Check.PRIMARY_INSTALLER, EXIT.not_acceptable),
    Signature("signed-host", Check.PROBE_HOST, EXIT.done),  # a signed update
]


@pytest.mark.parametrize("row", SIGNATURES, ids=lambda row: row.name)
def test_real_signatures(make_install, row):
    install = make_install(host_files=FIXTURES / "signed", host=FIXTURES / "signed" / "Paltalk.exe")
    (install.root / "latest.jws").write_text(row.manifest)
    args = {
        Check.MANIFEST: ["--verify-update-manifest", win(install.root / "latest.jws")],
        Check.PRIMARY_INSTALLER: [
            "--verify-update-installer",
            win(PRIMARY),
            "--size",
            str(PRIMARY.stat().st_size),
            "--sha256",
            hashlib.sha256(PRIMARY.read_bytes()).hexdigest(),
        ],
        Check.PROBE_HOST: ["--probe", "--paltalk", win(install.host)],
    }[row.check]
    assert install.run(*args)[:2] == (row.code, [])


class Folder(Enum):
    DESKTOP = "Desktop"
    PROGRAMS = "AppData/Roaming/Microsoft/Windows/Start Menu/Programs"


class Target(Enum):
    OWN = "the launcher's own installation folder"
    OWN_IN_CAPITALS = "the same folder spelt in capitals"
    OWN_LOOKALIKE = "a folder whose name starts with the own folder's"
    OTHER = "the folder passed as --root"


class Removal(Enum):
    NEVER = "stays"
    OTHER_ROOT = "the run given --root <other>"
    OWN_ROOT = "the run without --root"


@dataclass(frozen=True)
class Shortcut:
    path: str  # below its folder
    folder: Folder = Folder.PROGRAMS
    target: Target = Target.OWN
    file: str = "NightveilMode.exe"  # the target's file name
    # Wine's SetPath turns '/' into '\': the saved link gets its '/' before `file` back.
    forward_slash: bool = False
    damaged: bool = False  # not a link at all
    removed_by: Removal = Removal.OWN_ROOT


SHORTCUTS = [
    Shortcut("Nightveil Mode.lnk", folder=Folder.DESKTOP, damaged=True, removed_by=Removal.NEVER),
    Shortcut("Tenebrix Dark Mode.lnk", folder=Folder.DESKTOP),
    Shortcut(
        "Nightveil Mode/Nightveil Mode.lnk", target=Target.OTHER, removed_by=Removal.OTHER_ROOT
    ),
    Shortcut(
        "Nightveil Mode/Paltalk Normal Mode.lnk",
        target=Target.OWN_IN_CAPITALS,
        file="nightveilmode.EXE",
        forward_slash=True,
    ),
    Shortcut("Nightveil Mode/Uninstall.lnk", file="Uninstall.exe"),
    Shortcut("Tenebrix/Readme.lnk", removed_by=Removal.NEVER),  # not one of the launcher's names
    Shortcut(
        "Tenebrix/Tenebrix Dark Mode.lnk", target=Target.OWN_LOOKALIKE, removed_by=Removal.NEVER
    ),
    Shortcut("Tenebrix/Tenebrix Normal Mode.lnk", file="Paltalk.exe", removed_by=Removal.NEVER),
    Shortcut("Tenebrix/Tenebrix Support and Recovery.lnk"),
    Shortcut(
        "Tenebrix/Uninstall Tenebrix.lnk",
        target=Target.OTHER,
        file="Uninstall.exe",
        removed_by=Removal.OTHER_ROOT,
    ),
]


def test_remove_shortcuts_leading_into_the_root(install):
    users = Path(WINE_ENV["WINEPREFIX"], "drive_c", "users")
    user = next(users.glob("*/AppData/Roaming")).parents[1]
    paths = {s.path: user / s.folder.value / s.path for s in SHORTCUTS}
    # What the test makes and removes: desktop links, and whole folders under Programs.
    tops = {
        p if s.folder == Folder.DESKTOP else p.parent for s, p in zip(SHORTCUTS, paths.values())
    }
    other = install.root / "Other"
    folders = {
        Target.OWN: win(install.tenebrix),
        Target.OWN_IN_CAPITALS: win(install.tenebrix).upper(),
        Target.OWN_LOOKALIKE: win(install.tenebrix) + "x",
        Target.OTHER: win(other),
    }

    def tidy():
        for top in tops:
            shutil.rmtree(top) if top.is_dir() else top.unlink(missing_ok=True)

    def present() -> dict[str, bool]:
        return {path: file.exists() for path, file in paths.items()}

    # Wine's Desktop is the user's home, shared by every checkout.
    with open("/tmp/nv-shortcuts.lock", "w") as lock:
        subprocess.run(
            ["flock", "-w", "300", str(lock.fileno())],
            pass_fds=(lock.fileno(),),
            check=True,
            timeout=310,
        )
        try:
            tidy()
            for top in tops - set(paths.values()):
                top.mkdir()
            links = []
            for s in SHORTCUTS:
                if not s.damaged:
                    links += [win(paths[s.path]), folders[s.target] + "\\" + s.file]
            made = wine(
                FIXTURES / "nv-link.exe",
                *links,
                cwd=install.root,
                env=environment(),
                log=install.root / "l.log",
            )
            assert made[0] == 0
            for s in SHORTCUTS:
                link = paths[s.path]
                if s.damaged:
                    link.write_bytes(b"L\0\0\0 damaged")
                if s.forward_slash:
                    data = link.read_bytes()
                    saved = b"\\" + s.file.encode()
                    assert data.count(saved) == 1, s.path
                    link.write_bytes(data.replace(saved, b"/" + s.file.encode()))

            gone = set()
            for removal, args in (
                (Removal.OTHER_ROOT, ["--root", win(other)]),
                (Removal.OWN_ROOT, []),
            ):
                assert install.run("--remove-shortcuts", *args)[:2] == (EXIT.done, []), removal
                gone.add(removal)
                expected = {s.path: s.removed_by not in gone for s in SHORTCUTS}
                assert present() == expected, removal
            # The folders stay, "Nightveil Mode" now empty.
            assert all(file.parent.is_dir() for file in paths.values())
        finally:
            tidy()
