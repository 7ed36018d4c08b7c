"""The harness's fixtures, for every test module here."""

from harness import install, make_install, session_keeper, uninstall_entry  # noqa: F401
