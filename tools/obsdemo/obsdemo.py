#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Opens the real OBS with the plug-in's dock in its window and a bonded test stream arriving.

With a display the window stands there until the user closes it. Without one OBS runs on a virtual display; once the
picture has arrived, screenshots are saved and everything ends.
"""

import argparse
import contextlib
import os
import pathlib
import shutil
import signal
import socket
import sys

_PROJECT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(_PROJECT / "testkit"))

import obs  # noqa: E402
from obs.docklayout import dock_at_the_right  # noqa: E402
from obs.scenes import SOURCE  # noqa: E402

_LISTEN_PORT = 5000
_TARGET_PORT = 5002
_CANVAS = (1280, 720)
# Seven bars of an even width, as the encoder wants them.
_PATTERN = (644, 362)
_PATTERN_RATE = 25
_PATTERN_KBIT = 2500
_LINKS = 3

_PICTURE_WITHIN_S = 60
_LOOK_AGAIN_S = 0.5


class Trouble(Exception):
    """The demo cannot show what it is for; the text says why."""


def main() -> int:
    options = _options()
    # However it is ended, it clears away what it started.
    for ending in (signal.SIGINT, signal.SIGTERM):
        signal.signal(ending, signal.default_int_handler)
    folder = options.folder.resolve()
    # OBS's settings of the demo before must not colour this one, and the user's own are elsewhere.
    shutil.rmtree(folder, ignore_errors=True)
    folder.mkdir(parents=True)

    display = os.environ.get("DISPLAY")
    home = obs.ObsHome(folder / "home", canvas=_CANVAS, dock_state=dock_at_the_right(), source_on_port=_TARGET_PORT)
    home.install_module(options.build / "plugins" / obs.MODULE / "bin" / "64bit" / f"{obs.MODULE}.so",
                        _PROJECT / "locale")
    with obs.Desk(folder / "desk", display) as desk, obs.ObsSession(desk, home) as session:
        _say("Opening OBS …" if display else "No display here: opening OBS on a virtual one …")
        session.start()
        try:
            with _stream(options, folder, session):
                if display:
                    _watch(session, options)
                else:
                    _prove(session, options)
            return 0
        except KeyboardInterrupt:
            _say("")
            return 0
        except Trouble as trouble:
            _say(str(trouble))
            return 1
        finally:
            if session.running():
                session.interrupt()


def _stream(options, folder, session):
    """The test stream, to be started; with --no-demo nothing."""
    panel = obs.Panel(session.screen).open()
    obs.wait_until(lambda: panel.status() != "Inaktiv", "the receiver starts")
    if panel.status() != "Aktiv":
        raise Trouble(f"The receiver in OBS could not start: UDP port {_LISTEN_PORT} is taken, perhaps by another OBS.")
    _say(f"The receiver in OBS listens on UDP port {_LISTEN_PORT}; settings and logs of this OBS: {session.home.folder}")
    if not options.demo:
        return contextlib.nullcontext()
    _say(f"A test picture is on its way: ffmpeg, SRT, {_LINKS} bonded links, the plug-in, OBS's media source.")
    return obs.Road(folder, _LISTEN_PORT, links=_LINKS, shown=sys.stdout.isatty(), bitrate_kbit=_PATTERN_KBIT,
                    size=_PATTERN, rate=_PATTERN_RATE)


def _watch(session, options):
    """Explains what stands on the user's display, until OBS ends."""
    address = _lan_address()
    _say(f"""
Your own phone instead{" of the test stream" if options.demo else ""}, in an app that sends SRTLA (Moblin, for example):
  in this network      srtla://{address}:{_LISTEN_PORT}/live
  from anywhere else   forward UDP port {_LISTEN_PORT} of your router to {address}:{_LISTEN_PORT}, then
                       srtla://YOUR-PUBLIC-ADDRESS:{_LISTEN_PORT}/live
  no passphrase; with one: type it into the dock, press "Quelle reparieren", and use it in the app, too.""")
    if options.demo:
        _say("The media source takes one sender at a time: for the phone, run this with --no-demo.")
    _say("Close OBS or press Ctrl+C to end.\n")
    session.wait()


def _prove(session, options):
    """Waits for the picture, and saves what is on the virtual display."""
    if options.demo:
        try:
            obs.wait_until(lambda: _shows_pattern(session), "the picture", options.patience, _LOOK_AGAIN_S)
        except obs.TimedOut:
            lines = "".join(f"\n  {line}" for line in obs.Panel(session.screen).log())
            raise Trouble(f"No picture within {options.patience:g} s. The dock's log:{lines}\n"
                          f"OBS's log: {session.home.latest_log()}") from None
        _say("The picture has arrived in OBS.")
    _save_screenshots(session, options)


def _save_screenshots(session, options):
    panel = obs.Panel(session.screen)
    shots = options.shots.resolve()
    shots.mkdir(parents=True, exist_ok=True)
    if options.demo:
        # The preview is drawn after the source; its picture must be on the display, too.
        obs.wait_until(lambda: _shows_pattern(session), "the picture")
    for name, window in (("obs", session.screen.main_window()), ("dock-closed", panel.dock())):
        session.screen.screenshot(shots / f"{name}.png", window)
    panel.opened("Verbindungsadressen")
    panel.opened("Protokoll")
    session.screen.screenshot(shots / "dock-open.png", panel.dock())
    for name in ("obs", "dock-closed", "dock-open"):
        _say(f"Saved {shots / name}.png")


def _shows_pattern(session) -> bool:
    picture = session.remote.picture(SOURCE)
    return picture is not None and picture.shows_pattern()


def _lan_address() -> str:
    """The address under which this machine is met in its own network; no packet is sent for it."""
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as probe:
        try:
            # Any address outside of this network will do; this one is kept for documentation.
            probe.connect(("192.0.2.1", 9))
            return probe.getsockname()[0]
        except OSError:
            return "THIS-COMPUTER'S-ADDRESS"


def _options():
    parser = argparse.ArgumentParser(prog="./run", description="Opens OBS with the dock and a bonded test stream.")
    parser.add_argument("--no-demo", dest="demo", action="store_false", help="without the test stream")
    parser.add_argument("--patience", type=float, default=_PICTURE_WITHIN_S, metavar="SECONDS",
                        help="how long to wait for the picture when there is no display (%(default)s)")
    parser.add_argument("--shots", type=pathlib.Path, default=_PROJECT / "build" / "demo" / "shots",
                        help="where the screenshots go when there is no display (%(default)s)")
    parser.add_argument("--folder", type=pathlib.Path, default=_PROJECT / "build" / "demo" / "obs",
                        help="where this OBS keeps its settings (%(default)s)")
    parser.add_argument("--build", type=pathlib.Path, default=_PROJECT / "build" / "linux", help=argparse.SUPPRESS)
    return parser.parse_args()


def _say(text):
    print(text, flush=True)


if __name__ == "__main__":
    sys.exit(main())
