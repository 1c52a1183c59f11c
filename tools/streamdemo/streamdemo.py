#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Demonstrates a bonded stream through the receiver without OBS: a real encoder, the bonding sender over three links (one
with loss, one with a cut), the engine host, and a real SRT listener. Saves a picture of the received stream.
Usage: streamdemo.py [--seconds N]"""

import argparse
import pathlib
import subprocess
import sys
import time

PROJECT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(PROJECT / "testkit"))

import stream  # noqa: E402
from ports import free_udp_port  # noqa: E402

FOLDER = PROJECT / "build" / "demo"
RECEIVED = FOLDER / "received.ts"
PICTURE = FOLDER / "received.png"
MEGABIT = "6M"
TIMEOUT_S = 30
SHORTEST_S = 6


class Failed(Exception):
    """The demonstration failed; the text is the reason."""


def seconds_option(text):
    """Parses the length in seconds; the minimum includes the cut."""
    seconds = int(text)
    if seconds < SHORTEST_S:
        raise argparse.ArgumentTypeError(f"at least {SHORTEST_S}")
    return seconds


def start_listener(port):
    """Starts the SRT listener, which saves the stream and ends with it."""
    return subprocess.Popen(
        ["srt-live-transmit", "-q", "-a:no", f"srt://127.0.0.1:{port}?mode=listener&lossmaxttl=40", "file://con"],
        stdin=subprocess.DEVNULL, stdout=RECEIVED.open("wb"), stderr=(FOLDER / "listener.log").open("wb"))


def start_encoder(port, seconds):
    """Starts FFmpeg as an SRT caller with a test picture and a tone in real time."""
    return subprocess.Popen(
        ["ffmpeg", "-nostdin", "-hide_banner", "-loglevel", "warning", "-re",
         "-f", "lavfi", "-i", "testsrc=size=640x360:rate=30", "-f", "lavfi", "-i", "sine=frequency=440",
         "-t", str(seconds), "-c:v", "libx264", "-preset", "ultrafast", "-tune", "zerolatency", "-g", "30",
         "-b:v", MEGABIT, "-minrate", MEGABIT, "-maxrate", MEGABIT, "-bufsize", MEGABIT, "-x264-params", "nal-hrd=cbr",
         "-c:a", "aac", "-f", "mpegts", f"srt://127.0.0.1:{port}?mode=caller&pkt_size=1316&latency=1000000"],
        stdin=subprocess.DEVNULL, stderr=(FOLDER / "encoder.log").open("wb"))


class Display:
    """Prints the state of links and receiver, updated in place on a terminal."""

    def __init__(self):
        self._live = sys.stdout.isatty()
        self._previous = {}
        self._shown = 0

    def show(self, totals, statistics):
        """Prints the current values."""
        rows = [self._row(link) for link in totals["links"]]
        rows.append(f"receiver        {statistics['paths']} links     {statistics['megabitsPerSecond']:6.2f} Mbit/s "
                    f"{statistics['packets']:8} packets")
        if self._live:
            if self._shown:
                print(f"\x1b[{self._shown}A", end="")
            print("".join(f"{row}\x1b[K\n" for row in rows), end="", flush=True)
            self._shown = len(rows)
        else:
            print(" | ".join(" ".join(row.split()) for row in rows), flush=True)

    def _row(self, link):
        before = self._previous.get(link["address"], 0)
        self._previous[link["address"]] = link["sentBytes"]
        megabits = (link["sentBytes"] - before) * 8 / 1e6
        return (f"{link['address']:<15} {link['state']:<11} {megabits:5.2f} Mbit/s {link['sent']:8} packets "
                f"{link['up']['lost']:5} lost {link['up']['cut']:5} cut")


def stream_for(seconds):
    """Runs the stream and ends all programs."""
    listener_port = free_udp_port()
    listener = start_listener(listener_port)
    engine = stream.EngineHost(listener_port)
    third = seconds // 3
    bond = stream.BondSender(engine.port, ["127.0.0.11", "127.0.0.12,loss=1%,jitter=20ms",
                                           f"127.0.0.13,cut={third}s-{2 * third}s"], "--every", "1s")
    encoder = None
    try:
        bond.wait_for_links()
        print(f"Three links are registered at UDP {engine.port}. An encoder streams for {seconds} seconds; the second "
              f"link loses 1 %, the third is cut from second {third} to {2 * third}.", flush=True)
        encoder = start_encoder(bond.port, seconds)
        display = Display()
        shown = len(bond.events("totals"))
        deadline = time.monotonic() + seconds + TIMEOUT_S
        while encoder.poll() is None:
            if time.monotonic() > deadline:
                raise Failed("the encoder did not end")
            totals = bond.events("totals")
            if len(totals) > shown and engine.statistics():
                shown = len(totals)
                display.show(totals[-1], engine.statistics()[-1])
            time.sleep(0.1)
        if encoder.returncode != 0:
            raise Failed(f"the encoder failed, see {FOLDER / 'encoder.log'}")
        listener.wait(TIMEOUT_S)
        if bond.stop() != 0 or engine.stop() != 0:
            raise Failed("bondsender or enginehost failed")
    except subprocess.TimeoutExpired:
        raise Failed(f"the listener did not end after the stream, see {FOLDER / 'listener.log'}") from None
    finally:
        for process in filter(None, (encoder, listener)):
            if process.poll() is None:
                process.kill()
                process.wait()
        bond.kill()
        engine.kill()


def grab_picture(seconds):
    """Saves a picture of the received stream."""
    PICTURE.unlink(missing_ok=True)
    done = subprocess.run(["ffmpeg", "-nostdin", "-y", "-loglevel", "error", "-i", RECEIVED, "-ss", str(seconds // 2),
                           "-frames:v", "1", PICTURE], check=False, capture_output=True, encoding="utf-8")
    if done.returncode != 0 or not PICTURE.exists():
        raise Failed(f"no picture could be taken from {RECEIVED}: {done.stderr.strip()}")


def main():
    """Runs the demonstration and returns the exit code."""
    parser = argparse.ArgumentParser(description="A bonded stream through the receiver, without OBS.")
    parser.add_argument("--seconds", type=seconds_option, default=12, help="length of the stream in seconds (%(default)s)")
    options = parser.parse_args()
    FOLDER.mkdir(parents=True, exist_ok=True)
    try:
        stream_for(options.seconds)
        grab_picture(options.seconds)
    except (Failed, AssertionError, OSError) as failure:
        print(f"The demonstration failed: {failure}", file=sys.stderr)
        return 1
    except KeyboardInterrupt:
        return 130
    print(f"{RECEIVED.stat().st_size} bytes arrived. A picture of the stream: {PICTURE}")
    return 0


if __name__ == "__main__":
    sys.exit(main())
