# SPDX-License-Identifier: GPL-2.0-or-later
"""One turn of one relay, from its start to its figures."""

import dataclasses
import pathlib
import shutil
import sys
import time

import stream
from delaymeter import DelayMeter

from . import figures
from .turn import Turn

# A stream's beginning, with handshakes and empty buffers, is not what is measured.
_SETTLE_NS = 1_000_000_000
# Where the machine has no time for a stream the round tells about the machine.
_ATTEMPTS = 3


@dataclasses.dataclass(frozen=True)
class Conditions:
    """What all turns have in common."""

    folder: pathlib.Path
    relay_core: int
    seconds: float
    megabits_per_second: float


@dataclasses.dataclass(frozen=True)
class Figures:
    """What one turn gave. Delays are a median and a 99th percentile in milliseconds."""

    cpu_s_per_gigabyte: float
    hop_ms: tuple[float, float]
    end_to_end_ms: tuple[float, float]
    sent: int
    delivered: int
    ways: int  # over how many links or paths the relay got the stream


def measured(relay, latency_ms: int, conditions: Conditions) -> Figures:
    """The figures of a turn. One that loses something or breaks off is repeated, and the last attempt counts whatever it
    gave; raises its AssertionError if that one broke off as well."""
    for _ in range(_ATTEMPTS - 1):
        try:
            found = _turn(relay, latency_ms, conditions)
        except (stream.Ended, stream.TimedOut) as failure:
            _report(relay, latency_ms, failure)
            continue
        if found.delivered == found.sent:
            return found
        _report(relay, latency_ms, f"lost {found.sent - found.delivered} of {found.sent} payloads")
    return _turn(relay, latency_ms, conditions)


def _report(relay, latency_ms, what):
    print(f"{relay.name}, {latency_ms} ms: {what}; once more", file=sys.stderr)


def _turn(relay, latency_ms, conditions):
    shutil.rmtree(conditions.folder, ignore_errors=True)
    conditions.folder.mkdir(parents=True)
    with Turn(conditions.folder, conditions.relay_core, latency_ms, conditions.megabits_per_second) as turn:
        relay.start(turn)
        turn.wait_for_payload_sent_at(turn.sending_since_ns + _SETTLE_NS)
        # A capture makes each datagram dearer for the relay: its processor time is taken without one.
        begin_ns, used_ns = time.monotonic_ns(), turn.relay_cpu_ns()
        time.sleep(conditions.seconds)
        end_ns, used_ns = time.monotonic_ns(), turn.relay_cpu_ns() - used_ns
        with DelayMeter(turn.relay_ports, turn.reader_port, equal_bytes=figures.PAYLOAD_BYTES) as meter:
            hops_begin_ns, hops_begin = time.monotonic_ns(), time.time_ns()
            time.sleep(conditions.seconds)
            hops_end_ns, hops_end = time.monotonic_ns(), time.time_ns()
            turn.wait_for_payload_sent_at(hops_end_ns)
            hops, _ = meter.take(hops_begin, hops_end)
            ways = len(meter.ways())
        records = turn.records()
    stretch = figures.stretch(records, begin_ns, end_ns)
    captured = figures.stretch(records, hops_begin_ns, hops_end_ns)
    return Figures(figures.cpu_s_per_gigabyte(used_ns, stretch.delivered), figures.middle_and_high(hops),
                   figures.middle_and_high(stretch.delays_ms), stretch.sent + captured.sent,
                   stretch.delivered + captured.delivered, ways)
