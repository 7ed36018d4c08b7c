"""The compatibility verdict as the real launcher reaches it: a recognized build, a signed later release
(host and Qt libraries signed at test time by the test PKI), an unknown build, and every refusal, seen
through `--probe` (exit code and the configuration it writes) and through a launch.
"""
import pytest

from harness import FIXTURES, QT_MODULES, read_ini, run, win_path, with_machine
from host_harness import (FALLBACK, HOST_VERSION, NOT_X64, QT_FLOOR, QT_MISMATCH, QT_MISSING, RECOGNIZED,
                          SIGNED_UPDATE, START_FAILED, UNRECOGNIZED, profile_layout, quoted_host, require_trusted_pki,
                          sign, sign_host, status, theme_variables)


@pytest.fixture(scope="module")
def pki():
    return require_trusted_pki()


def upper_case_hashes(install):
    (install.tenebrix / "compatibility.ini").write_text(f"[Tested]\nHashes={install.hashes().upper()}\n")


def reordered_hashes(install):
    digests = install.hashes().split("|")
    (install.tenebrix / "compatibility.ini").write_text(f"[Tested]\nHashes={'|'.join(digests[1:] + digests[:1])}\n")


def three_hashes(install):
    (install.tenebrix / "compatibility.ini").write_text(f"[Tested]\nHashes={install.hashes().rpartition('|')[0]}\n")


def other_section(install):
    (install.tenebrix / "compatibility.ini").write_text(f"[Paltalk]\nHashes={install.hashes()}\n")


# --- Analysed builds: recognized, signed update, unknown ---------------------------------------

# (id, installation options, how to prepare it (install, pki), --probe exit code, Status, Qt)
ANALYSED = [
    ("recognized", {}, lambda i, p: i.mark_tested(), 0, RECOGNIZED, "6.11.1.0"),
    ("recognized-unsigned-at-6.12", {"qt": "6.12.0.0"}, lambda i, p: i.mark_tested(), 0, RECOGNIZED, "6.12.0.0"),
    ("signed-update", {}, lambda i, p: sign_host(p, i), 0, SIGNED_UPDATE, "6.11.1.0"),
    ("signed-update-at-6.12", {"qt": "6.12.0.0"}, lambda i, p: sign_host(p, i), 0, SIGNED_UPDATE, "6.12.0.0"),
    ("signed-and-recognized", {}, lambda i, p: (sign_host(p, i), i.mark_tested()), 0, RECOGNIZED, "6.11.1.0"),
    ("unknown", {}, lambda i, p: None, 5, UNRECOGNIZED, "6.11.1.0"),
    ("tested-hashes-in-upper-case", {}, lambda i, p: upper_case_hashes(i), 5, UNRECOGNIZED, "6.11.1.0"),
    ("tested-hashes-in-another-order", {}, lambda i, p: reordered_hashes(i), 5, UNRECOGNIZED, "6.11.1.0"),
    ("three-tested-hashes", {}, lambda i, p: three_hashes(i), 5, UNRECOGNIZED, "6.11.1.0"),
    ("tested-hashes-in-another-section", {}, lambda i, p: other_section(i), 5, UNRECOGNIZED, "6.11.1.0"),
    ("host-signer-only-contains-the-name", {}, lambda i, p: sign_host(p, i, host_signer="paltalk-europe"), 5,
     UNRECOGNIZED, "6.11.1.0"),
    ("host-signed-by-the-qt-signer", {}, lambda i, p: sign_host(p, i, host_signer="qt"), 5, UNRECOGNIZED,
     "6.11.1.0"),
    ("one-library-signed-by-someone-else", {},
     lambda i, p: sign_host(p, i, qt_signers={"Qt6Gui.dll": "someone-else"}), 5, UNRECOGNIZED, "6.11.1.0"),
    ("libraries-unsigned", {}, lambda i, p: sign(p, "paltalk", i.host), 5, UNRECOGNIZED, "6.11.1.0"),
    ("host-unsigned", {}, lambda i, p: [sign(p, "qt", i.paltalk / m) for m in QT_MODULES], 5, UNRECOGNIZED,
     "6.11.1.0"),
]


@pytest.mark.parametrize("options, prepare, code, message, qt", [c[1:] for c in ANALYSED],
                         ids=[c[0] for c in ANALYSED])
def test_probe_of_an_analysed_build(make_install, pki, options, prepare, code, message, qt):
    install = make_install(**options)
    prepare(install, pki)
    output = install.root / "probe.ini"
    result = run(install, "--probe", "--output", win_path(output), "--paltalk", win_path(install.host))
    assert (result.code, result.messages) == (code, [])
    assert profile_layout(output) == [
        ("Paltalk", "Exe", win_path(install.host)), ("Paltalk", "Hashes", install.hashes()),
        ("Paltalk", "Experimental", "0"), ("Info", "Version", HOST_VERSION), ("Info", "Qt", qt),
        ("Info", "Status", message), ("Appearance", "BrowserDark", "1")]
    install.assert_no_host(grace=0)
    assert install.settings() == {}


@pytest.mark.parametrize("signed", [False, True], ids=["recognized", "signed-update"])
def test_compatible_build_starts_full_dark_without_a_prompt(install, pki, signed):
    if signed:
        sign_host(pki, install)
        assert not (install.tenebrix / "compatibility.ini").exists()
    else:
        install.mark_tested()
    result = run(install, "--desktop-launch", "--paltalk", win_path(install.host))
    assert (result.code, result.messages) == (0, [])
    record = install.wait_for_record()
    assert record.command_line == quoted_host(install) + " -style Nightveil"
    for name, value in theme_variables(install, install.hashes()).items():
        assert record.get(name) == value, name
    assert record.get("WEBVIEW2_DEFAULT_BACKGROUND_COLOR") == "FF202328"
    assert install.last_status() == status("full-dark")
    assert install.settings()["Paltalk"]["Experimental"] == "0"
    assert install.settings()["Info"]["Status"] == (SIGNED_UPDATE if signed else RECOGNIZED)


# --- Refusals ------------------------------------------------------------------------------

def host_with_machine(machine):
    return {"host": with_machine((FIXTURES / "Paltalk.exe").read_bytes(), machine)}


def without(module):
    return lambda install: (install.paltalk / module).unlink()


# (id, installation options, change after laying out, Status, Version, Qt)
REFUSED = [
    ("x86-host", host_with_machine(0x14C), None, NOT_X64, "", ""),
    ("arm64-host", host_with_machine(0xAA64), None, NOT_X64, "", ""),
    ("text-file-host", {"host": b"MZ but not a program\r\n"}, None, NOT_X64, "", ""),
    ("qt-core-missing", {}, without("Qt6Core.dll"), QT_MISSING, HOST_VERSION, ""),
    ("qt-widgets-missing", {}, without("Qt6Widgets.dll"), QT_MISSING, HOST_VERSION, "6.11.1.0"),
    ("qt-gui-x86", {}, lambda i: (i.paltalk / "Qt6Gui.dll").write_bytes(
        with_machine((i.paltalk / "Qt6Gui.dll").read_bytes(), 0x14C)), QT_MISSING, HOST_VERSION, "6.11.1.0"),
    ("qt-6.11.0", {"qt": "6.11.0.0"}, None, QT_FLOOR, HOST_VERSION, ""),
    ("qt-7.0", {"qt": "7.0.0.0"}, None, QT_FLOOR, HOST_VERSION, ""),
    ("qt-debug", {"qt": "6.11.1.0-debug"}, None, QT_FLOOR, HOST_VERSION, ""),
    ("qt-gui-debug", {"qt": {"Qt6Gui.dll": "6.11.1.0-debug"}}, None, QT_FLOOR, HOST_VERSION, "6.11.1.0"),
    ("qt-without-version", {"qt": "none"}, None, QT_FLOOR, HOST_VERSION, ""),
    ("qt-version-mismatch", {"qt": {"Qt6Widgets.dll": "6.11.1.1"}}, None, QT_MISMATCH, HOST_VERSION, "6.11.1.0"),
    ("qt-gui-newer-than-core", {"qt": {"Qt6Gui.dll": "6.12.0.0"}}, None, QT_MISMATCH, HOST_VERSION, "6.11.1.0"),
]


def refused_install(make_install, options, change):
    install = make_install(**options)
    if change:
        change(install)
    return install


@pytest.mark.parametrize("options, change, message, version, qt", [c[1:] for c in REFUSED],
                         ids=[c[0] for c in REFUSED])
def test_probe_of_a_build_that_cannot_be_themed(make_install, options, change, message, version, qt):
    install = refused_install(make_install, options, change)
    output = install.root / "probe.ini"
    result = run(install, "--probe", "--output", win_path(output), "--paltalk", win_path(install.host))
    assert (result.code, result.messages) == (4, [])
    assert profile_layout(output) == [
        ("Paltalk", "Exe", win_path(install.host)), ("Paltalk", "Hashes", ""), ("Paltalk", "Experimental", "0"),
        ("Info", "Version", version), ("Info", "Qt", qt), ("Info", "Status", message),
        ("Appearance", "BrowserDark", "1")]


def test_probe_of_a_file_of_another_name(install):
    other = install.paltalk / "Messenger.exe"
    install.host.rename(other)
    output = install.root / "probe.ini"
    assert run(install, "--probe", "--output", win_path(output), "--paltalk", win_path(other)).code == 4
    assert read_ini(output)["Info"]["Status"] == "Select the installed Paltalk.exe."


LAUNCH_REFUSED = ["qt-core-missing", "qt-6.11.0", "qt-7.0", "qt-debug", "qt-version-mismatch"]


@pytest.mark.parametrize("options, change, message", [c[1:4] for c in REFUSED if c[0] in LAUNCH_REFUSED],
                         ids=[c[0] for c in REFUSED if c[0] in LAUNCH_REFUSED])
def test_launch_of_a_build_that_cannot_be_themed_starts_it_plainly(make_install, options, change, message):
    install = refused_install(make_install, options, change)
    result = run(install, "--desktop-launch", "--paltalk", win_path(install.host), answers=("Return",))
    assert (result.code, result.messages) == (0, [message + FALLBACK])
    record = install.wait_for_record()
    assert record.command_line == quoted_host(install)
    assert [name for name in theme_variables(install, "") if record.get(name) is not None] == []
    assert install.last_status() == status("normal")
    assert install.settings() == {}


def test_launch_of_a_32_bit_host_is_refused_and_cannot_be_started(make_install):
    """The plain start is tried, and a 64-bit-only Wine cannot create a 32-bit process
    (ERROR_BAD_EXE_FORMAT): the second message, exit 6, and the error in last-status.ini."""
    install = make_install(**host_with_machine(0x14C))
    result = run(install, "--desktop-launch", "--paltalk", win_path(install.host), answers=("Return", "Return"))
    assert (result.code, result.messages) == (6, [NOT_X64 + FALLBACK, START_FAILED])
    assert install.last_status() == status("normal", error="193")
    install.assert_no_host(grace=0)
    assert install.settings() == {}
