# SPDX-License-Identifier: GPL-2.0-or-later
"""Sends the same stream through the receiver and through other relays in alternating runs, and prints CPU time and delay of
each. The exit code is 1 if a row lost payloads or failed, and 2 if a program is missing."""

import argparse
import json
import os
import pathlib
import shutil
import subprocess
import sys

from . import figures
from .measure import Conditions, measured
from .relays import RELAYS

_PROJECT = pathlib.Path(__file__).resolve().parents[2]
_FOLDER = pathlib.Path(os.environ.get("TARVOLINE_BUILD", _PROJECT / "build")) / "compare-relays"
# Capacity of libsrt's default receive buffer in packets.
_SRT_BUFFER_PAYLOADS = 8192
_EXIT_LOST, _EXIT_USAGE = 1, 2
_HEADER = ("relay", "latency", "CPU s per GB", "added, ms", "99 %", "end to end, ms", "99 %", "lost")


def _options():
    parser = argparse.ArgumentParser(prog="bench/compare-relays", description=__doc__)
    parser.add_argument("--json", metavar="FILE", help="write the figures to a JSON file")
    parser.add_argument("--rounds", type=int, default=7, help="runs of each row (%(default)s)")
    parser.add_argument("--seconds", type=float, default=5, help="length of each of a run's two measurements (%(default)s)")
    parser.add_argument("--mbit", type=float, default=20, help="payload in Mbit/s (%(default)s)")
    parser.add_argument("--latency", type=int, nargs="+", default=[20, 1000], metavar="MS",
                        help="latency of SRT and buffer of RIST; one row each (%(default)s)")
    options = parser.parse_args()
    if min(options.rounds, options.seconds, options.mbit, *options.latency) <= 0:
        parser.error("numbers must be positive")
    if max(options.latency) / 1000 * options.mbit * 1e6 / 8 / figures.PAYLOAD_BYTES > _SRT_BUFFER_PAYLOADS:
        parser.error(f"latency and rate exceed SRT's receive buffer of {_SRT_BUFFER_PAYLOADS} packets")
    return options


def _missing() -> list[str]:
    programs = {program: package for relay in RELAYS for program, package in relay.programs.items()}
    return [f"{program} ({f'Debian package {package}' if package else 'build it: bench/compare-relays does'})"
            for program, package in programs.items() if not shutil.which(program)]


def _packages() -> dict[str, str]:
    """The versions of the Debian packages; empty on other systems."""
    names = sorted({package for relay in RELAYS for package in relay.programs.values() if package})
    if not shutil.which("dpkg-query"):
        return {}
    listed = subprocess.run(["dpkg-query", "--show", *names], capture_output=True, encoding="utf-8", check=False).stdout
    return dict(line.split("\t") for line in listed.splitlines())


def _row(relay, latency_ms, runs) -> dict:
    return {"relay": relay.key, "name": relay.name, "latencyMs": latency_ms, "setting": relay.setting.format(latency_ms),
            "cpuSecondsPerGigabyte": figures.spread([run.cpu_s_per_gigabyte for run in runs]),
            "hopMedianMs": figures.spread([run.hop_ms[0] for run in runs]),
            "hop99PercentMs": figures.spread([run.hop_ms[1] for run in runs]),
            "endToEndMedianMs": figures.spread([run.end_to_end_ms[0] for run in runs]),
            "endToEnd99PercentMs": figures.spread([run.end_to_end_ms[1] for run in runs]),
            "paths": min(run.paths for run in runs),
            "sentPayloads": sum(run.sent for run in runs),
            "deliveredPayloads": sum(run.delivered for run in runs)}


def _cells(row) -> list[str]:
    def spread(key, digits):
        return "{median:.{0}f} ({min:.{0}f} to {max:.{0}f})".format(digits, **row[key])
    return [row["name"], row["setting"], spread("cpuSecondsPerGigabyte", 1), spread("hopMedianMs", 2),
            spread("hop99PercentMs", 2), spread("endToEndMedianMs", 1), spread("endToEnd99PercentMs", 1),
            str(row["sentPayloads"] - row["deliveredPayloads"])]


def _table(rows) -> str:
    """The rows as a Markdown table."""
    lines = [_HEADER, ["---"] * len(_HEADER), *map(_cells, rows)]
    widths = [max(map(len, column)) for column in zip(*lines)]
    return "\n".join("| " + " | ".join(map(str.ljust, line, widths)) + " |" for line in lines)


def main() -> int:
    """Measures and returns the exit code."""
    options = _options()
    if missing := _missing():
        print("bench/compare-relays: not found: " + ", ".join(missing), file=sys.stderr)
        return _EXIT_USAGE
    cores = sorted(os.sched_getaffinity(0))
    relay_core, other_core = cores[0], cores[-1]
    os.sched_setaffinity(0, {other_core})
    about = {"megabitsPerSecond": options.mbit, "payloadBytes": figures.PAYLOAD_BYTES, "rounds": options.rounds,
             "secondsPerStretch": options.seconds, "relayCore": relay_core, "otherCore": other_core,
             "realTimePriority": os.sched_getscheduler(0) == os.SCHED_FIFO, "packages": _packages(),
             "loadBefore": os.getloadavg()[0]}
    conditions = Conditions(_FOLDER, relay_core, options.seconds, options.mbit)
    runs = {(latency, relay): [] for latency in options.latency for relay in RELAYS}
    for number in range(options.rounds):
        print(f"round {number + 1} of {options.rounds}", file=sys.stderr)
        for (latency, relay), done in runs.items():
            done.append(measured(relay, latency, conditions))
    about["loadAfter"] = os.getloadavg()[0]
    rows = [_row(relay, latency, done) for (latency, relay), done in runs.items()]
    print(f"{options.mbit:g} Mbit/s in payloads of {figures.PAYLOAD_BYTES} bytes, {options.rounds} rounds of "
          f"{options.seconds:g} s, median (min to max); relay on core {relay_core}, the rest on core {other_core}, "
          f"{'real-time' if about['realTimePriority'] else 'ordinary'} priority, load {about['loadBefore']:.1f} to "
          f"{about['loadAfter']:.1f}\n{', '.join(map(' '.join, about['packages'].items()))}\n\n{_table(rows)}")
    if options.json:
        pathlib.Path(options.json).write_text(json.dumps({**about, "rows": rows}, indent=1) + "\n", encoding="utf-8")
    return _EXIT_LOST if any(row["sentPayloads"] != row["deliveredPayloads"] for row in rows) else 0


if __name__ == "__main__":
    try:
        sys.exit(main())
    except (AssertionError, PermissionError) as failure:
        sys.exit(f"bench/compare-relays: {failure}")
