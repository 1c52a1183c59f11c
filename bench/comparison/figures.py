# SPDX-License-Identifier: GPL-2.0-or-later
"""Calculation of the figures."""

import statistics
import typing

PAYLOAD_BYTES = 1316
BYTES_PER_GIGABYTE = 1e9
_NS_PER_S, _NS_PER_MS = 1e9, 1e6

# Record format of stampedstream.
RECORD = "=Qqq"


class Record(typing.NamedTuple):
    """One received payload; times of the monotonic clock."""

    number: int
    sent_ns: int
    read_ns: int


class Stretch(typing.NamedTuple):
    """Counts and delays of the payloads that were sent in an interval."""

    sent: int
    delivered: int
    delays_ms: list[float]  # sorted


def stretch(records, begin_ns: int, end_ns: int) -> Stretch:
    """The payloads sent from `begin_ns` to before `end_ns`. Their number is calculated from the numbers of the payloads
    before and after, so `records` must contain some of these. Duplicates count once."""
    before = max(record.number for record in records if record.sent_ns < begin_ns)
    after = min(record.number for record in records if record.sent_ns >= end_ns)
    arrived = {record.number: record for record in reversed(records) if before < record.number < after}
    return Stretch(after - before - 1, len(arrived),
                   sorted((record.read_ns - record.sent_ns) / _NS_PER_MS for record in arrived.values()))


def cpu_s_per_gigabyte(cpu_ns: int, payloads: int) -> float:
    """Seconds of CPU time per gigabyte of delivered payload."""
    return cpu_ns / _NS_PER_S / (payloads * PAYLOAD_BYTES / BYTES_PER_GIGABYTE)


def median_and_p99(ordered) -> tuple[float, float]:
    """Median and 99th percentile of sorted values."""
    return ordered[len(ordered) // 2], ordered[len(ordered) * 99 // 100]


def spread(values) -> dict:
    """Median, minimum and maximum of the rounds."""
    return {"median": statistics.median(values), "min": min(values), "max": max(values)}
