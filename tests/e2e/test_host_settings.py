"""settings.ini as a launch leaves it, the environment block of a full-dark and a qt-only launch, and
the approval of an unknown build tied to one exact path."""
from harness import probe_environment, run, win_path
from host_harness import (PROMPT, RECOGNIZED, file_stamp, passed_through, profile_layout, quoted_host,
                          settings_layout, sleep_past_timestamp_granularity, status, theme_variables)


def launch(install, *extra, **options):
    return run(install, "--desktop-launch", "--paltalk", win_path(install.host), *extra, **options)


def relaunch(install, *extra, **options):
    """A further launch of the same installation, once the host of the last one has written its record."""
    install.wait_for_record()
    install.record_path.unlink()
    return launch(install, *extra, **options)


# --- settings.ini ----------------------------------------------------------------------------

def test_first_launch_writes_seven_keys_and_a_second_leaves_the_file_alone(install):
    install.mark_tested()
    settings = install.tenebrix / "settings.ini"
    assert (launch(install).code, settings.exists()) == (0, True)
    assert profile_layout(settings) == settings_layout(install)
    assert not (install.tenebrix / "settings.ini.tmp").exists()
    before = file_stamp(settings)
    sleep_past_timestamp_granularity()
    result = relaunch(install)
    assert (result.code, result.messages) == (0, [])
    assert install.wait_for_record().command_line == quoted_host(install) + " -style Nightveil"
    assert file_stamp(settings) == before


def test_save_keeps_an_unknown_section_when_nothing_changed_and_drops_it_on_a_rewrite(install):
    install.mark_tested()
    settings = install.tenebrix / "settings.ini"
    assert launch(install).code == 0
    settings.write_bytes(settings.read_bytes() + "[Extra]\r\nKey=kept\r\n".encode("utf-16-le"))
    before = file_stamp(settings)
    sleep_past_timestamp_granularity()
    assert relaunch(install).code == 0
    assert file_stamp(settings) == before
    # "off" is no "0": the preference counts as on, and the save writes it back as "1".
    text = settings.read_bytes()
    settings.write_bytes(text.replace("BrowserDark=1".encode("utf-16-le"), "BrowserDark=off".encode("utf-16-le")))
    assert relaunch(install).code == 0
    assert install.last_status() == status("full-dark")
    assert profile_layout(settings) == settings_layout(install)


def test_stored_preference_off_survives_the_save_and_gives_qt_only(install):
    """--set-browser-dark writes in place into a missing file (no FF FE); the launch's save replaces
    it with the marked file of seven keys and keeps the "0"."""
    install.mark_tested()
    settings = install.tenebrix / "settings.ini"
    assert run(install, "--set-browser-dark", "off").code == 0
    assert not settings.read_bytes().startswith(b"\xff\xfe")
    assert launch(install).code == 0
    assert install.wait_for_record().command_line == quoted_host(install) + " -style Nightveil"
    assert install.last_status() == status("qt-only")
    assert profile_layout(settings) == settings_layout(install, browser_dark="0")


def test_changed_status_rewrites_the_file(install):
    """A stored sentence that differs from the verdict's is brought up to date, the rest alike."""
    install.mark_tested()
    settings = install.tenebrix / "settings.ini"
    assert launch(install).code == 0
    text = settings.read_bytes().decode("utf-16-le")
    settings.write_bytes(text.replace(RECOGNIZED, "Something else.").encode("utf-16-le"))
    assert relaunch(install).code == 0
    assert profile_layout(settings) == settings_layout(install)


# --- The environment block ------------------------------------------------------------------

USER = {
    "WEBVIEW2_DEFAULT_BACKGROUND_COLOR": "00000000",
    "WEBVIEW2_ADDITIONAL_BROWSER_ARGUMENTS": "--disable-features=WebContentsForceDark,Foo --lang=de "
                                             "--enable-features=A:p/1",
    "NV_E2E_ODD": 'a "quoted" value = with equals', "NV_E2E_EMPTY": "", "nv_e2e_lower": "x",
    "QT_PLUGIN_PATH": "Z:\\user\\plugins", "NIGHTVEIL_DIAGNOSTICS": "Z:\\user\\d.txt",
}


def test_full_dark_block(install):
    install.mark_tested()
    caller = probe_environment(install, USER)
    result = launch(install, env=USER)
    assert (result.code, result.messages) == (0, [])
    received = install.wait_for_record().variables()
    assert received == passed_through(caller, theme_variables(install, install.hashes()) | {
        "WEBVIEW2_DEFAULT_BACKGROUND_COLOR": "FF202328",
        "TENEBRIX_WEBVIEW_BACKGROUND_ACTIVE": "present",
        "TENEBRIX_WEBVIEW_BACKGROUND_ORIGINAL": "00000000",
        "WEBVIEW2_ADDITIONAL_BROWSER_ARGUMENTS":
            '"--lang=de" "--enable-features=A:p/1,WebContentsForceDark" "--disable-features=Foo"',
        "TENEBRIX_WEBVIEW_ARGS_ACTIVE": "present",
        "TENEBRIX_WEBVIEW_ARGS_ORIGINAL": USER["WEBVIEW2_ADDITIONAL_BROWSER_ARGUMENTS"],
    })
    assert install.last_status() == status("full-dark")


def test_chained_full_dark_launch_saves_the_users_values_not_its_own(install):
    """A host started from a full-dark host's environment: the markers put the user's values back first."""
    install.mark_tested()
    assert launch(install, env=USER).code == 0
    themed = {n: v for n, v in install.wait_for_record().variables() if n.startswith(("WEBVIEW2", "TENEBRIX"))}
    assert relaunch(install, env=USER | themed).code == 0
    again = {n: v for n, v in install.wait_for_record().variables() if n.startswith(("WEBVIEW2", "TENEBRIX"))}
    assert again == themed


def test_qt_only_block_from_a_themed_caller(install):
    """Stored preference off: the Qt variables are set, the embedded-browser values are the user's own
    (restored from the markers of a full-dark parent), and no marker is left."""
    install.mark_tested()
    assert run(install, "--set-browser-dark", "off").code == 0
    themed_user = {"NV_E2E_ODD": "x=y", "WEBVIEW2_DEFAULT_BACKGROUND_COLOR": "FF202328",
                   "TENEBRIX_WEBVIEW_BACKGROUND_ACTIVE": "present", "TENEBRIX_WEBVIEW_BACKGROUND_ORIGINAL": "00FF00FF",
                   "WEBVIEW2_ADDITIONAL_BROWSER_ARGUMENTS": '"--enable-features=WebContentsForceDark"',
                   "TENEBRIX_WEBVIEW_ARGS_ACTIVE": "absent", "QT_STYLE_OVERRIDE": "Fusion"}
    caller = probe_environment(install, themed_user)
    result = launch(install, "--diagnostic-layout", "Z:\\d\\layout.txt", env=themed_user)
    assert (result.code, result.messages) == (0, [])
    received = install.wait_for_record().variables()
    assert received == passed_through(caller, theme_variables(install, install.hashes()) | {
        "NIGHTVEIL_DIAGNOSTICS": "Z:\\d\\layout.txt", "WEBVIEW2_DEFAULT_BACKGROUND_COLOR": "00FF00FF"})
    assert install.last_status() == status("qt-only")


def test_browser_dark_off_override_gives_qt_only_with_the_users_values_untouched(install):
    install.mark_tested()
    caller = probe_environment(install, USER)
    assert launch(install, "--browser-dark", "off", env=USER).code == 0
    received = install.wait_for_record().variables()
    assert received == passed_through(caller, theme_variables(install, install.hashes()) | {
        "WEBVIEW2_DEFAULT_BACKGROUND_COLOR": USER["WEBVIEW2_DEFAULT_BACKGROUND_COLOR"],
        "WEBVIEW2_ADDITIONAL_BROWSER_ARGUMENTS": USER["WEBVIEW2_ADDITIONAL_BROWSER_ARGUMENTS"]})
    assert install.last_status() == status("qt-only")
    # The override is for this run only: settings.ini keeps the preference on.
    assert install.settings()["Appearance"]["BrowserDark"] == "1"


# --- The approval of an unknown build belongs to one path ---------------------------------------

def approve(install, exe: str) -> None:
    install.write_settings(f"[Paltalk]\nExe={exe}\nHashes={install.hashes()}\nExperimental=1\n")


def test_approval_for_the_same_build_at_another_path_asks_again(install, make_install):
    moved = make_install("moved")  # the same build, installed elsewhere, was approved there
    approve(install, win_path(moved.host))
    before = file_stamp(install.tenebrix / "settings.ini")
    result = launch(install, answers=("n",))
    assert (result.code, result.messages) == (0, [PROMPT])
    assert install.wait_for_record().command_line == quoted_host(install)
    assert install.last_status() == status("normal")
    assert file_stamp(install.tenebrix / "settings.ini") == before


def test_approval_for_a_path_differing_only_in_letter_case_holds(install):
    approve(install, win_path(install.host).upper())
    settings = install.tenebrix / "settings.ini"
    before = file_stamp(settings)
    result = launch(install)
    assert (result.code, result.messages) == (0, [])
    assert install.wait_for_record().command_line == quoted_host(install) + " -style Nightveil"
    assert install.last_status() == status("full-dark")
    assert file_stamp(settings) == before  # a launch that rests on an approval writes nothing
