"""What the user sees: message boxes and prompts, answered by keys, each one photographed
(build/<preset>/e2e-artifacts/<case>-<n>.png)."""
import pytest

from harness import FIXTURES, read_ini, run, win_path, with_machine

PROMPT = ("Automatic compatibility could not be verified. Enable experimental dark mode for this exact build?"
          "\n\nYes: enable it. No: use normal appearance. Cancel: do not launch.")
FALLBACK = "\n\nStarting Paltalk normally."
PLUGIN_MISSING = "The theme plugin is missing. Reinstall Tenebrix. Starting Paltalk normally."
START_FAILED = "Windows could not start Paltalk."
ENTRY_FAILURE = ("The theme launcher could not read or save its files. Reinstall the theme or select a readable "
                 "Paltalk installation.")
NOT_X64 = "This theme requires x64 Paltalk. Native ARM64 and 32-bit Paltalk are not supported."
QT_FLOOR = "This plugin requires release Qt 6.11.1 or newer within Qt 6."
NOT_FOUND = "Paltalk was not found. Install Paltalk first, or select an existing Paltalk.exe in the next dialog."


def quoted(install) -> str:
    return f'"{win_path(install.host)}"'


def mode(install) -> str:
    return install.wait_for_last_status()["Mode"]


def test_missing_host_file_is_reported(install):
    missing = win_path(install.root / "missing" / "Paltalk.exe")
    result = run(install, "--paltalk", missing, answers=("Return",))
    assert (result.code, result.messages) == (4, ["The specified Paltalk.exe was not found."])
    assert result.screenshots[0].exists()
    install.assert_no_host(grace=0)


# --- The experimental prompt for an analysed but unknown build ----------------

def test_prompt_yes_stores_the_approval_and_starts_dark(install):
    result = run(install, "--desktop-launch", "--paltalk", win_path(install.host), answers=("y",))
    assert (result.code, result.messages) == (0, [PROMPT])
    assert install.wait_for_record().command_line == quoted(install) + " -style Nightveil"
    assert mode(install) == "full-dark"
    assert install.settings()["Paltalk"] == {"Exe": win_path(install.host), "Hashes": install.hashes(),
                                             "Experimental": "1"}
    # The approval holds for this exact build: the next launch does not ask.
    install.record_path.unlink()
    again = run(install, "--desktop-launch", "--paltalk", win_path(install.host))
    assert (again.code, again.messages) == (0, [])
    assert install.wait_for_record().command_line == quoted(install) + " -style Nightveil"


@pytest.mark.parametrize("key", ["n", "Return"], ids=["no", "default-is-no"])
def test_prompt_no_starts_normally_and_stores_nothing(install, key):
    result = run(install, "--desktop-launch", "--paltalk", win_path(install.host), answers=(key,))
    assert (result.code, result.messages) == (0, [PROMPT])
    assert install.wait_for_record().command_line == quoted(install)
    assert mode(install) == "normal"
    assert install.settings() == {}


def test_prompt_cancel_starts_nothing(install):
    result = run(install, "--desktop-launch", "--paltalk", win_path(install.host), answers=("Escape",))
    assert (result.code, result.messages) == (2, [PROMPT])
    install.assert_no_host()
    assert install.last_status() is None
    assert install.settings() == {}


def test_prompt_in_the_first_start_is_not_repeated_after_the_hand_off(install):
    result = run(install, "--paltalk", win_path(install.host), answers=("y",))
    assert (result.code, result.messages) == (0, [PROMPT])
    assert install.wait_for_record().command_line == quoted(install) + " -style Nightveil"
    assert mode(install) == "full-dark"


def test_prompt_yes_with_the_plugin_missing_keeps_the_approval_and_starts_normally(make_install):
    install = make_install(plugin=False)
    result = run(install, "--desktop-launch", "--paltalk", win_path(install.host), answers=("y", "Return"))
    assert (result.code, result.messages) == (0, [PROMPT, PLUGIN_MISSING])
    assert install.wait_for_record().command_line == quoted(install)
    assert mode(install) == "normal"
    assert install.settings()["Paltalk"]["Experimental"] == "1"


# --- Fallbacks to a plain host ----------------------------------------------------

def test_missing_plugin_on_a_tested_build_starts_normally(make_install):
    install = make_install(plugin=False)
    install.mark_tested()
    result = run(install, "--desktop-launch", "--paltalk", win_path(install.host), answers=("Return",))
    assert (result.code, result.messages) == (0, [PLUGIN_MISSING])
    assert install.wait_for_record().command_line == quoted(install)
    assert mode(install) == "normal"


@pytest.mark.parametrize("qt, message", [
    ("6.11.0.0", QT_FLOOR),
    ("7.0.0.0", QT_FLOOR),
    ("6.11.1.0-debug", QT_FLOOR),
    ("none", QT_FLOOR),
    ({"Qt6Widgets.dll": "6.11.1.1"}, "Paltalk's Qt DLL versions do not match. Repair Paltalk before installing the "
                                     "theme."),
], ids=["6.11.0", "7.0.0", "debug", "no-version", "mismatch"])
def test_build_that_cannot_be_themed_starts_normally_after_a_message(make_install, qt, message):
    install = make_install(qt=qt)
    result = run(install, "--desktop-launch", "--paltalk", win_path(install.host), answers=("Return",))
    assert (result.code, result.messages) == (0, [message + FALLBACK])
    assert install.wait_for_record().command_line == quoted(install)
    assert mode(install) == "normal"


def test_missing_qt_library_starts_normally_after_a_message(install):
    (install.paltalk / "Qt6Gui.dll").unlink()
    result = run(install, "--desktop-launch", "--paltalk", win_path(install.host), answers=("Return",))
    assert result.messages == ["Required x64 Qt DLLs are missing from the Paltalk installation." + FALLBACK]
    assert result.code == 0
    assert install.wait_for_record().command_line == quoted(install)


def test_32_bit_host_cannot_be_started(make_install):
    """CreateProcessW fails with ERROR_BAD_EXE_FORMAT under a 64-bit Wine: the one message, exit 6."""
    install = make_install(host=with_machine((FIXTURES / "Paltalk.exe").read_bytes(), 0x14C))
    result = run(install, "--desktop-launch", "--paltalk", win_path(install.host), answers=("Return", "Return"))
    assert (result.code, result.messages) == (6, [NOT_X64 + FALLBACK, START_FAILED])
    assert install.last_status() == {"Operation": "create-process", "Error": "193", "Mode": "normal"}
    install.assert_no_host(grace=0)


def test_no_host_found_asks_for_the_file_and_cancel_ends_the_run(install):
    result = run(install, "--desktop-launch", answers=("Return", ("Locate the installed Paltalk.exe", "Escape")))
    assert (result.code, result.messages) == (2, [NOT_FOUND])
    install.assert_no_host(grace=0)


def test_no_host_found_asks_for_the_file_and_launches_the_chosen_one(install):
    picker = ("Locate the installed Paltalk.exe", "Return", win_path(install.host))
    result = run(install, "--desktop-launch", answers=("Return", picker, "n"))
    assert (result.code, result.messages) == (0, [NOT_FOUND, PROMPT])
    assert install.wait_for_record().command_line == quoted(install)
    assert install.settings() == {}


# --- Refusals ------------------------------------------------------------------

def test_unwritable_settings_end_at_the_entrys_message(install):
    (install.tenebrix / "settings.ini").mkdir()
    result = run(install, "--set-browser-dark", "on", answers=("Return",))
    assert (result.code, result.messages) == (1, [ENTRY_FAILURE])


def test_running_host_refuses_a_normal_start(install):
    install.control_host(stay_seconds=60)
    assert run(install, "--desktop-launch", "--original", "--paltalk", win_path(install.host)).code == 0
    first = install.wait_for_record()
    result = run(install, "--desktop-launch", "--original", "--paltalk", win_path(install.host), answers=("Return",))
    assert (result.code, result.messages) == (10, ["Fully exit Paltalk before switching to normal mode."])
    assert install.record().pid == first.pid


def test_running_host_refuses_a_launch(install):
    install.control_host(stay_seconds=60)
    assert run(install, "--desktop-launch", "--original", "--paltalk", win_path(install.host)).code == 0
    first = install.wait_for_record()
    result = run(install, "--desktop-launch", "--paltalk", win_path(install.host), answers=("Return",))
    assert result.code == 10
    assert result.messages == ["Paltalk is already running. Fully exit it using its Exit command, then reopen this "
                               "shortcut. Closing a window to the tray is not enough."]
    assert install.record().pid == first.pid


# --- The installer's configuration -------------------------------------------------

def test_configure_prompt_yes_writes_an_experimental_configuration(install):
    output = install.root / "configuration.ini"
    result = run(install, "--configure", "--output", win_path(output), "--paltalk", win_path(install.host),
                 answers=("y",))
    assert result.code == 0
    assert result.messages == ["This Paltalk build could not be verified for automatic compatibility. Enable "
                               "experimental dark mode for this exact build?\n\n" + win_path(install.host)
                               + "\nPaltalk 1.34.7.0 / Qt 6.11.1.0"]
    assert install.settings() == {}
    written = read_ini(output)
    assert written["Paltalk"]["Experimental"] == "1"
    install.assert_no_host(grace=0)


def test_configure_prompt_no_exits_5_and_writes_nothing(install):
    output = install.root / "configuration.ini"
    result = run(install, "--configure", "--output", win_path(output), "--paltalk", win_path(install.host),
                 answers=("n",))
    assert result.code == 5
    assert not output.exists()


def test_configure_on_a_build_that_cannot_be_themed_shows_why(make_install):
    install = make_install(qt="7.0.0.0")
    output = install.root / "configuration.ini"
    result = run(install, "--configure", "--output", win_path(output), "--paltalk", win_path(install.host),
                 answers=("Return",))
    assert (result.code, result.messages) == (4, [QT_FLOOR])
    assert not output.exists()
