# SPDX-License-Identifier: GPL-2.0-or-later
"""Starts and quits the real OBS with an empty home, and prints the path of the loaded
plug-in and the log as JSON."""

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
        with obs.Desktop(folder / "desktop") as desktop, obs.ObsSession(desktop, obs.ObsHome(folder / "home")) as session:
            session.start()
            session.wait_for_log(_LOADED)
            maps = pathlib.Path(f"/proc/{session.pid}/maps").read_text()
            session.quit()
            json.dump({"modules": sorted(set(re.findall(r"\S+/tarvoline-srtla\.so", maps))),
                       "log": session.log().splitlines(), "exit_code": session.exit_code()}, sys.stdout)


if __name__ == "__main__":
    main()
