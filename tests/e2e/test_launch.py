"""Launches of the fixture host: command line, working directory, environment,
last-status.ini, the hand-off through the desktop shell, and the fallbacks."""
import uuid

import pytest

from harness import MANAGED, fold, probe_environment, run, win_path

NORMAL = {"Operation": "create-process", "Error": "0", "Mode": "normal"}
FULL_DARK = {"Operation": "create-process", "Error": "0", "Mode": "full-dark"}
QT_ONLY = {"Operation": "create-process", "Error": "0", "Mode": "qt-only"}


def quoted(install) -> str:
    return f'"{win_path(install.host)}"'


def expected_block(caller, managed: dict[str, str]):
    """The caller's variables less the ones the launcher manages, plus `managed`, in the order of _wcsicmp."""
    entries = [(n, v) for n, v in caller if n.upper() not in MANAGED] + list(managed.items())
    return sorted(entries, key=lambda entry: fold(entry[0]))


def dark_variables(install, hashes: str) -> dict[str, str]:
    root = win_path(install.tenebrix)
    return {"QT_PLUGIN_PATH": root + "\\plugins", "QT_STYLE_OVERRIDE": "Nightveil", "NIGHTVEIL_HOME": root,
            "NIGHTVEIL_HASHES": hashes}


# --- The host's command line, directory and last status ---------------------

@pytest.mark.parametrize("direct", [False, True], ids=["through-shell", "desktop-launch"])
def test_original_starts_the_host_with_its_quoted_path(install, direct):
    args = (["--desktop-launch"] if direct else []) + ["--original", "--paltalk", win_path(install.host)]
    result = run(install, *args)
    assert (result.code, result.messages) == (0, [])
    record = install.wait_for_record()
    assert record.command_line == quoted(install)
    assert record.current_directory == win_path(install.paltalk)
    assert install.wait_for_last_status() == NORMAL


def test_host_path_with_blanks_is_quoted_whole(make_install):
    install = make_install(host_folder="Paltalk Messenger")
    assert run(install, "--desktop-launch", "--original", "--paltalk", win_path(install.host)).code == 0
    record = install.wait_for_record()
    assert record.command_line == quoted(install)
    assert record.current_directory == win_path(install.paltalk)


def test_tested_build_starts_full_dark_and_is_remembered(install):
    install.mark_tested()
    result = run(install, "--desktop-launch", "--paltalk", win_path(install.host))
    assert (result.code, result.messages) == (0, [])
    assert install.wait_for_record().command_line == quoted(install) + " -style Nightveil"
    assert install.last_status() == FULL_DARK
    assert install.settings() == {
        "Paltalk": {"Exe": win_path(install.host), "Hashes": install.hashes(), "Experimental": "0"},
        "Info": {"Version": "1.34.7.0", "Qt": "6.11.1.0",
                 "Status": "Recognized build; camera fix still needs live hardware validation."},
        "Appearance": {"BrowserDark": "1"},
    }


def test_configured_host_is_launched_without_arguments(install):
    """A plain double-click: the host comes from settings.ini."""
    install.mark_tested()
    install.write_settings(f"[Paltalk]\nExe={win_path(install.host)}\n")
    result = run(install, "--desktop-launch")
    assert (result.code, result.messages) == (0, [])
    assert install.wait_for_record().command_line == quoted(install) + " -style Nightveil"


@pytest.mark.parametrize("stored, override, mode", [
    ("0", None, QT_ONLY), ("0", "on", FULL_DARK), (None, "off", QT_ONLY), ("off", None, FULL_DARK)],
    ids=["stored-off", "stored-off-override-on", "unset-override-off", "stored-text-off-is-on"])
def test_browser_preference_decides_the_dark_mode(install, stored, override, mode):
    install.mark_tested()
    if stored is not None:
        install.write_settings(f"[Appearance]\nBrowserDark={stored}\n")
    args = ["--desktop-launch", "--paltalk", win_path(install.host)]
    if override:
        args += ["--browser-dark", override]
    assert run(install, *args).code == 0
    record = install.wait_for_record()
    assert record.command_line == quoted(install) + " -style Nightveil"
    assert install.last_status() == mode
    assert (record.get("WEBVIEW2_DEFAULT_BACKGROUND_COLOR") == "FF202328") == (mode == FULL_DARK)


# --- The environment block ---------------------------------------------------

THEMED_CALLER = {
    # A caller that itself came from a full-dark launch, with a user's own Qt settings on top.
    "QT_PLUGIN_PATH": "Z:\\elsewhere\\plugins", "qt_style_override": "Fusion", "NIGHTVEIL_HOME": "Z:\\old",
    "NIGHTVEIL_HASHES": "old", "NIGHTVEIL_DIAGNOSTICS": "Z:\\old.txt",
    "WEBVIEW2_DEFAULT_BACKGROUND_COLOR": "FF202328", "TENEBRIX_WEBVIEW_BACKGROUND_ACTIVE": "present",
    "TENEBRIX_WEBVIEW_BACKGROUND_ORIGINAL": "00000000",
    "WEBVIEW2_ADDITIONAL_BROWSER_ARGUMENTS": '"--enable-features=WebContentsForceDark"',
    "TENEBRIX_WEBVIEW_ARGS_ACTIVE": "absent",
    "NV_E2E_ODD": 'a "quoted" value = with equals', "NV_E2E_EMPTY": "",
}


def test_normal_launch_passes_the_callers_environment_and_restores_the_users_values(install):
    caller = probe_environment(install, THEMED_CALLER)
    assert run(install, "--desktop-launch", "--original", "--paltalk", win_path(install.host),
               env=THEMED_CALLER).code == 0
    received = install.wait_for_record().variables()
    assert received == expected_block(caller, {"WEBVIEW2_DEFAULT_BACKGROUND_COLOR": "00000000"})


def test_full_dark_launch_sets_the_theme_and_saves_the_users_values(install):
    install.mark_tested()
    user = {"QT_PLUGIN_PATH": "Z:\\elsewhere\\plugins", "NV_E2E_ODD": "x=y",
            "WEBVIEW2_ADDITIONAL_BROWSER_ARGUMENTS": "--mute-audio --enable-features=A"}
    caller = probe_environment(install, user)
    assert run(install, "--desktop-launch", "--paltalk", win_path(install.host), env=user).code == 0
    received = install.wait_for_record().variables()
    assert received == expected_block(caller, dark_variables(install, install.hashes()) | {
        "WEBVIEW2_DEFAULT_BACKGROUND_COLOR": "FF202328",
        "TENEBRIX_WEBVIEW_BACKGROUND_ACTIVE": "absent",
        "WEBVIEW2_ADDITIONAL_BROWSER_ARGUMENTS": '"--mute-audio" "--enable-features=A,WebContentsForceDark"',
        "TENEBRIX_WEBVIEW_ARGS_ACTIVE": "present",
        "TENEBRIX_WEBVIEW_ARGS_ORIGINAL": "--mute-audio --enable-features=A",
    })


def test_qt_only_launch_from_a_themed_caller_gets_the_users_browser_values_back(install):
    install.mark_tested()
    caller = probe_environment(install, THEMED_CALLER)
    assert run(install, "--desktop-launch", "--browser-dark", "off", "--diagnostic-layout", "Z:\\d\\layout.txt",
               "--paltalk", win_path(install.host), env=THEMED_CALLER).code == 0
    received = install.wait_for_record().variables()
    assert received == expected_block(caller, dark_variables(install, install.hashes()) | {
        "NIGHTVEIL_DIAGNOSTICS": "Z:\\d\\layout.txt", "WEBVIEW2_DEFAULT_BACKGROUND_COLOR": "00000000"})
    assert install.last_status() == QT_ONLY


def test_diagnostic_layout_has_no_effect_on_a_normal_launch(install):
    assert run(install, "--desktop-launch", "--original", "--diagnostic-layout", "Z:\\d\\layout.txt",
               "--paltalk", win_path(install.host)).code == 0
    assert install.wait_for_record().get("NIGHTVEIL_DIAGNOSTICS") is None


# --- The hand-off through the desktop shell ----------------------------------
# Under Wine every token reads as elevated, so without --desktop-launch the
# launcher asks the shell to start a second launcher, which starts the host
# with the shell's environment, not the caller's.

def test_hand_off_starts_the_host_from_a_second_launcher(install):
    marker = {"NV_E2E_CALLER": uuid.uuid4().hex}
    result = run(install, "--original", "--paltalk", win_path(install.host), env=marker)
    assert (result.code, result.messages) == (0, [])
    record = install.wait_for_record()
    assert record.get("NV_E2E_CALLER") is None, "the host inherited the first launcher's environment"
    assert record.command_line == quoted(install)
    assert install.wait_for_last_status() == NORMAL


def test_desktop_launch_starts_the_host_itself(install):
    marker = {"NV_E2E_CALLER": uuid.uuid4().hex}
    assert run(install, "--desktop-launch", "--original", "--paltalk", win_path(install.host), env=marker).code == 0
    assert install.wait_for_record().get("NV_E2E_CALLER") == marker["NV_E2E_CALLER"]


@pytest.mark.parametrize("args, mode, style", [
    (["--original"], NORMAL, False),
    (["--browser-dark", "off"], QT_ONLY, True),
    ([], FULL_DARK, True),
], ids=["original", "browser-dark-off", "plain"])
def test_hand_off_forwards_the_launch_options(install, args, mode, style):
    """A tested build would start dark: only a forwarded --original or --browser-dark changes that."""
    install.mark_tested()
    marker = {"NV_E2E_CALLER": uuid.uuid4().hex}
    result = run(install, *args, "--diagnostic-layout", "Z:\\d\\layout.txt", "--paltalk", win_path(install.host),
                 env=marker)
    assert (result.code, result.messages) == (0, [])
    record = install.wait_for_record()
    assert record.get("NV_E2E_CALLER") is None
    assert install.wait_for_last_status() == mode
    assert record.command_line == quoted(install) + (" -style Nightveil" if style else "")
    assert record.get("NIGHTVEIL_DIAGNOSTICS") == ("Z:\\d\\layout.txt" if style else None)


# --- Fallbacks and failures --------------------------------------------------

def test_unknown_build_in_silent_mode_starts_normally_and_stores_nothing(install):
    result = run(install, "--desktop-launch", "--silent", "--paltalk", win_path(install.host))
    assert (result.code, result.messages) == (0, [])
    assert install.wait_for_record().command_line == quoted(install)
    assert install.last_status() == NORMAL
    assert install.settings() == {}


def test_missing_plugin_in_silent_mode_starts_normally(make_install):
    install = make_install(plugin=False)
    install.mark_tested()
    result = run(install, "--desktop-launch", "--silent", "--paltalk", win_path(install.host))
    assert (result.code, result.messages) == (0, [])
    assert install.wait_for_record().command_line == quoted(install)
    assert install.last_status() == NORMAL


@pytest.mark.parametrize("original", [True, False], ids=["original", "launch"])
def test_start_failure_of_a_non_pe_host_is_recorded(make_install, original):
    install = make_install(host=b"not a program\r\n")
    args = ["--desktop-launch", "--silent", "--paltalk", win_path(install.host)] + (["--original"] if original else [])
    result = run(install, *args)
    assert (result.code, result.messages) == (6, [])
    assert install.last_status() == {"Operation": "create-process", "Error": "193", "Mode": "normal"}
    install.assert_no_host(grace=0)


def test_configured_host_that_has_gone_falls_through_to_discovery(install):
    install.write_settings("[Paltalk]\nExe=Z:\\nowhere\\Paltalk.exe\n")
    result = run(install, "--desktop-launch", "--silent")
    assert (result.code, result.messages) == (2, [])
    install.assert_no_host(grace=0)
