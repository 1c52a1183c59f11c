# SPDX-License-Identifier: GPL-2.0-or-later
"""The compared relays, configured as documented by each, with the stream's latency where supported. All relay the same
payloads at the same rate."""

import dataclasses
from collections.abc import Callable

import stream
from ports import free_udp_port

from .relayrun import Run

_LOOPBACK = "127.0.0.1"
_LINKS = ("127.0.0.11", "127.0.0.12", "127.0.0.13")
# For local SRT connections on a loaded machine.
LOCAL_LATENCY_MS = 20
# With weights, RIST distributes the stream over its paths; without, it sends everything over each path.
_RIST_PATH_WEIGHT = 1


@dataclasses.dataclass(frozen=True, eq=False)
class Relay:
    """One of the relays."""

    key: str
    name: str
    programs: dict[str, str]  # required programs and their Debian packages
    setting: str  # {} is the latency
    start: Callable[[Run], None]


def _socat(run: Run):
    port = free_udp_port()
    target = run.read("srt", run.latency_ms)
    run.relay(["socat", f"UDP4-LISTEN:{port}", f"UDP4:{_LOOPBACK}:{target}"], [port])
    run.send("srt", port, run.latency_ms)


def _engine(run: Run):
    target = run.read("srt", run.latency_ms)
    engine = run.keep(stream.EngineHost(target, below=run.pinned))
    run.relay_pid, run.relay_ports = engine.pid, [engine.port]
    bond = run.keep(stream.BondSender(engine.port, _LINKS))
    bond.wait_for_links()
    run.send("srt", bond.port, run.latency_ms)


def _srt(run: Run):
    port = free_udp_port()
    target = run.read("srt", LOCAL_LATENCY_MS)
    run.relay(["srt-live-transmit", f"srt://{_LOOPBACK}:{port}?mode=listener&latency={run.latency_ms}",
               f"srt://{_LOOPBACK}:{target}?mode=caller&latency={LOCAL_LATENCY_MS}"], [port])
    run.send("srt", port, run.latency_ms)


def _rist(run: Run):
    entry, *ports = [free_udp_port() for _ in range(1 + len(_LINKS))]
    target = run.read("udp")
    buffer = f"buffer={run.latency_ms}"
    run.relay(["ristreceiver", "--inputurl", ",".join(f"rist://@{_LOOPBACK}:{port}?{buffer}" for port in ports),
               "--outputurl", f"udp://{_LOOPBACK}:{target}"], ports)
    paths = [f"rist://{_LOOPBACK}:{port}?{buffer}&weight={_RIST_PATH_WEIGHT}" for port in ports]
    run.start(["ristsender", "--inputurl", f"udp://@{_LOOPBACK}:{entry}", "--outputurl", ",".join(paths)], [entry])
    run.send("udp", entry)


RELAYS = (
    Relay("socat", "socat, plain UDP", {"socat": "socat"}, "SRT {} ms", _socat),
    Relay("srt_live_transmit", "srt-live-transmit", {"srt-live-transmit": "srt-tools"},
          f"SRT {{}} ms in, {LOCAL_LATENCY_MS} ms out", _srt),
    Relay("ristreceiver", "ristreceiver, 3 paths", {"ristreceiver": "rist-tools", "ristsender": "rist-tools"},
          "RIST {} ms, UDP out", _rist),
    Relay("engine", "enginehost, 3 links", {"enginehost": "", "bondsender": ""}, "SRT {} ms", _engine),
)
