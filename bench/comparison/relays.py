# SPDX-License-Identifier: GPL-2.0-or-later
"""What may stand between a sender and a viewer, each set up as its own documentation says, with the stream's latency
where it can have one. All carry the same payloads at the same rate."""

import dataclasses
from collections.abc import Callable

import stream
from ports import free_udp_port

from .turn import Turn

_LOOPBACK = "127.0.0.1"
_LINKS = ("127.0.0.11", "127.0.0.12", "127.0.0.13")
# An SRT connection within one machine loses nothing; this is for a machine that is busy.
LOCAL_LATENCY_MS = 20
# RIST shares the stream among its paths by these; without, it would send everything over each.
_RIST_PATH_WEIGHT = 1


@dataclasses.dataclass(frozen=True, eq=False)
class Relay:
    """One of the relays."""

    key: str
    name: str
    programs: dict[str, str]  # what has to be there, and the Debian package that has it
    setting: str  # with the latency for {}
    start: Callable[[Turn], None]


def _socat(turn: Turn):
    port = free_udp_port()
    target = turn.read("srt", turn.latency_ms)
    turn.relay(["socat", f"UDP4-LISTEN:{port}", f"UDP4:{_LOOPBACK}:{target}"], [port])
    turn.send("srt", port, turn.latency_ms)


def _engine(turn: Turn):
    target = turn.read("srt", turn.latency_ms)
    engine = turn.keep(stream.EngineHost(target, below=turn.pinned))
    turn.relay_pid, turn.relay_ports = engine.pid, [engine.port]
    bond = turn.keep(stream.BondSender(engine.port, _LINKS))
    bond.wait_for_links()
    turn.send("srt", bond.port, turn.latency_ms)


def _srt(turn: Turn):
    port = free_udp_port()
    target = turn.read("srt", LOCAL_LATENCY_MS)
    turn.relay(["srt-live-transmit", f"srt://{_LOOPBACK}:{port}?mode=listener&latency={turn.latency_ms}",
                f"srt://{_LOOPBACK}:{target}?mode=caller&latency={LOCAL_LATENCY_MS}"], [port])
    turn.send("srt", port, turn.latency_ms)


def _rist(turn: Turn):
    entry, *ports = [free_udp_port() for _ in range(1 + len(_LINKS))]
    target = turn.read("udp")
    buffer = f"buffer={turn.latency_ms}"
    turn.relay(["ristreceiver", "--inputurl", ",".join(f"rist://@{_LOOPBACK}:{port}?{buffer}" for port in ports),
                "--outputurl", f"udp://{_LOOPBACK}:{target}"], ports)
    paths = [f"rist://{_LOOPBACK}:{port}?{buffer}&weight={_RIST_PATH_WEIGHT}" for port in ports]
    turn.start(["ristsender", "--inputurl", f"udp://@{_LOOPBACK}:{entry}", "--outputurl", ",".join(paths)], [entry])
    turn.send("udp", entry)


RELAYS = (
    Relay("socat", "socat, plain UDP", {"socat": "socat"}, "SRT {} ms", _socat),
    Relay("srt_live_transmit", "srt-live-transmit", {"srt-live-transmit": "srt-tools"},
          f"SRT {{}} ms in, {LOCAL_LATENCY_MS} ms out", _srt),
    Relay("ristreceiver", "ristreceiver, 3 paths", {"ristreceiver": "rist-tools", "ristsender": "rist-tools"},
          "RIST {} ms, UDP out", _rist),
    Relay("engine", "enginehost, 3 links", {"enginehost": "", "bondsender": ""}, "SRT {} ms", _engine),
)
