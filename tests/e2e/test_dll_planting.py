"""DLL planting: a DLL beside the launcher, named like a library it uses, is never loaded. Wine is
told to prefer a native DLL of those names over its own, as Windows does for a library that is not
a Known DLL."""
import shutil
from dataclasses import dataclass, field
from pathlib import Path
from typing import Callable

import pytest

from harness import CASES, EXIT, FIXTURES, SENTENCE, WINE_ENV, Install, environment
from harness import release_manifest, update_host, wine, win
from harness import make_install, session_keeper  # noqa: F401  (fixtures)

# version.dll is left out under Wine: Wine 8's own user32.dll imports it, and Wine resolves that
# import against the program's folder before the program's first line (on Windows user32 is a Known
# DLL, whose imports come from System32). The planted copy then also answers the launcher's own
# later load of that name. check-product.sh still holds version.dll out of the launcher's
# start-time imports.
PLANTED = ("bcrypt", "crypt32", "rstrtmgr", "winhttp", "wintrust", "wtsapi32")
NATIVE_FIRST = {"WINEDLLOVERRIDES": WINE_ENV["WINEDLLOVERRIDES"] + ";" + ",".join(PLANTED) + "=n,b"}
MARKER, STATIC_IMPORT = FIXTURES / "planting" / "nv-marker.dll", "nv-static-import.exe"
FEED = "/downloads/updates/stable/latest.jws"
QUESTION = SENTENCE.update_question_lead + "2.1.0" + SENTENCE.update_question


def planted(install: Install) -> Install:
    """`install` with a marker beside its launcher under each planted name, its build tested and due
    a check."""
    for name in PLANTED:
        shutil.copy2(MARKER, install.tenebrix / f"{name}.dll")
    install.mark_tested()
    updates = next(Path(WINE_ENV["WINEPREFIX"], "drive_c", "users").glob("*/AppData/Local"))
    shutil.rmtree(updates / "Tenebrix" / "Updates", ignore_errors=True)
    return install


def loaded(folder: Path) -> dict[str, str]:
    """The planted names whose marker was loaded, each with the program that loaded it."""
    return {
        marker.name.lower().removesuffix(".dll.loaded"): marker.read_bytes().decode("utf-16-le")
        for marker in folder.glob("*.loaded")
    }


@dataclass
class Run:
    name: str
    options: Callable[[Install], tuple[str, ...]]
    offers_update: bool = False  # the update host answers the feed with a newer release
    answers: tuple[str, ...] = ()
    messages: list[str] = field(default_factory=list)
    starts_host: bool = False


RUNS = [
    Run("dark-launch", lambda i: ("--paltalk", win(i.host), "--desktop-launch"), starts_host=True),
    Run(
        # hands off to a second start through Wine's desktop shell, which starts the host
        "feed-check",
        lambda i: ("--paltalk", win(i.host)),
        offers_update=True,
        answers=("n",),
        messages=[QUESTION],
        starts_host=True,
    ),
    Run("support-report", lambda i: ("--support-report", win(i.root / "report.json"))),
    Run("running", lambda i: ("--running", "--paltalk", win(i.host))),
]


@pytest.mark.parametrize("row", RUNS, ids=[row.name for row in RUNS])
def test_no_planted_library_is_loaded(make_install, row):
    install = planted(make_install())
    routes = {}
    if row.offers_update:
        text, setup = release_manifest(17, "2.1.0", FIXTURES / "installer" / "installer-dual.exe")
        (install.root / "latest.jws").write_text(text)
        routes = {FEED: {"file": str(install.root / "latest.jws")}}
    with update_host(routes, CASES / "planting-update.log") as asked:
        code, messages, _ = install.run(
            *row.options(install), env=NATIVE_FIRST, answers=row.answers, timeout=90
        )
        assert (code, messages, asked()) == (
            EXIT.done,
            row.messages,
            [FEED] if row.offers_update else [],
        ), row.name
    if row.starts_host:
        install.record()
    assert loaded(install.tenebrix) == {}, row.name


def test_a_static_import_loads_every_planted_marker(make_install):
    """The check above can fail: a program beside the same markers that imports the libraries the
    ordinary way loads each of them. (Wine, unlike Windows, lets the functions the marker lacks
    through as stubs.)"""
    install = planted(make_install())
    program = shutil.copy2(FIXTURES / "planting" / STATIC_IMPORT, install.tenebrix)
    log = install.root / "static-import.log"
    code, text, _ = wine(program, cwd=install.root, env=environment(NATIVE_FIRST), log=log)
    assert code == 0, text
    assert loaded(install.tenebrix) == {name: win(program) for name in PLANTED}
