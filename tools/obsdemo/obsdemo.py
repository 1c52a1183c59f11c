#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Opens the real OBS with the plug-in's dock and a bonded test stream.

With a display OBS runs until the user closes it. Without one OBS runs on a virtual display; when the picture has arrived,
screenshots are saved and the program ends.
"""

import argparse
import contextlib
import os
import pathlib
import socket
import sys

_PROJECT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(_PROJECT / "testkit"))

import obs  # noqa: E402
from demostream import PICTURE_TIMEOUT_S, DemoError, make_sender, no_picture, port_taken, prepare, say  # noqa: E402
from dockports import LISTEN_PORT, TARGET_PORT  # noqa: E402
from obs.docklayout import dock_at_the_right  # noqa: E402
from obs.scenes import SOURCE  # noqa: E402

_CANVAS = (1280, 720)
_POLL_INTERVAL_S = 0.5


def main() -> int:
    options = _options()
    folder = prepare(options.folder)  # the user's OBS settings are in another folder

    display = os.environ.get("DISPLAY")
    home = obs.ObsHome(folder / "home", canvas=_CANVAS, dock_state=dock_at_the_right(), source_on_port=TARGET_PORT)
    home.install_module(options.build / "plugins" / obs.MODULE / "bin" / "64bit" / f"{obs.MODULE}.so",
                        _PROJECT / "locale")
    with obs.Desktop(folder / "desktop", display) as desktop, obs.ObsSession(desktop, home) as session:
        say("Opening OBS …" if display else "No display: opening OBS on a virtual display …")
        session.start()
        try:
            with _stream(options, folder, session):
                if display:
                    _wait_for_user(session, options)
                else:
                    _save_result(session, options)
            return 0
        except KeyboardInterrupt:
            say("")
            return 0
        except DemoError as error:
            say(str(error))
            return 1
        finally:
            if session.running():
                session.interrupt()


def _stream(options, folder, session):
    """The test stream as a context manager; without effect with --no-demo."""
    panel = obs.Panel(session.screen).open()
    obs.wait_until(lambda: panel.status() != "Inaktiv", "the receiver starts")
    if panel.status() != "Aktiv":
        raise port_taken()
    say(f"The receiver in OBS listens on UDP port {LISTEN_PORT}; settings and logs of this OBS: {session.home.folder}")
    if not options.demo:
        return contextlib.nullcontext()
    return make_sender(folder)


def _wait_for_user(session, options):
    """Prints the instructions and waits until OBS ends."""
    address = _lan_address()
    say(f"""
Your own phone instead{" of the test stream" if options.demo else ""}, in an app that sends SRTLA (Moblin, for example):
  in this network      srtla://{address}:{LISTEN_PORT}/live
  from anywhere else   forward UDP port {LISTEN_PORT} of your router to {address}:{LISTEN_PORT}, then
                       srtla://YOUR-PUBLIC-ADDRESS:{LISTEN_PORT}/live
  no passphrase; with one: type it into the dock, press "Quelle reparieren", and use it in the app, too.""")
    if options.demo:
        say("The media source takes one sender at a time: for the phone, run this with --no-demo.")
    say("Close OBS or press Ctrl+C to end.\n")
    session.wait()


def _save_result(session, options):
    """Waits for the picture and saves screenshots of the virtual display."""
    if options.demo:
        try:
            obs.wait_until(lambda: _shows_pattern(session), "the picture", options.timeout, _POLL_INTERVAL_S)
        except obs.TimedOut:
            raise no_picture(options.timeout, obs.Panel(session.screen).log(), session.home.latest_log()) from None
        say("The picture has arrived in OBS.")
    _save_screenshots(session, options)


def _save_screenshots(session, options):
    panel = obs.Panel(session.screen)
    shots = options.shots.resolve()
    shots.mkdir(parents=True, exist_ok=True)
    if options.demo:
        # The preview is rendered after the source.
        obs.wait_until(lambda: _shows_pattern(session), "the picture")
    for name, window in (("obs", session.screen.main_window()), ("dock-closed", panel.dock())):
        session.screen.screenshot(shots / f"{name}.png", window)
    panel.opened("Verbindungsadressen")
    panel.opened("Protokoll")
    session.screen.screenshot(shots / "dock-open.png", panel.dock())
    for name in ("obs", "dock-closed", "dock-open"):
        say(f"Saved {shots / name}.png")


def _shows_pattern(session) -> bool:
    picture = session.remote.picture(SOURCE)
    return picture is not None and picture.shows_pattern()


def _lan_address() -> str:
    """This machine's address in the local network; no packet is sent."""
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as probe:
        try:
            # Any address outside of the local network: TEST-NET-1 (RFC 5737).
            probe.connect(("192.0.2.1", 9))
            return probe.getsockname()[0]
        except OSError:
            return "THIS-COMPUTER'S-ADDRESS"


def _options():
    parser = argparse.ArgumentParser(prog="./run", description="Opens OBS with the dock and a bonded test stream.")
    parser.add_argument("--no-demo", dest="demo", action="store_false", help="without the test stream")
    parser.add_argument("--timeout", type=float, default=PICTURE_TIMEOUT_S, metavar="SECONDS",
                        help="time limit for the picture when there is no display (%(default)s)")
    parser.add_argument("--shots", type=pathlib.Path, default=_PROJECT / "build" / "demo" / "shots",
                        help="folder for screenshots when there is no display (%(default)s)")
    parser.add_argument("--folder", type=pathlib.Path, default=_PROJECT / "build" / "demo" / "obs",
                        help="folder for the settings of this OBS (%(default)s)")
    parser.add_argument("--build", type=pathlib.Path, default=_PROJECT / "build" / "linux", help=argparse.SUPPRESS)
    return parser.parse_args()


if __name__ == "__main__":
    sys.exit(main())
