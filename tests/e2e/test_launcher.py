"""NightveilMode.exe under Wine: what only the real program on the real Windows API can show."""
import hashlib, shutil, subprocess  # noqa: E401
from pathlib import Path

import pytest

from harness import (
    EXIT,
    FIXTURES,
    MANAGED,
    ROOT,
    SENTENCE,
    TITLE,
    WINE_ENV,
    Install,
    environment,
    wait_for,
    win,
    wine,
)
from harness import install, make_install, session_keeper, uninstall_entry  # noqa: F401  (fixtures)

LAYOUT, USERS_BACKGROUND = "Z:\\d\\layout.txt", {"WEBVIEW2_DEFAULT_BACKGROUND_COLOR": "00000000"}
DARK_BROWSER = {
    "WEBVIEW2_DEFAULT_BACKGROUND_COLOR": "FF202328",
    "TENEBRIX_WEBVIEW_BACKGROUND_ACTIVE": "present",
    "TENEBRIX_WEBVIEW_BACKGROUND_ORIGINAL": "00000000",
    "TENEBRIX_WEBVIEW_ARGS_ACTIVE": "absent",
    "WEBVIEW2_ADDITIONAL_BROWSER_ARGUMENTS": '"--enable-features=WebContentsForceDark"',
}
# A caller started from a full-dark launch, with the user's own values under the launcher's markers.
THEMED_CALLER = DARK_BROWSER | {
    "QT_PLUGIN_PATH": "Z:\\elsewhere\\plugins",
    "qt_style_override": "Fusion",
    "NIGHTVEIL_HOME": "Z:\\old",
    "NIGHTVEIL_HASHES": "old",
    "NIGHTVEIL_DIAGNOSTICS": "Z:\\old.txt",
    "NV_E2E_ODD": 'a "quoted" value = with equals',
    "NV_E2E_EMPTY": "",
}


def status(mode: str) -> dict:
    return {"Launch": {"Operation": "create-process", "Error": "0", "Mode": mode}}


@pytest.mark.parametrize(
    "mode, args, theme, browser",
    [
        ("normal", ["--original"], False, USERS_BACKGROUND),
        (
            "qt-only",
            ["--browser-dark", "off", "--diagnostic-layout", LAYOUT],
            True,
            USERS_BACKGROUND | {"NIGHTVEIL_DIAGNOSTICS": LAYOUT},
        ),
        ("full-dark", [], True, DARK_BROWSER),
    ],
)
def test_launch_passes_its_block_and_command_line(
    install, session_keeper, mode, args, theme, browser
):
    install.mark_tested()
    code, messages, _ = install.run(
        "--desktop-launch", *args, "--paltalk", win(install.host), env=THEMED_CALLER
    )
    assert (code, messages) == (EXIT.done, [])
    record = install.record()
    assert record.command_line == f'"{win(install.host)}"' + (" -style Nightveil" if theme else "")
    assert record.directory == win(install.paltalk)
    caller = [
        (n, v)
        for n, v in session_keeper.block + list(THEMED_CALLER.items())
        if not n.upper().startswith(MANAGED)
    ]
    themed = (
        {
            "QT_PLUGIN_PATH": win(install.tenebrix) + "\\plugins",
            "QT_STYLE_OVERRIDE": "Nightveil",
            "NIGHTVEIL_HOME": win(install.tenebrix),
            "NIGHTVEIL_HASHES": install.hashes(),
        }
        if theme
        else {}
    )
    expected = caller + list((themed | browser).items())
    assert record.block == sorted(
        expected, key=lambda entry: entry[0].lower()
    )  # the order of _wcsicmp
    assert install.ini("last-status.ini") == status(mode)
    if (
        mode == "full-dark"
    ):  # the first launch saves the host through the Windows profile API: UTF-16, seven keys
        assert (install.tenebrix / "settings.ini").read_bytes()[:2] == b"\xff\xfe"
        assert install.ini("settings.ini") == {
            "Paltalk": {"Exe": win(install.host), "Hashes": install.hashes(), "Experimental": "0"},
            "Info": {"Version": "1.34.7.0", "Qt": "6.11.1.0", "Status": SENTENCE.recognized_build},
            "Appearance": {"BrowserDark": "1"},
        }


def test_plain_start_finds_the_registered_host_and_hands_off_through_the_shell(
    install, uninstall_entry
):
    """Every token reads as elevated under Wine, so a start without --desktop-launch goes to a second launcher
    through the desktop shell: the host gets the shell's environment, and the options the first one was given.
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
    assert wait_for(lambda: install.ini("last-status.ini") == status("qt-only"), 15), install.ini(
        "last-status.ini"
    )
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
    code, messages, shots = first.run("--desktop-launch", answers=(("Return", TITLE, "\t"),))
    assert (code, messages, len(shots)) == (EXIT.done, [], 1)
    assert second.record().command_line == f'"{win(second.host)}" -style Nightveil'
    assert not (first.paltalk / "host-record.txt").exists()


def test_no_host_found_says_so_and_the_file_dialog_picks_one(install):
    install.mark_tested()
    pick = ("Return", SENTENCE.locate_host_title, win(install.host))
    code, messages, shots = install.run("--desktop-launch", answers=("Return", pick))
    assert (code, messages, len(shots)) == (EXIT.done, [SENTENCE.host_missing], 2)
    assert install.record().command_line == f'"{win(install.host)}" -style Nightveil'
    assert install.ini("settings.ini")["Paltalk"]["Exe"] == win(install.host)


@pytest.fixture(scope="module")
def themed_host():
    """A host of a tested build that has loaded its installation's plugin, running for this module."""
    install = Install("themed-host")
    install.mark_tested()
    plugin = win(install.tenebrix / "plugins" / "styles" / "Nightveil.dll")
    (install.paltalk / "host-control.ini").write_text(
        f"[Host]\nStaySeconds=300\nLoadLibrary={plugin}\n"
    )
    try:
        assert (
            install.run("--desktop-launch", "--original", "--paltalk", win(install.host))[0]
            == EXIT.done
        )
        assert install.record().loaded == plugin
        yield install, install.record()
    finally:
        assert not install.settle()


@pytest.mark.parametrize(
    "args, answers, code, messages",
    [
        (["--running", "--paltalk", "{host}"], (), EXIT.host_running, []),
        (["--running", "--paltalk", "{other}\\Paltalk.exe"], (), EXIT.done, []),
        (["--busy"], (), EXIT.host_running, []),
        (["--busy", "--root", "{other}"], (), EXIT.done, []),
        (
            ["--desktop-launch", "--paltalk", "{host}"],
            ("Return",),
            EXIT.host_running,
            [SENTENCE.running],
        ),
    ],
)
def test_beside_a_running_themed_host(themed_host, args, answers, code, messages):
    install, record = themed_host
    paths = {"host": win(install.host), "other": win(install.root / "Other")}
    result = install.run(*[arg.format(**paths) for arg in args], answers=answers)
    assert (result[0], result[1], len(result[2])) == (code, messages, len(answers))
    assert install.record().pid == record.pid  # no second host


SIGNED, PRIMARY = (
    ROOT / "tests/fuzz/corpus/all/manifest-signed.txt"
).read_text(), FIXTURES / "installer/installer-primary.exe"


@pytest.mark.parametrize(
    "text, args, code",
    [  # through the real CNG and WinVerifyTrust; too large or relative: not read
        (SIGNED, "--verify-update-manifest {root}\\latest.jws", EXIT.done),
        (
            SIGNED.ljust(16384, "\n"),
            "--verify-update-manifest {root}\\latest.jws",
            EXIT.not_acceptable,
        ),  # read as it is
        ("A" * 16385, "--verify-update-manifest {root}\\latest.jws", EXIT.bad_use),
        (SIGNED, "--verify-update-manifest latest.jws", EXIT.bad_use),
        (
            "",
            "--verify-update-installer {primary} --size {size} --sha256 {sha256}",
            EXIT.not_acceptable,
        ),  # one signer
        ("", "--probe --paltalk {host}", EXIT.done),
    ],  # host and Qt libraries signed by the test PKI: a signed update
    ids=["signed", "read-as-is", "too-large", "relative", "one-signer", "signed-host"],
)
def test_real_signatures(make_install, text, args, code):
    install = make_install(host_files=FIXTURES / "signed", host=FIXTURES / "signed" / "Paltalk.exe")
    (install.root / "latest.jws").write_text(text)
    values = {
        "root": win(install.root),
        "host": win(install.host),
        "primary": win(PRIMARY),
        "size": PRIMARY.stat().st_size,
        "sha256": hashlib.sha256(PRIMARY.read_bytes()).hexdigest(),
    }
    assert install.run(*args.format(**values).split())[:2] == (code, [])


# Wine's Desktop (0) and Programs (1) folders: name, target (None: a damaged file), the run that removes it (1: --root
# Other, 2: the launcher's own root, 0: none). Wine's SetPath turns '/' into '\': the saved link gets its '/' back.
SHORTCUTS = [
    (0, "Nightveil Mode.lnk", None, 0),
    (0, "Tenebrix Dark Mode.lnk", "{own}\\NightveilMode.exe", 2),
    (1, "Nightveil Mode/Nightveil Mode.lnk", "{other}\\NightveilMode.exe", 1),
    (1, "Nightveil Mode/Paltalk Normal Mode.lnk", "{OWN}/nightveilmode.EXE", 2),
    (1, "Nightveil Mode/Uninstall.lnk", "{own}\\Uninstall.exe", 2),
    (1, "Tenebrix/Readme.lnk", "{own}\\NightveilMode.exe", 0),
    (1, "Tenebrix/Tenebrix Dark Mode.lnk", "{own}x\\NightveilMode.exe", 0),
    (1, "Tenebrix/Tenebrix Normal Mode.lnk", "{own}\\Paltalk.exe", 0),
    (1, "Tenebrix/Tenebrix Support and Recovery.lnk", "{own}\\NightveilMode.exe", 2),
    (1, "Tenebrix/Uninstall Tenebrix.lnk", "{other}\\Uninstall.exe", 1),
]


def test_remove_shortcuts_leading_into_the_root(install):
    user = next(Path(WINE_ENV["WINEPREFIX"], "drive_c", "users").glob("*/AppData/Roaming")).parents[
        1
    ]
    paths = [
        user / ("Desktop", "AppData/Roaming/Microsoft/Windows/Start Menu/Programs")[f] / name
        for f, name, *_ in SHORTCUTS
    ]
    tops = {p if f == 0 else p.parent for p, (f, *_) in zip(paths, SHORTCUTS)}
    tidy = lambda: [
        shutil.rmtree(p) if p.is_dir() else p.unlink(missing_ok=True) for p in tops
    ]  # noqa: E731
    roots = {
        "own": win(install.tenebrix),
        "OWN": win(install.tenebrix).upper(),
        "other": win(install.root / "Other"),
    }
    with open(
        "/tmp/nv-shortcuts.lock", "w"
    ) as lock:  # Wine's Desktop is the user's home, shared by every checkout
        subprocess.run(
            ["flock", "-w", "300", str(lock.fileno())],
            pass_fds=(lock.fileno(),),
            check=True,
            timeout=310,
        )
        try:
            tidy()
            [folder.mkdir() for folder in tops - set(paths)]
            links = [
                a
                for p, (_, _, t, _) in zip(paths, SHORTCUTS)
                if t
                for a in (win(p), t.format(**roots))
            ]
            assert (
                wine(
                    FIXTURES / "nv-link.exe",
                    *links,
                    cwd=install.root,
                    env=environment(),
                    log=install.root / "l.log",
                )[0]
                == 0
            )
            paths[0].write_bytes(b"L\0\0\0 damaged")
            data = paths[3].read_bytes()
            assert data.count(b"\\nightveilmode.EXE") == 1
            paths[3].write_bytes(data.replace(b"\\nightveilmode.EXE", b"/nightveilmode.EXE"))
            for run, args in ((1, ["--root", roots["other"]]), (2, [])):
                assert install.run("--remove-shortcuts", *args)[:2] == (EXIT.done, [])
                assert [p.exists() for p in paths] == [
                    not 0 < removed <= run for *_, removed in SHORTCUTS
                ]
            assert all(
                p.parent.is_dir() for p in paths
            )  # the folders stay, "Nightveil Mode" now empty
        finally:
            tidy()
