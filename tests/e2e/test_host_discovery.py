"""Finding Paltalk.exe from the uninstall entries of the registry (both roots, both views), the
chooser for several installations, the file dialog when there is none, and the plain double-click
of a fresh installation whose only trace of the host is one uninstall entry.

Every entry is added with `wine reg add` under a name of its own and removed afterwards: the Wine
prefix is shared by the whole run, and a leftover entry would change what every later case finds.
"""
import shutil

import pytest

import harness
from harness import QT_MODULES, TITLE, run, wait_for, win_path
from host_harness import (CHOOSER_INSTRUCTION, DARK_BACKGROUND, FORCE_DARK, NOT_FOUND, PICKER_TITLE, RECOGNIZED,
                          UninstallEntries, dialog_controls, entries_with_test_prefix, known_folder_hosts,
                          place_known_folder_hosts, profile_layout, quoted_host, remove_known_folder_hosts,
                          run_traced, running_images, settings_layout, status, stop_and_settle, sweep_entries,
                          theme_variables)


@pytest.fixture(scope="module", autouse=True)
def clean_registry():
    """No entry of an earlier, killed run and no host in a known folder: discovery sees only this file's entries."""
    sweep_entries()
    remove_known_folder_hosts()
    assert not known_folder_hosts(), f"a host lies in a known folder of the prefix: {known_folder_hosts()}"
    yield
    sweep_entries()
    remove_known_folder_hosts()


@pytest.fixture
def uninstall():
    entries = UninstallEntries()
    yield entries
    entries.remove_all()
    assert not entries_with_test_prefix(), "an uninstall entry of this case was left behind"


def upper(path) -> str:
    return win_path(path).upper()


# --- One installation ----------------------------------------------------------------

SINGLE_WAYS = [
    ("install-location", "HKCU", 32, lambda i: {"InstallLocation": win_path(i.paltalk)}, {}),
    ("install-location-trailing-backslash", "HKLM", 32,
     lambda i: {"InstallLocation": win_path(i.paltalk) + "\\"}, {}),
    ("display-icon-with-index", "HKLM", 64, lambda i: {"DisplayIcon": win_path(i.host) + ",0"}, {}),
    ("quoted-uninstaller-beside-the-host", "HKCU", 64,
     lambda i: {"UninstallString": f'"{win_path(i.paltalk / "uninstall.exe")}" /S'}, {}),
    ("unquoted-uninstaller-with-arguments", "HKLM", 64,
     lambda i: {"UninstallString": win_path(i.paltalk / "Uninstall.EXE") + " /S /LOG=x.exe"}, {}),
    ("expandable-display-icon", "HKLM", 32,
     lambda i: {"DisplayIcon": "%NV_E2E_HOST_HOME%\\Paltalk\\Paltalk.exe,0"}, {"DisplayIcon": "REG_EXPAND_SZ"}),
]


@pytest.mark.parametrize("values, root, view, kinds", [(c[3], c[1], c[2], c[4]) for c in SINGLE_WAYS],
                         ids=[c[0] for c in SINGLE_WAYS])
def test_one_entry_leads_to_the_host_without_a_dialog(install, uninstall, values, root, view, kinds):
    install.mark_tested()
    uninstall.add(root, view, "Paltalk", kinds=kinds, **values(install))
    result = run(install, "--desktop-launch", env={"NV_E2E_HOST_HOME": win_path(install.root)})
    assert (result.code, result.messages) == (0, [])
    assert install.wait_for_record().command_line == quoted_host(install) + " -style Nightveil"
    assert install.settings()["Paltalk"]["Exe"] == win_path(install.host)


def test_one_installation_registered_several_ways_is_one_candidate(install, uninstall):
    """Both roots, both views, every value form, and spellings in other letter case: still no chooser."""
    install.mark_tested()
    uninstall.add("HKCU", 32, "PALTALK MESSENGER", InstallLocation=upper(install.paltalk))
    uninstall.add("HKLM", 32, "Paltalk", DisplayIcon=win_path(install.host) + ",0",
                  UninstallString=f'"{win_path(install.paltalk / "uninstall.exe")}" /S')
    uninstall.add("HKLM", 64, "paltalk", InstallLocation=win_path(install.paltalk) + "\\",
                  DisplayIcon=upper(install.host))
    result = run(install, "--desktop-launch")
    assert (result.code, result.messages) == (0, [])
    assert install.wait_for_record().command_line == quoted_host(install) + " -style Nightveil"
    # The first spelling found was in capitals; what is stored is the file's own spelling.
    assert install.settings()["Paltalk"]["Exe"] == win_path(install.host)


def test_entries_that_do_not_count_are_passed_over(install, make_install, uninstall):
    """Entries of a dark-mode add-on or another program lead to a real host elsewhere, yet are ignored;
    an entry whose folder holds no host yields nothing. One candidate remains, so no chooser."""
    other = make_install("other")
    install.mark_tested()
    uninstall.add("HKCU", 64, "Paltalk Dark Mode", InstallLocation=win_path(other.paltalk))
    uninstall.add("HKLM", 64, "PalTalk DARK theme", DisplayIcon=win_path(other.host))
    uninstall.add("HKLM", 32, "Other Messenger", InstallLocation=win_path(other.paltalk))
    uninstall.add("HKCU", 32, "Paltalk", kinds={"DisplayName": "REG_MULTI_SZ"}, InstallLocation=win_path(other.paltalk))
    uninstall.add("HKLM", 64, "Paltalk Messenger", kinds={"InstallLocation": "REG_MULTI_SZ"},
                  InstallLocation=win_path(other.paltalk))
    uninstall.add("HKLM", 32, "Paltalk (old)", InstallLocation=win_path(other.tenebrix),
                  UninstallString="uninstall.exe /S")
    uninstall.add("HKLM", 64, "Paltalk", InstallLocation=win_path(install.paltalk))
    result = run(install, "--desktop-launch")
    assert (result.code, result.messages) == (0, [])
    assert install.wait_for_record().command_line == quoted_host(install) + " -style Nightveil"
    other.assert_no_host(grace=0)


def test_configured_host_that_has_gone_gives_way_to_the_registered_one(install, uninstall):
    install.mark_tested()
    install.write_settings("[Paltalk]\nExe=Z:\\nowhere\\Paltalk.exe\n")
    uninstall.add("HKCU", 64, "Paltalk", InstallLocation=win_path(install.paltalk))
    result = run(install, "--desktop-launch")
    assert (result.code, result.messages) == (0, [])
    assert install.wait_for_record().command_line == quoted_host(install) + " -style Nightveil"
    assert install.settings()["Paltalk"]["Exe"] == win_path(install.host)


def test_probe_without_a_host_path_uses_discovery(install, uninstall):
    install.mark_tested()
    uninstall.add("HKLM", 32, "Paltalk", DisplayIcon=win_path(install.host))
    output = install.root / "probe.ini"
    result = run(install, "--probe", "--output", win_path(output))
    assert (result.code, result.messages) == (0, [])
    assert profile_layout(output)[0] == ("Paltalk", "Exe", win_path(install.host))
    install.assert_no_host(grace=0)


def test_bare_program_name_leads_to_a_host_in_the_current_directory(install, uninstall):
    """An uninstaller named without a folder points at the current directory, which here holds a host."""
    install.mark_tested()
    for name in ("Paltalk.exe", *QT_MODULES):
        shutil.copy2(install.paltalk / name, install.root / name)
    uninstall.add("HKCU", 32, "Paltalk", UninstallString="Uninstall.exe /S")
    result = run(install, "--desktop-launch")
    assert (result.code, result.messages) == (0, [])
    record_path = install.root / "host-record.txt"
    assert wait_for(record_path.exists, 15), "the host in the current directory was not started"
    record = harness.HostRecord.parse(record_path.read_bytes())
    assert record.command_line == f'"{win_path(install.root / "Paltalk.exe")}" -style Nightveil'
    assert install.settings()["Paltalk"]["Exe"] == win_path(install.root / "Paltalk.exe")
    install.assert_no_host(grace=0)


# --- Several installations: the chooser ------------------------------------------------

@pytest.fixture
def two_hosts(install, make_install, uninstall):
    """The launcher's own installation (found first, in HKCU) and a second one (HKLM)."""
    second = make_install("second")
    install.mark_tested()  # the two hosts are the same build
    uninstall.add("HKCU", 32, "Paltalk", InstallLocation=win_path(install.paltalk))
    uninstall.add("HKLM", 64, "Paltalk Messenger", DisplayIcon=win_path(second.host) + ",0")
    return install, second


def chooser_buttons(stderr: str) -> list[tuple[int, str]]:
    controls = dialog_controls(stderr)
    assert [c.text for c in controls if c.window_class == "Static"] == [CHOOSER_INSTRUCTION]
    return [(c.control_id, c.text) for c in controls if c.window_class == "Button"]


def test_two_installations_offer_a_choice_and_the_second_is_started(two_hosts):
    first, second = two_hosts
    # A typed Tab moves the focus from the first command link to the second; Return presses it.
    result = run_traced(first, "--desktop-launch", answers=((TITLE, "Return", "\t"),))
    assert (result.code, result.messages) == (0, [])
    assert result.screenshots[0].exists()
    assert chooser_buttons(result.stderr) == [
        (100, win_path(first.host)), (101, win_path(second.host)), (200, "Browse for another installation"),
        (2, "Cancel")]
    assert second.wait_for_record().command_line == quoted_host(second) + " -style Nightveil"
    first.assert_no_host(grace=0)
    assert first.settings()["Paltalk"]["Exe"] == win_path(second.host)


def test_browse_in_the_chooser_opens_the_file_dialog(two_hosts, make_install):
    first, second = two_hosts
    third = make_install("third")
    picked = (PICKER_TITLE, "Return", win_path(third.host))
    result = run(first, "--desktop-launch", answers=((TITLE, "Return", "\t\t"), picked))
    assert (result.code, result.messages) == (0, [])
    assert len(result.screenshots) == 2
    assert third.wait_for_record().command_line == quoted_host(third) + " -style Nightveil"
    first.assert_no_host(grace=0)
    second.assert_no_host(grace=0)


def test_cancel_in_the_chooser_ends_the_run_without_the_file_dialog(two_hosts):
    first, second = two_hosts
    result = run(first, "--desktop-launch", answers=("Escape",))
    assert (result.code, result.messages) == (2, [])
    assert len(result.screenshots) == 1
    first.assert_no_host(grace=0)
    second.assert_no_host(grace=0)
    assert not (first.tenebrix / "settings.ini").exists()


def test_two_installations_in_silent_mode_start_nothing(two_hosts):
    first, second = two_hosts
    result = run(first, "--desktop-launch", "--silent")
    assert (result.code, result.messages) == (2, [])
    first.assert_no_host(grace=0)
    second.assert_no_host(grace=0)


def test_known_folders_come_after_the_registry_in_their_order(install, uninstall):
    uninstall.add("HKLM", 64, "Paltalk", InstallLocation=win_path(install.paltalk))
    try:
        placed = place_known_folder_hosts()
        result = run_traced(install, "--desktop-launch", answers=("Escape",))
    finally:
        remove_known_folder_hosts()
    assert (result.code, result.messages) == (2, [])
    expected = [win_path(install.host)] + placed + ["Browse for another installation", "Cancel"]
    assert chooser_buttons(result.stderr) == list(zip([100, 101, 102, 103, 200, 2], expected))
    install.assert_no_host(grace=0)


# --- Nothing registered ------------------------------------------------------------------

def test_nothing_found_says_so_and_offers_the_file_dialog(install, uninstall):
    """A plain start (no arguments) of a launcher beside which nothing is known."""
    assert not entries_with_test_prefix()
    result = run(install, answers=("Return", (PICKER_TITLE, "Escape")))
    assert (result.code, result.messages) == (2, [NOT_FOUND])
    assert len(result.screenshots) == 2 and all(shot.exists() for shot in result.screenshots)
    install.assert_no_host()
    assert not (install.tenebrix / "settings.ini").exists()
    assert install.last_status() is None


# --- The plain double-click of a fresh installation --------------------------------------

def test_plain_start_finds_judges_remembers_and_starts_the_registered_host(install, uninstall):
    """No arguments, no settings.ini: the one uninstall entry leads to the host, compatibility.ini
    recognizes it, settings.ini is written, and the host starts full-dark. Under Wine the launcher
    hands the start to a second launcher through the desktop shell; both are gone while the host runs."""
    install.mark_tested()
    install.control_host(stay_seconds=60)
    uninstall.add("HKLM", 64, "Paltalk", InstallLocation=win_path(install.paltalk),
                  UninstallString=f'"{win_path(install.paltalk / "uninstall.exe")}"')
    try:
        result = run(install)
        assert (result.code, result.messages) == (0, [])
        record = install.wait_for_record()
        assert record.command_line == quoted_host(install) + " -style Nightveil"
        assert record.current_directory == win_path(install.paltalk)
        for name, value in (theme_variables(install, install.hashes()) | {
                "WEBVIEW2_DEFAULT_BACKGROUND_COLOR": DARK_BACKGROUND,
                "WEBVIEW2_ADDITIONAL_BROWSER_ARGUMENTS": FORCE_DARK,
                "TENEBRIX_WEBVIEW_BACKGROUND_ACTIVE": "absent", "TENEBRIX_WEBVIEW_ARGS_ACTIVE": "absent",
                "NIGHTVEIL_DIAGNOSTICS": None, "TENEBRIX_WEBVIEW_BACKGROUND_ORIGINAL": None,
                "TENEBRIX_WEBVIEW_ARGS_ORIGINAL": None}).items():
            assert record.get(name) == value, name
        assert install.wait_for_last_status() == status("full-dark")
        assert profile_layout(install.tenebrix / "settings.ini") == settings_layout(install, status_text=RECOGNIZED)
        # Neither launcher waits for the host.
        assert wait_for(lambda: "nightveilmode.exe" not in running_images(install), 10), running_images(install)
        assert "paltalk.exe" in running_images(install), "the host ended before its time"
    finally:
        stop_and_settle(install)
