# SPDX-License-Identifier: GPL-2.0-or-later
"""From what was read to figures."""

import statistics
import typing

PAYLOAD_BYTES = 1316
BYTES_PER_GIGABYTE = 1e9
_NS_PER_S, _NS_PER_MS = 1e9, 1e6

# As stampedstream writes it.
RECORD = "=Qqq"


class Record(typing.NamedTuple):
    """One payload that was read; moments by the monotonic clock."""

    number: int
    sent_ns: int
    read_ns: int


class Stretch(typing.NamedTuple):
    """What became of the payloads that were sent in a stretch of time."""

    sent: int
    delivered: int
    delays_ms: list[float]  # sorted


def stretch(records, begin_ns: int, end_ns: int) -> Stretch:
    """The payloads sent from `begin_ns` to before `end_ns`. How many there were follows from the numbers of those around
    them, so `records` has to hold some from before and from after; what is read twice counts once."""
    before = max(record.number for record in records if record.sent_ns < begin_ns)
    after = min(record.number for record in records if record.sent_ns >= end_ns)
    came = {record.number: record for record in reversed(records) if before < record.number < after}
    return Stretch(after - before - 1, len(came),
                   sorted((record.read_ns - record.sent_ns) / _NS_PER_MS for record in came.values()))


def cpu_s_per_gigabyte(cpu_ns: int, payloads: int) -> float:
    """Seconds of processor time for each gigabyte of delivered payload."""
    return cpu_ns / _NS_PER_S / (payloads * PAYLOAD_BYTES / BYTES_PER_GIGABYTE)


def middle_and_high(ordered) -> tuple[float, float]:
    """Median and 99th percentile of sorted values."""
    return ordered[len(ordered) // 2], ordered[len(ordered) * 99 // 100]


def spread(values) -> dict:
    """How rounds differ."""
    return {"median": statistics.median(values), "min": min(values), "max": max(values)}
