#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Runs the module for Windows with a bonded test stream in OBS's own Windows libraries, under Wine.

Saves pictures of the dock and of OBS's rendered output, and ends. OBS's window is not part of the libraries, so none is opened.
"""

import argparse
import pathlib
import sys

_PROJECT = pathlib.Path(__file__).resolve().parents[2]
sys.path.insert(0, str(_PROJECT / "testkit"))

import stream  # noqa: E402
import wait  # noqa: E402
from demostream import PATTERN, PICTURE_TIMEOUT_S, DemoError, make_sender, no_picture, port_taken, prepare, say  # noqa: E402
from windowsobs import WindowsObs  # noqa: E402

_CREATED = "OBS | Neue SRT-Quelle angelegt"


def main() -> int:
    options = _options()
    folder = prepare(options.folder)
    say("Loading the module in OBS's own Windows libraries, under Wine …")
    try:
        obs = WindowsObs(folder, canvas=PATTERN)
    except (stream.Ended, stream.TimedOut) as failure:
        say(f"The libraries did not start: {failure}\nWine's messages: {folder / 'wine.log'}")
        return 1
    try:
        _receive(obs, options)
        say("Quitting OBS …")
        return obs.quit()
    except KeyboardInterrupt:
        say("")
        return 0
    except DemoError as error:
        say(str(error))
        return 1
    finally:
        if obs.running():
            obs.quit()


def _receive(obs, options):
    versions = obs.events("versions")[0]
    say(f"The module is loaded; its dock is drawn by OBS's Qt {versions['qt']}.")
    wait.wait_until(lambda: obs.status() != "Inaktiv", "the receiver starts")
    if obs.status() != "Aktiv":
        obs.answer()
        raise port_taken()
    obs.repair(_CREATED)
    with make_sender(obs.folder):
        try:
            obs.wait_for_picture(options.timeout)
        except wait.TimedOut:
            raise no_picture(options.timeout, obs.dock_log(), _save_log(obs)) from None
        say("The picture has arrived in OBS.")
        for name, save in (("frame", obs.save_frame), ("dock", obs.save_dock)):
            file = obs.folder / f"{name}.png"
            if not save(file):
                raise DemoError(f"{file} could not be written.")
            say(f"Saved {file}")


def _save_log(obs) -> pathlib.Path:
    file = obs.folder / "obs.log"
    file.write_text("\n".join(obs.obs_log()) + "\n")
    return file


def _options():
    parser = argparse.ArgumentParser(prog="./run --windows",
                                     description="The Windows module in OBS's own Windows libraries, with a test stream.")
    parser.add_argument("--timeout", type=float, default=PICTURE_TIMEOUT_S, metavar="SECONDS",
                        help="time limit for the picture (%(default)s)")
    parser.add_argument("--folder", type=pathlib.Path, default=_PROJECT / "build" / "demo" / "windows",
                        help="folder for pictures and logs (%(default)s)")
    return parser.parse_args()


if __name__ == "__main__":
    sys.exit(main())
