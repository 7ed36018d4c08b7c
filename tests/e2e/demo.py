"""The main job, shown: NightveilMode.exe under Wine starts the fixture host of
a recognized build in full-dark, and we print what the host received."""
from __future__ import annotations

import sys

import harness

THEME = ("QT_PLUGIN_PATH", "QT_STYLE_OVERRIDE", "NIGHTVEIL_HOME", "NIGHTVEIL_HASHES", "NIGHTVEIL_DIAGNOSTICS",
         "WEBVIEW2_DEFAULT_BACKGROUND_COLOR", "WEBVIEW2_ADDITIONAL_BROWSER_ARGUMENTS",
         "TENEBRIX_WEBVIEW_BACKGROUND_ACTIVE", "TENEBRIX_WEBVIEW_BACKGROUND_ORIGINAL",
         "TENEBRIX_WEBVIEW_ARGS_ACTIVE", "TENEBRIX_WEBVIEW_ARGS_ORIGINAL")


def main() -> int:
    install = harness.make_install("demo")
    install.mark_tested()  # compatibility.ini names this fixture build as the tested one
    print(f"Installation: {install.tenebrix}")
    print(f"Host:         {install.host}\n")
    print(f"> wine NightveilMode.exe --paltalk {harness.win_path(install.host)}")
    result = harness.run(install, "--paltalk", harness.win_path(install.host), timeout=60)
    print(f"exit code {result.code}\n")
    record = install.wait_for_record(timeout=30)
    print("The host received:")
    print(f"  command line      {record.command_line}")
    print(f"  current directory {record.current_directory}")
    for name in THEME:
        value = record.get(name)
        if value is not None:
            print(f"  {name}={value}")
    status = install.wait_for_last_status()
    print("\nlast-status.ini [Launch]:")
    for key, value in status.items():
        print(f"  {key}={value}")
    print("\nsettings.ini:")
    for section, keys in install.settings().items():
        print(f"  [{section}]")
        for key, value in keys.items():
            print(f"  {key}={value}")
    install.stop_host()
    install.settle()
    return 0 if result.code == 0 and status.get("Mode") == "full-dark" else 1


if __name__ == "__main__":
    sys.exit(main())
