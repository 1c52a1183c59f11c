# SPDX-License-Identifier: GPL-2.0-or-later
"""A long stream over links with jitter: memory and descriptors of the receiver's process, per minute."""

import dataclasses
import math
import os
import pathlib
import random
import shutil
import time

import stream
from ports import udp_drops

# Delays of two urban mobile networks and of one in a train, in each direction.
LINKS = ("127.0.0.11,delay=20ms,jitter=30ms", "127.0.0.12,delay=35ms,jitter=60ms", "127.0.0.13,delay=10ms,jitter=90ms")
MEGABITS_PER_SECOND = 8.0
LATENCY_MS = 2000
PIECE_SECONDS = 10  # length of the repeated file
MINUTE_S = 60
# Rows before are warm-up.
SETTLED_AFTER_MINUTES = 2
# Tolerance for the C library's allocator. One leaked byte per datagram would be 2.7 MiB in an hour.
ALLOWED_GROWTH_KIB = 1024


@dataclasses.dataclass(frozen=True)
class Sample:
    """Resources of the receiver's process and totals of the stream at one time."""

    minute: int
    rss_kib: int
    handles: int
    system_drops: int  # datagrams dropped because the receiver's buffer was full
    delivered_bytes: int
    srt_dropped: int  # packets that arrived too late or not at all

    def text(self) -> str:
        """One row of the table."""
        return (f"{self.minute:>6} {self.rss_kib:>10} {self.handles:>8} {self.system_drops:>13} "
                f"{self.delivered_bytes:>15} {self.srt_dropped:>12}")


HEADER = f"{'minute':>6} {'RSS KiB':>10} {'handles':>8} {'system drops':>13} {'bytes delivered':>15} {'SRT dropped':>12}"


def rss_kib(pid) -> int:
    """Resident memory of a process."""
    for line in pathlib.Path(f"/proc/{pid}/status").read_text(encoding="ascii").splitlines():
        if line.startswith("VmRSS:"):
            return int(line.split()[1])
    raise LookupError(f"no VmRSS for {pid}")


def handles(pid) -> int:
    """Number of open descriptors of a process."""
    return len(os.listdir(f"/proc/{pid}/fd"))


def findings(samples) -> list[str]:
    """Errors in the rows: growth after the warm-up, or loss; empty without errors."""
    settled = [sample for sample in samples if sample.minute >= SETTLED_AFTER_MINUTES]
    found = []
    if not settled:
        return ["too short for a result"]
    first, last = settled[0], settled[-1]
    if last.rss_kib - first.rss_kib > ALLOWED_GROWTH_KIB:
        found.append(f"memory grew from {first.rss_kib} to {last.rss_kib} KiB")
    if max(sample.handles for sample in settled) > first.handles:
        found.append(f"handles grew from {first.handles} to {max(sample.handles for sample in settled)}")
    if last.srt_dropped:
        found.append(f"{last.srt_dropped} packets of the stream were lost")
    return found


def run(folder, minutes) -> int:
    """Streams for `minutes` and prints a row for each; returns the exit code."""
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    file = folder / "piece"
    file.write_bytes(random.Random(1).randbytes(int(MEGABITS_PER_SECOND * 1e6 / 8) * PIECE_SECONDS))
    # The listener writes each stream to a file; the data is not needed.
    (folder / "stream").symlink_to(os.devnull)
    listener = stream.SrtReceiver(folder)
    engine = stream.EngineHost(listener.port)
    bond = stream.BondSender(engine.port, LINKS, "--seed", "1")
    caller = None
    try:
        bond.wait_for_links()
        # One piece more, so that the last row is within the stream.
        repeat = math.ceil(minutes * MINUTE_S / PIECE_SECONDS) + 1
        caller = stream.SrtSender(bond.port, file, megabits_per_second=MEGABITS_PER_SECOND, latency_ms=LATENCY_MS,
                                  repeat=repeat)
        caller.wait_for(lambda line: line["event"] == "connected", "the caller is connected")
        begin = time.monotonic()
        print(f"{MEGABITS_PER_SECOND:g} Mbit/s for {minutes} min over {len(LINKS)} links with jitter, latency "
              f"{LATENCY_MS} ms\n{HEADER}", flush=True)
        samples = []
        for minute in range(1, minutes + 1):
            time.sleep(max(0.0, begin + minute * MINUTE_S - time.monotonic()))
            progress = [line for line in listener.objects if line["event"] == "progress"][-1]
            samples.append(Sample(minute, rss_kib(engine.pid), handles(engine.pid), udp_drops(engine.port),
                                  progress["bytes"], progress["dropped"]))
            print(samples[-1].text(), flush=True)
        end = listener.wait_for(lambda line: line["event"] == "ended", "the stream ends")
        lost = file.stat().st_size * repeat - end["bytes"]
        print(f"total: {end['bytes']} bytes delivered, {lost} lost, longest pause {end['longestPauseMs']} ms, "
              f"{end['retransmitted']} packets retransmitted, load {os.getloadavg()[0]:.1f}")
    finally:
        for program in filter(None, (caller, bond, engine, listener)):
            program.kill()
    found = findings(samples) + ([f"{lost} bytes of the stream were lost"] if lost else [])
    for text in found:
        print(f"Error: {text}")
    return 1 if found else 0
