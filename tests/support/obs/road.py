# SPDX-License-Identifier: GPL-2.0-or-later
"""The road of a stream up to the plug-in: a real encoder with libsrt, and the bonding sender over several links."""

import pathlib
import subprocess

from .picture import ffmpeg_pattern

_SIZE = (336, 192)
_FRAME_RATE = 15


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
        self._log = log
        self._process = None

    def start(self):
        """Starts sending."""
        with open(self._log, "ab") as log:
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
