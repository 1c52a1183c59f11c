# SPDX-License-Identifier: GPL-2.0-or-later
"""One live stream from a caller to a listener, whose programs can be stopped and restarted."""

import dataclasses
import signal
import time

import stream

LINKS = ("127.0.0.11", "127.0.0.12", "127.0.0.13")
SENDER_ID = "3fa07c1d22e9"
OTHER_SENDER_ID = "a1b2c3d4e5f6"
# More than the number of reconnections of a caller.
_MANY_STREAMS = 100
# Time between the end of a program and its restart.
_RESTART_AFTER_S = 1.0


@dataclasses.dataclass(frozen=True)
class Pace:
    """Rate, SRT latency and length of a stream."""

    megabits_per_second: float
    latency_ms: int
    seconds: int

    def size(self, seconds) -> int:
        """Number of bytes in `seconds`."""
        return int(self.megabits_per_second * 1e6 / 8 * seconds)


FULL = Pace(megabits_per_second=8.0, latency_ms=2000, seconds=14)
# Slow enough to lose nothing on a machine that runs other tests concurrently.
QUICK = Pace(megabits_per_second=2.0, latency_ms=4000, seconds=14)


class StreamPath:
    """The running programs. `ends` has the times at which faults have ended (time.monotonic)."""

    def __init__(self, folder, file, pace, settings):
        self.folder, self.file, self.pace = folder, file, pace
        self.ends = []
        self.gone = []  # programs that were replaced
        self.listener = stream.SrtReceiver(folder, streams=_MANY_STREAMS)
        self.engine = stream.EngineHost(self.listener.port)
        self._links = [link + setting for link, setting in zip(LINKS, settings)]
        self.bond = self._bond(SENDER_ID)
        self.caller = self._caller("stream", 0)
        self._first_byte = time.monotonic()

    def over(self):
        """Records the end of a fault."""
        self.ends.append(time.monotonic())

    def stall(self, seconds):
        """Stops the receiver's process for a time, as a stall of OBS's UI thread would."""
        self.engine.send_signal(signal.SIGSTOP)
        time.sleep(seconds)
        self.engine.send_signal(signal.SIGCONT)
        self.over()

    def restart_listener(self):
        """Kills the SRT listener and restarts it on its port."""
        port = self.listener.port
        self._drop(self.listener)
        time.sleep(_RESTART_AFTER_S)
        folder = self.folder / "again"
        folder.mkdir()
        self.listener = stream.SrtReceiver(folder, port=port, streams=_MANY_STREAMS)
        self.over()

    def restart_receiver(self):
        """Stops the receiver and starts it again."""
        self.engine.stop()
        self.gone.append(self.engine)
        time.sleep(_RESTART_AFTER_S)
        self.engine = stream.EngineHost(self.listener.port, self.engine.port)
        self.over()

    def restart_sender(self, sender_id):
        """Kills caller and bonding sender and restarts them with the given id."""
        self._drop(self.caller)
        self._drop(self.bond)
        time.sleep(_RESTART_AFTER_S)
        self.bond = self._bond(sender_id)
        self.caller = self._caller("restarted", int((time.monotonic() - self._first_byte) * 1000))
        self.over()

    def finish(self, timeout_s) -> dict:
        """Waits for the end of the stream and returns the bonding sender's totals. Raises an error if the end did not
        arrive."""
        if self.caller.exit_code(timeout_s) != 0:
            raise stream.Ended(f"the stream did not recover\n{self.caller.tail()}")
        accepted = len([line for line in self.listener.objects if line["event"] == "accepted"])
        self.listener.wait_for(
            lambda _: len([line for line in self.listener.objects if line["event"] == "ended"]) >= accepted,
            "all connections have ended", timeout_s)
        return self.bond.finish()

    def recovery_s(self) -> float | None:
        """The longest time from the end of a fault until the listener received data again; 0 without an interruption; None
        without a fault."""
        ends = self.ends + [time_ for line, time_ in zip(self.bond.objects, self.bond.times)
                            if line["event"] in ("restored", "rebound")]
        if not ends:
            return None
        flows = sorted(time_ for listener in [*self.gone, self.listener] if isinstance(listener, stream.SrtReceiver)
                       for line, time_ in zip(listener.objects, listener.times) if line["event"] == "flows")
        # The first is the stream's own start.
        return max((moment - max(end for end in ends if end <= moment) for moment in flows[1:] if moment >= min(ends)),
                   default=0.0)

    def listened(self, figure) -> list[int]:
        """A value of each connection, from its last line."""
        latest = {}
        for listener in [*self.gone, self.listener]:
            if isinstance(listener, stream.SrtReceiver):
                latest |= {(listener.pid, line["stream"]): line[figure] for line in listener.objects if figure in line}
        return list(latest.values())

    def reconnections(self) -> int:
        """Number of broken connections of the caller."""
        return len([line for line in self.caller.objects if line["event"] == "broken"])

    def close(self):
        """Kills all programs."""
        for program in [self.caller, self.bond, self.engine, self.listener]:
            program.kill()

    def _drop(self, program):
        program.kill()
        self.gone.append(program)

    def _bond(self, sender_id):
        bond = stream.BondSender(self.engine.port, self._links, "--seed", "1", "--id", sender_id)
        bond.wait_for_links()
        return bond

    def _caller(self, stream_id, from_ms):
        caller = stream.SrtSender(self.bond.port, self.file, stream_id=stream_id,
                                  megabits_per_second=self.pace.megabits_per_second, latency_ms=self.pace.latency_ms,
                                  from_ms=from_ms, reconnect=True)
        caller.wait_for(lambda line: line["event"] == "connected", "the caller is connected")
        return caller
