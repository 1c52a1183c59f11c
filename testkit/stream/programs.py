# SPDX-License-Identifier: GPL-2.0-or-later
"""The programs of a stream in the order of its data flow: SrtSender, BondSender, EngineHost, SrtReceiver. All are looked up
on PATH."""

import signal

from ports import free_udp_port

from .process import JsonProcess


class EngineHost(JsonProcess):
    """The receiver without OBS."""

    def __init__(self, target_port: int, port: int | None = None, *, wait=True, below=()):
        """`below` is the command line of a program that runs it, for example valgrind."""
        self.port = port or free_udp_port()
        super().__init__([*below, "enginehost", "--listen", self.port, "--target-port", target_port])
        if wait:
            self.wait_for(lambda line: line.get("running"), "the receiver runs")

    def log(self) -> list[str]:
        """The log lines."""
        return [line["line"] for line in self.objects if line["signal"] == "logMessage"]

    def statistics(self) -> list[dict]:
        """All statistics."""
        return [line for line in self.objects if line["signal"] == "statisticsChanged"]

    def wait_for_log(self, condition, what) -> str:
        """Waits for a log line."""
        found = self.wait_for(lambda line: line["signal"] == "logMessage" and condition(line["line"]), what)
        return found["line"]


class BondSender(JsonProcess):
    """The bonding sender. `links` are its --link options; `port` is the port for the SRT caller."""

    def __init__(self, receiver_port: int, links, *options, port=0):
        arguments = ["bondsender", "--json", "--listen", port, "--to", f"127.0.0.1:{receiver_port}"]
        for link in links:
            arguments += ["--link", link]
        super().__init__([*arguments, *options])
        self.port = int(self.wait_for(lambda line: line["event"] == "listening", "the sender listens")["port"])
        self._links = len(links)

    def wait_for_links(self):
        """Waits until every link is registered in one group."""
        def all_registered(_):
            registered = set()
            for line in list(self.objects):
                if line["event"] in ("groupCreated", "groupGone"):
                    registered.clear()
                elif line["event"] == "linkRegistered":
                    registered.add(line["link"])
            return len(registered) == self._links
        self.wait_for(all_registered, "all links are registered")

    def events(self, name: str) -> list[dict]:
        """All events of a name."""
        return [line for line in self.objects if line["event"] == name]

    def totals_now(self) -> dict:
        """Requests the current totals and returns them."""
        before = len(self.events("totals"))
        self.send_signal(signal.SIGUSR1)
        self.wait_for(lambda _: len(self.events("totals")) > before, "totals on demand")
        return self.events("totals")[-1]

    def finish(self) -> dict:
        """Stops the program and returns its totals."""
        code = self.stop()
        assert code == 0, f"bondsender ended with {code}"
        return self.events("totals")[-1]


class SrtReceiver(JsonProcess):
    """A real SRT listener that writes each accepted stream to a file in `folder`, named by its stream id."""

    def __init__(self, folder, *, port: int | None = None, streams=1, passphrase=""):
        self.port = port or free_udp_port()
        super().__init__(["srtfile", "receive", "--port", self.port, "--folder", folder, "--streams", streams,
                          *(["--passphrase", passphrase] if passphrase else [])])
        self.wait_for(lambda line: line["event"] == "listening", "the SRT listener listens")


class SrtSender(JsonProcess):
    """A real SRT caller that sends a file at a constant rate, `repeat` times. With `reconnect` it connects again when the
    connection breaks; `from_ms` is the start position in the file."""

    def __init__(self, port: int, file, *, stream_id="stream", megabits_per_second=24.0, latency_ms=2000, passphrase="",
                 repeat=1, from_ms=0, reconnect=False):
        super().__init__(["srtfile", "send", "--port", port, "--file", file, "--streamid", stream_id,
                          "--rate", megabits_per_second, "--latency", latency_ms, "--repeat", repeat,
                          "--from", from_ms, "--reconnect", int(reconnect),
                          *(["--passphrase", passphrase] if passphrase else [])])
