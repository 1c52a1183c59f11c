# SPDX-License-Identifier: GPL-2.0-or-later
"""A mobile sender: a real encoder with libsrt, and the bonding sender over several links."""

import os
import pathlib
import subprocess
import threading

from ports import free_udp_port

from .picture import ffmpeg_pattern

_SIZE = (336, 192)
_FRAME_RATE = 15

# Interval between connection attempts of the caller.
_RECONNECT_INTERVAL_S = 0.5


class Encoder:
    """FFmpeg, which sends the test pattern as an SRT caller."""

    def __init__(self, port: int, log: pathlib.Path, *, passphrase: str | None = None, bitrate_kbit: int = 800,
                 size=_SIZE, rate=_FRAME_RATE):
        url = f"srt://127.0.0.1:{port}?mode=caller&pkt_size=1316&latency=200000&connect_timeout=10000"
        if passphrase:
            url += f"&passphrase={passphrase}"
        constant = ["-minrate", f"{bitrate_kbit}k", "-maxrate", f"{bitrate_kbit}k", "-bufsize", f"{bitrate_kbit // 2}k",
                    "-x264-params", "nal-hrd=cbr"]
        self._arguments = [
            "ffmpeg", "-nostdin", "-hide_banner", "-loglevel", "warning", *ffmpeg_pattern(*size, rate),
            "-c:v", "libx264", "-preset", "ultrafast", "-tune", "zerolatency", "-colorspace", "bt709",
            "-color_primaries", "bt709", "-color_trc", "bt709", "-g", str(rate),
            "-threads", "1", "-b:v", f"{bitrate_kbit}k", *constant, "-c:a", "aac", "-b:a", "64k", "-f", "mpegts", url]
        self.log = log
        self._process = None

    def start(self):
        """Starts sending."""
        with open(self.log, "ab") as log:
            self._process = subprocess.Popen(self._arguments, stdin=subprocess.DEVNULL, stdout=log, stderr=log)
        return self

    def running(self) -> bool:
        """Whether it still sends; it ends by itself when its connection breaks."""
        return self._process is not None and self._process.poll() is None

    def stop(self):
        """Kills the process."""
        if self._process is not None:
            self._process.kill()
            self._process.wait()
            self._process = None

    def __enter__(self):
        return self.start()

    def __exit__(self, *_):
        self.stop()


class BondSender:
    """The bonding sender: distributes the stream of one SRT caller over several links."""

    def __init__(self, receiver_port: int, log: pathlib.Path, *, links: int = 3, cuts=(), shown=False):
        """`cuts` contains (link, from, until): the link's index, and seconds since the start of the stream. With `shown`
        the table of links is printed to the terminal."""
        self.port = free_udp_port()
        self._arguments = ["bondsender", "--listen", str(self.port), "--to", f"127.0.0.1:{receiver_port}"]
        for number in range(links):
            # A source address for each link, as for the modems of a phone.
            link = f"127.0.0.{number + 2}"
            for cut, begin, end in cuts:
                if cut == number:
                    link += f",cut={begin}s-{end}s"
            self._arguments += ["--link", link]
        self.log = log
        self._shown = shown
        self._process = None

    def start(self):
        """Starts the program. It registers its links, and registers them again after a restart of the receiver."""
        with open(self.log, "ab") as log:
            self._process = subprocess.Popen(self._arguments, stdin=subprocess.DEVNULL,
                                             stdout=None if self._shown else log, stderr=log)
        return self

    def stop(self):
        """Kills the process."""
        if self._process is not None:
            self._process.kill()
            self._process.wait()
            self._process = None


class MobileSender:
    """Encoder and bonding sender. The encoder ends when its connection breaks and is then started again, as in an app."""

    def __init__(self, folder: pathlib.Path, receiver_port: int, *, links=3, cuts=(), shown=False, **encoder):
        """The links as for BondSender; all other arguments are the encoder's."""
        self._sender = BondSender(receiver_port, folder / "bondsender.log", links=links, cuts=cuts, shown=shown)
        self._encoder = Encoder(self._sender.port, folder / "encoder.log", **encoder)
        self._reconnecting = None
        self._stopping = threading.Event()

    def start(self):
        """Starts sending."""
        self._stopping.clear()
        self._sender.start()
        self._reconnecting = threading.Thread(target=self._reconnect, daemon=True)
        self._reconnecting.start()
        return self

    def stop(self):
        """Kills both programs without closing their connections."""
        self._stopping.set()
        if self._reconnecting is not None:
            self._reconnecting.join()
            self._reconnecting = None
        self._encoder.stop()
        self._sender.stop()

    def sender_log(self) -> str:
        """Output of the bonding sender, unless it was `shown`."""
        return self._sender.log.read_text()

    def encoder_log(self) -> str:
        """Output of the encoder."""
        return self._encoder.log.read_text() if self._encoder.log.exists() else ""

    def __enter__(self):
        return self.start()

    def __exit__(self, *_):
        self.stop()

    def _reconnect(self):
        while not self._stopping.wait(_RECONNECT_INTERVAL_S):
            if not self._encoder.running():
                self._encoder.start()


def path_with_silent_encoder(folder: pathlib.Path) -> str:
    """Creates `folder` with a program "ffmpeg" that sends nothing; returns a value of PATH with this folder first."""
    folder.mkdir(parents=True, exist_ok=True)
    encoder = folder / "ffmpeg"
    encoder.write_text("#!/bin/sh\nexec sleep infinity\n")
    encoder.chmod(0o755)
    return f"{folder}:{os.environ['PATH']}"
