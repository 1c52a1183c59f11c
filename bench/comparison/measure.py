# SPDX-License-Identifier: GPL-2.0-or-later
"""Measurement of one run of a relay."""

import dataclasses
import pathlib
import shutil
import sys
import time

import stream
from delaymeter import DelayMeter

from . import figures
from .relayrun import Run

# The start of a stream, with handshakes and empty buffers, is not measured.
_SETTLE_NS = 1_000_000_000
# Runs that fail because of other load are repeated.
_ATTEMPTS = 3


@dataclasses.dataclass(frozen=True)
class Conditions:
    """Parameters of all runs."""

    folder: pathlib.Path
    relay_core: int
    seconds: float
    megabits_per_second: float


@dataclasses.dataclass(frozen=True)
class Figures:
    """Result of a run. Delays are median and 99th percentile in milliseconds."""

    cpu_s_per_gigabyte: float
    hop_ms: tuple[float, float]
    end_to_end_ms: tuple[float, float]
    sent: int
    delivered: int
    paths: int  # number of links or paths of the stream


def measured(relay, latency_ms: int, conditions: Conditions) -> Figures:
    """The figures of a run. A run that loses payloads or fails is repeated; the result is that of the last attempt, whose
    AssertionError is raised if it fails as well."""
    for _ in range(_ATTEMPTS - 1):
        try:
            found = _run(relay, latency_ms, conditions)
        except (stream.Ended, stream.TimedOut) as failure:
            _report(relay, latency_ms, failure)
            continue
        if found.delivered == found.sent:
            return found
        _report(relay, latency_ms, f"lost {found.sent - found.delivered} of {found.sent} payloads")
    return _run(relay, latency_ms, conditions)


def _report(relay, latency_ms, what):
    print(f"{relay.name}, {latency_ms} ms: {what}; repeated", file=sys.stderr)


def _run(relay, latency_ms, conditions):
    shutil.rmtree(conditions.folder, ignore_errors=True)
    conditions.folder.mkdir(parents=True)
    with Run(conditions.folder, conditions.relay_core, latency_ms, conditions.megabits_per_second) as run:
        relay.start(run)
        run.wait_for_payload_sent_at(run.sending_since_ns + _SETTLE_NS)
        # A packet capture increases the cost per datagram, so the CPU time is measured without one.
        begin_ns, used_ns = time.monotonic_ns(), run.relay_cpu_ns()
        time.sleep(conditions.seconds)
        end_ns, used_ns = time.monotonic_ns(), run.relay_cpu_ns() - used_ns
        with DelayMeter(run.relay_ports, run.reader_port, equal_bytes=figures.PAYLOAD_BYTES) as meter:
            hops_begin_ns, hops_begin = time.monotonic_ns(), time.time_ns()
            time.sleep(conditions.seconds)
            hops_end_ns, hops_end = time.monotonic_ns(), time.time_ns()
            run.wait_for_payload_sent_at(hops_end_ns)
            hops, _ = meter.take(hops_begin, hops_end)
            paths = len(meter.paths())
        records = run.records()
    stretch = figures.stretch(records, begin_ns, end_ns)
    captured = figures.stretch(records, hops_begin_ns, hops_end_ns)
    return Figures(figures.cpu_s_per_gigabyte(used_ns, stretch.delivered), figures.median_and_p99(hops),
                   figures.median_and_p99(stretch.delays_ms), stretch.sent + captured.sent,
                   stretch.delivered + captured.delivered, paths)
