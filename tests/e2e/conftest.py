"""Session and per-case fixtures of the black-box tests."""
import pytest

import harness


@pytest.fixture(scope="session", autouse=True)
def wine_session():
    """A display for dialogs and one Wine session kept up for all cases."""
    assert harness.LAUNCHER.exists(), f"build the windows preset first: {harness.LAUNCHER} is missing"
    display = harness.start_display()
    keeper = harness.SessionKeeper()
    yield
    keeper.stop()
    if display:
        harness.stop_display(display)


@pytest.fixture
def make_install(request):
    """Makes fresh installations for this case and, afterwards, waits until nothing of them runs."""
    made = []

    def make(suffix: str = "", **options) -> harness.Install:
        name = request.node.name + (f"-{suffix}" if suffix else "")
        install = harness.make_install(name, **options)
        made.append(install)
        return install

    yield make
    for install in made:
        install.stop_host()
    stragglers = [pid for install in made for pid in install.settle()]
    assert not stragglers, f"processes of the case were still running and were killed: {stragglers}"


@pytest.fixture
def install(make_install) -> harness.Install:
    """The usual case: a host with release Qt 6.11.1 and the plugin in place."""
    return make_install()
