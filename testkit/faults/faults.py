# SPDX-License-Identifier: GPL-2.0-or-later
"""The faults and their execution."""

import concurrent.futures
import contextlib
import dataclasses
import random
import shutil
import time
from collections.abc import Callable

import stream
from ports import udp_drops
from timelimits import PROGRAM_TIMEOUT_S

from .streampath import OTHER_SENDER_ID, SENDER_ID, Pace, StreamPath

# After the first received bytes, when the stream is stable.
_FAULT_AFTER_S = 2
# Two processors cannot serve 200 senders of 8 Mbit/s; the senders share this rate.
_SHARED_MEGABITS = 20.0
# Two processors do not always serve 400 programs within two seconds.
_SHARED_LATENCY_MS = 8000


@dataclasses.dataclass(frozen=True)
class Fault:
    """One row. `settings` are the options of the links, `strike` is the action on the running programs, `longer_s` the
    additional length of the stream in seconds."""

    name: str
    settings: tuple = ("", "", "")
    covered: bool = True  # whether SRT's latency covers it
    strike: Callable[[StreamPath], None] | None = None
    longer_s: int = 0
    senders: int = 1
    quick: bool = True  # whether it is part of the quick form


FAULTS = (
    Fault("nothing"),
    Fault("links cut one by one, 2 s each", (",cut=3s-5s", ",cut=6s-8s", ",cut=9s-11s")),
    Fault("all links cut for 1 s", (",cut=4s-5s",) * 3),
    Fault("all links cut for 5 s", (",cut=4s-9s",) * 3, covered=False, quick=False),
    Fault("all links cut for 20 s", (",cut=4s-24s",) * 3, covered=False, longer_s=24),
    Fault("one link gets a new port", (",rebind=4s", "", ""), quick=False),
    Fault("every link gets a new port in turn", (",rebind=3s", ",rebind=6s", ",rebind=9s")),
    Fault("100 ms between the links", ("", ",delay=100ms", ",delay=200ms")),
    Fault("10 % loss on one link", ("", ",loss=10%", "")),
    Fault("5 % duplicates on every link", (",duplicate=5%",) * 3),
    Fault("listener killed and restarted", covered=False, strike=StreamPath.restart_listener, longer_s=10),
    Fault("receiver stopped and started", covered=False, strike=StreamPath.restart_receiver, longer_s=10),
    Fault("sender restarted with the same id", covered=False, strike=lambda path: path.restart_sender(SENDER_ID)),
    Fault("sender restarted with a new id", covered=False, strike=lambda path: path.restart_sender(OTHER_SENDER_ID)),
    Fault("receiver stalls for 100 ms", strike=lambda path: path.stall(0.1), quick=False),
    Fault("receiver stalls for 1 s", strike=lambda path: path.stall(1)),
    Fault("receiver stalls for 3 s", covered=False, strike=lambda path: path.stall(3), quick=False),
    Fault("20 senders at once", senders=20),
    Fault("200 senders at once", senders=200, quick=False),
)


def chosen(words, quick) -> list[Fault] | None:
    """The faults whose names contain one of the words, or those of the quick form; None if a word matches no fault."""
    if any(all(word not in fault.name for fault in FAULTS) for word in words):
        return None
    return [fault for fault in FAULTS
            if (any(word in fault.name for word in words) if words else fault.quick or not quick)]


def _make_file(path, size):
    path.write_bytes(random.Random(1).randbytes(size))
    return path


def _row(fault, pace, sent, delivered, **figures) -> dict:
    return {"fault": fault.name, "covered": fault.covered, "megabitsPerSecond": pace.megabits_per_second,
            "sentBytes": sent, "deliveredBytes": delivered, "lostBytes": sent - delivered, **figures}


def _received_bytes(folder) -> int:
    return sum(path.stat().st_size for path in folder.rglob("*") if path.is_file())


def rows(faults, folder, pace, at_once=1):
    """Runs the faults in `folder`, `at_once` concurrently, and yields their rows in the order of `faults`. The row of a
    stream that did not recover has the key "failure" with the reason."""
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)
    with concurrent.futures.ThreadPoolExecutor(at_once) as pool:
        yield from pool.map(lambda fault: _row_or_failure(fault, folder, pace), faults)


def verdict(row) -> str:
    """The error of a row; empty if it is correct."""
    if "failure" in row:
        return "NOT RECOVERED"
    return "LOST" if row["covered"] and row["lostBytes"] else ""


def _row_or_failure(fault, folder, pace) -> dict:
    folder = folder / fault.name.replace(" ", "-").replace("%", "percent")
    try:
        return run(fault, folder, pace)
    except AssertionError as failure:
        return {"fault": fault.name, "covered": fault.covered, "failure": str(failure)}
    finally:
        shutil.rmtree(folder, ignore_errors=True)


def run(fault, folder, pace) -> dict:
    """Sends one stream or several during `fault` and returns the row. Raises an AssertionError if the stream does not
    recover."""
    received = folder / "received"
    received.mkdir(parents=True)
    return (_run_one if fault.senders == 1 else _run_many)(fault, folder, received, pace)


def _run_one(fault, folder, received, pace):
    seconds = pace.seconds + fault.longer_s
    file = _make_file(folder / "sent", pace.size(seconds))
    with contextlib.closing(StreamPath(received, file, pace, fault.settings)) as path:
        if fault.strike:
            time.sleep(pace.latency_ms / 1000 + _FAULT_AFTER_S)
            fault.strike(path)
        totals = path.finish(seconds + PROGRAM_TIMEOUT_S)
    uplinks = [link["up"] for link in totals["links"]]
    return _row(fault, pace, file.stat().st_size, _received_bytes(received), recoveredAfterS=path.recovery_s(),
                longestPauseMs=max(path.listened("longestPauseMs")), reconnections=path.reconnections(),
                retransmittedPackets=sum(path.listened("retransmitted")),
                packetsThatLinksLost=sum(link["lost"] + link["cut"] + link["overflowed"] for link in uplinks))


def _run_many(fault, folder, received, pace):
    """Every sender has three links and its own SRT stream."""
    rate = min(pace.megabits_per_second, _SHARED_MEGABITS / fault.senders)
    slow = Pace(rate, _SHARED_LATENCY_MS, pace.seconds)
    file = _make_file(folder / "sent", slow.size(slow.seconds))
    with contextlib.ExitStack() as programs:
        def keep(program):
            programs.callback(program.kill)
            return program

        listener = keep(stream.SrtReceiver(received, streams=fault.senders))
        engine = keep(stream.EngineHost(listener.port))
        bonds = []
        for number in range(fault.senders):
            links = [f"127.0.{link}.{number + 1}" for link in (1, 2, 3)]
            bonds.append(keep(stream.BondSender(engine.port, links, "--seed", number, "--id", f"{number:04x}")))
        for bond in bonds:
            bond.wait_for_links()
        callers = [keep(stream.SrtSender(bond.port, file, stream_id=f"stream{number}", megabits_per_second=rate,
                                         latency_ms=slow.latency_ms)) for number, bond in enumerate(bonds)]
        for caller in callers:
            caller.exit_code(pace.seconds + PROGRAM_TIMEOUT_S)
        listener.exit_code(PROGRAM_TIMEOUT_S)
        ends = [line for line in listener.objects if line["event"] == "ended"]
        drops = udp_drops(engine.port)
    return _row(fault, slow, file.stat().st_size * fault.senders, _received_bytes(received), recoveredAfterS=None,
                longestPauseMs=max((end["longestPauseMs"] for end in ends), default=0), reconnections=0,
                retransmittedPackets=sum(end["retransmitted"] for end in ends), packetsThatLinksLost=0,
                receiverDrops=drops)
