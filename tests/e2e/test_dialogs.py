"""What the user sees: message boxes and prompts, answered by keys, each one photographed
(build/<preset>/e2e-artifacts/<case>-<n>.png)."""
import pytest

from harness import read_ini, run, win_path

PROMPT = ("Automatic compatibility could not be verified. Enable experimental dark mode for this exact build?"
          "\n\nYes: enable it. No: use normal appearance. Cancel: do not launch.")
PLUGIN_MISSING = "The theme plugin is missing. Reinstall Tenebrix. Starting Paltalk normally."
ENTRY_FAILURE = ("The theme launcher could not read or save its files. Reinstall the theme or select a readable "
                 "Paltalk installation.")
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
