# SPDX-License-Identifier: GPL-2.0-or-later
"""The road of a stream up to the plug-in: a real encoder with libsrt, and the bonding sender over several links."""

import pathlib
import subprocess
import threading

from ports import free_udp_port

from .picture import ffmpeg_pattern

_SIZE = (336, 192)
_FRAME_RATE = 15

# How soon a caller that was refused calls again.
_REDIAL_S = 0.5


class Encoder:
    """FFmpeg sending the test pattern as an SRT caller."""

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
        """Ends it at once, as an app that crashes or a phone that dies."""
        if self._process is not None:
            self._process.kill()
            self._process.wait()
            self._process = None

    def __enter__(self):
        return self.start()

    def __exit__(self, *_):
        self.stop()


class BondSender:
    """The bonding test sender: takes the stream of one SRT caller and spreads it over several links."""

    def __init__(self, receiver_port: int, log: pathlib.Path, *, links: int = 3, cuts=(), shown=False):
        """`cuts` holds (link, from, until): the link's number from 0, and seconds from the start of the stream. With
        `shown` its table of the links goes to the terminal."""
        self.port = free_udp_port()
        self._arguments = ["bondsender", "--listen", str(self.port), "--to", f"127.0.0.1:{receiver_port}"]
        for number in range(links):
            # Each link leaves from an address of its own, as each modem of a phone does.
            link = f"127.0.0.{number + 2}"
            for cut, begin, end in cuts:
                if cut == number:
                    link += f",cut={begin}s-{end}s"
            self._arguments += ["--link", link]
        self.log = log
        self._shown = shown
        self._process = None

    def start(self):
        """Starts it; it registers its links by itself, and again when the receiver comes back."""
        with open(self.log, "ab") as log:
            self._process = subprocess.Popen(self._arguments, stdin=subprocess.DEVNULL,
                                             stdout=None if self._shown else log, stderr=log)
        return self

    def stop(self):
        """Ends it at once: all links go silent."""
        if self._process is not None:
            self._process.kill()
            self._process.wait()
            self._process = None


class Road:
    """Encoder and bonding sender together: what a phone is. An SRT caller that lost its listener ends, and as an app
    does, this one calls again."""

    def __init__(self, folder: pathlib.Path, receiver_port: int, *, links=3, cuts=(), shown=False, **encoder):
        """The links as BondSender takes them; whatever else is given is the encoder's."""
        self._sender = BondSender(receiver_port, folder / "bondsender.log", links=links, cuts=cuts, shown=shown)
        self._encoder = Encoder(self._sender.port, folder / "encoder.log", **encoder)
        self._redial = None
        self._leaving = threading.Event()

    def start(self):
        """Starts sending."""
        self._leaving.clear()
        self._sender.start()
        self._redial = threading.Thread(target=self._keep_calling, daemon=True)
        self._redial.start()
        return self

    def stop(self):
        """Vanishes without a word, as a phone without battery or reception."""
        self._leaving.set()
        if self._redial is not None:
            self._redial.join()
            self._redial = None
        self._encoder.stop()
        self._sender.stop()

    def sender_log(self) -> str:
        """What the bonding sender wrote so far, unless it was `shown`."""
        return self._sender.log.read_text()

    def encoder_log(self) -> str:
        """What the encoder wrote so far."""
        return self._encoder.log.read_text() if self._encoder.log.exists() else ""

    def __enter__(self):
        return self.start()

    def __exit__(self, *_):
        self.stop()

    def _keep_calling(self):
        while not self._leaving.wait(_REDIAL_S):
            if not self._encoder.running():
                self._encoder.start()
