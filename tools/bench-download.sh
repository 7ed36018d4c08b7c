#!/usr/bin/env bash
# Times the installer download under Wine against the local update host: a
# 100 MiB release fetched by download_to_file (download_probe.exe, bytes on
# disk) beside curl on the same URL; where our time goes (the same request read
# by WinHttpReadData alone, the writes and the flush alone); the file's checks
# (sha256_file_hex, and the whole verify_installer, whose first signature
# check fails on the unsigned file) beside sha256sum; the probe's peak memory
# growth during a 10 MiB, a 100 MiB and a 64 KiB download, from its /proc
# entry; the same loop again with a clock around each read and write, to show
# where its time goes. Medians of N runs (argument, 5), and the machine's load
# over the run. Ends with "ratio R", R = download_to_file's time / (reads
# alone + writes alone + flush) (goal 1.15 or less); the line above it is the
# ratio to curl's time, for the record. Builds the Windows preset, and maps the
# update host for the run and unmaps it after (root).
set -euo pipefail
cd "$(dirname "$0")/.."
. tools/bench-session.sh
# Evaluated when the session ends, so $build is read then.
# shellcheck disable=SC2016
finish_also='rm -rf "$build/bench-download"'
NV_PKI=$build/pki NV_FEED_PROBE=$build/tests/feed_probe.exe NV_E2E_CASES=$build/bench-download \
  /usr/bin/python3 - "${1:-5}" "$build" <<'PY'
import os, statistics, subprocess, sys, time
from pathlib import Path

sys.path.insert(0, "tests/e2e")
from harness import CASES, environment, kill, update_host, win
import test_feed  # noqa: F401  prepares Wine and checks the host name

MiB, build = 1 << 20, Path(sys.argv[2])
PROBE, HOST = build / "bench" / "download_probe.exe", "updates.tenebrix.test"
paths = {size: f"/downloads/bench-{size}.exe" for size in (64 << 10, 10 * MiB, 100 * MiB)}
big, ours, small, theirs, written, traced = (
    100 * MiB,
    *(CASES / f"{name}.part" for name in ("ours", "small", "curl", "write", "trace")),
)


def status(pid: int, key: str) -> int:  # kB
    return int(
        next(line.split()[1] for line in open(f"/proc/{pid}/status") if line.startswith(key + ":"))
    )


def probe(*args: str) -> tuple[list[str], int]:
    """The probe's figures and, for a download, its peak growth in kB from just before it to its
    end."""
    proc = subprocess.Popen(
        ["wine", PROBE, *args],
        stdin=subprocess.PIPE,
        stdout=subprocess.PIPE,
        stderr=subprocess.DEVNULL,
        env=environment(),
        text=True,
        start_new_session=True,
    )
    try:
        assert proc.stdout.readline() == "start\n"
        growth = 0
        if args[0] == "download":  # the probe waits for a line here, and again after its answer
            base = status(proc.pid, "VmRSS")
            Path(f"/proc/{proc.pid}/clear_refs").write_text("5")  # VmHWM starts again from VmRSS
            proc.stdin.write("\n"), proc.stdin.flush()
        answer = proc.stdout.readline().split()
        if args[0] == "download":
            growth = status(proc.pid, "VmHWM") - base
            proc.stdin.write("\n"), proc.stdin.flush()
        proc.wait(60)
    finally:
        kill(proc)
    assert answer[0] == "ok", f"{args}: {answer}"
    return answer[1:], growth


def download(size: int) -> tuple[float, int]:
    target = ours if size == big else small
    target.unlink(missing_ok=True)
    (got, ms), growth = probe("download", paths[size], str(size), win(target))
    assert int(got) == size == target.stat().st_size
    return float(ms), growth


def curl() -> tuple[float, float]:
    """curl's time, and the time to fsync its file after it (download_to_file ends with
    FlushFileBuffers)."""
    seconds = subprocess.run(
        [
            "curl",
            "-sSf",
            "-o",
            theirs,
            "--cacert",
            build / "pki" / "update-root.crt",
            "--resolve",
            f"{HOST}:443:127.0.0.1",
            "-w",
            "%{time_total}",
            f"https://{HOST}{paths[big]}",
        ],
        check=True,
        capture_output=True,
        text=True,
        timeout=300,
    ).stdout
    assert theirs.stat().st_size == big
    begin, fd = time.monotonic(), os.open(theirs, os.O_RDONLY)
    os.fsync(fd), os.close(fd)
    return float(seconds) * 1000, (time.monotonic() - begin) * 1000


def trace() -> list[str]:
    traced.unlink(missing_ok=True)
    figures = probe("trace", paths[big], str(big), win(traced))[0]
    assert int(figures[0]) == big == traced.stat().st_size
    return figures[1:]


def write() -> list[str]:
    written.unlink(missing_ok=True)
    return probe("write", win(written), str(big))[0]


def sha256sum() -> tuple[float, str]:
    begin = time.monotonic()
    digest = subprocess.run(
        ["sha256sum", ours], check=True, capture_output=True, text=True
    ).stdout.split()[0]
    return (time.monotonic() - begin) * 1000, digest


def line(name: str, runs: list, unit: str = "ms") -> float:
    runs, digits = [float(r) for r in runs], int(unit == "MiB")
    median = statistics.median(runs)
    print(
        f"  {name:32}"
        + " ".join(f"{r:7.{digits}f}" for r in runs)
        + f" {unit}, median {median:.{digits}f}"
    )
    return median


rounds, runs, load = range(int(sys.argv[1])), {}, [os.getloadavg()[0]]
with update_host({path: {"size": size} for size, path in paths.items()}, CASES / "requests.log"):
    timed = [
        ("ours", lambda: download(big)),
        ("curl", curl),
        ("write", write),
        ("read", lambda: probe("read", paths[big], str(big))[0]),
        ("trace", trace),
    ]
    # Interleaved, so that a busy moment of the machine falls on all of them, and each round starts
    # with another one, so that none always follows the same neighbour.
    for at in rounds:
        turn = timed[at % len(timed) :] + timed[: at % len(timed)]
        for name, run in turn + [
            ("64 KiB", lambda: download(64 << 10)),
            ("10 MiB", lambda: download(10 * MiB)),
        ]:
            runs.setdefault(name, []).append(run())
        load.append(os.getloadavg()[0])
    digests = [sha256sum() for _ in rounds]
    checks = [probe("verify", win(ours), str(big), digests[0][1])[0] for _ in rounds]
load.append(os.getloadavg()[0])

print(
    f"100 MiB release, {len(rounds)} runs, {os.cpu_count()} cores,"
    f" load (1-minute average) {min(load):.1f} to {max(load):.1f}"
)
mine = line("download_to_file", [ms for ms, _ in runs["ours"]])
theirs_ms = line("curl", [ms for ms, _ in runs["curl"]])
line("  fsync of curl's file after it", [ms for _, ms in runs["curl"]])
print("where download_to_file's time goes")
reads = line("WinHttpReadData only", [ms for _, ms in runs["read"]])
writes = line("WriteFile only", [w for w, _ in runs["write"]])
flush = line("FlushFileBuffers", [f for _, f in runs["write"]])
print("the loop again, each read and write timed in it")
line("whole", [t[0] for t in runs["trace"]])
line("request and file opened", [t[1] for t in runs["trace"]])
line("WinHttpReadData", [t[2] for t in runs["trace"]])
line("  of it, reads over 5 ms", [t[6] for t in runs["trace"]])
line("  the number of those", [t[5] for t in runs["trace"]], "reads")
line("WriteFile", [t[3] for t in runs["trace"]])
line("FlushFileBuffers", [t[4] for t in runs["trace"]])
print("checks of the downloaded file")
line("sha256_file_hex", [c[0] for c in checks])
line(f"verify_installer (gives {checks[0][2]})", [c[1] for c in checks])
line("sha256sum", [ms for ms, _ in digests])
print("peak memory growth during download_to_file")
runs["100 MiB"] = runs["ours"]
# The last: what the first HTTPS request costs, whatever its size.
for name in ("10 MiB", "100 MiB", "64 KiB"):
    line(name, [kb / 1024 for _, kb in runs[name]], "MiB")
print(f"ratio to curl {mine / theirs_ms:.2f}")
print(f"ratio {mine / (reads + writes + flush):.2f}")
PY
