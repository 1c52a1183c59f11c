# SPDX-License-Identifier: GPL-2.0-or-later
"""Starts and quits the real OBS with an empty home of its own, and prints as JSON which plug-in file it had loaded and
what it wrote into its log."""

import json
import pathlib
import re
import sys
import tempfile

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parents[2] / "testkit"))

import obs  # noqa: E402

_LOADED = "[Tarvoline SRTLA] Plugin"


def main():
    with tempfile.TemporaryDirectory() as folder:
        folder = pathlib.Path(folder)
        with obs.Desk(folder / "desk") as desk, obs.ObsSession(desk, obs.ObsHome(folder / "home")) as session:
            session.start()
            session.wait_for_log(_LOADED)
            maps = pathlib.Path(f"/proc/{session.pid}/maps").read_text()
            session.quit()
            json.dump({"modules": sorted(set(re.findall(r"\S+/tarvoline-srtla\.so", maps))),
                       "log": session.log().splitlines(), "exit_code": session.exit_code()}, sys.stdout)


if __name__ == "__main__":
    main()
