"""The main job, shown: NightveilMode.exe under Wine starts the fixture host of a recognized build
in full-dark (through a second launcher started by the desktop shell); we print what the host
received."""

from harness import MANAGED, Install, wait_for, win

install = Install("demo")
install.mark_tested()  # compatibility.ini names this fixture build as the tested one
print(f"Installation {install.tenebrix}\n\n> wine NightveilMode.exe --paltalk {win(install.host)}")
code = install.run("--paltalk", win(install.host), timeout=60)[0]
record = install.record()
wait_for(lambda: install.ini("last-status.ini"), 15)
print(
    f"exit code {code}\n\nThe host received:\n  command line      {record.command_line}\n"
    f"  current directory {record.directory}\n"
    + "".join(f"  {n}={v}\n" for n, v in record.block if n.startswith(MANAGED))
)
for name in ("last-status.ini", "settings.ini"):
    print(name)
    for section, keys in install.ini(name).items():
        print(f"  [{section}]")
        for key, value in keys.items():
            print(f"  {key}={value}")
install.settle()
full_dark = install.ini("last-status.ini")["Launch"]["Mode"] == "full-dark"
raise SystemExit(0 if code == 0 and full_dark else 1)
