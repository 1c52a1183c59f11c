# SPDX-License-Identifier: GPL-2.0-or-later
"""The module of the Windows build inside OBS 31.1's own libraries: loaded, drawn, its source made, unloaded.

Usage: test_usersobs.py WINERUN OBSHOST.exe SDK MODULE.dll PICTURE.png
"""

import json
import os
import shutil
import subprocess
import sys
import threading
import unittest
from pathlib import Path

SECONDS = 4
LIMIT_SECONDS = 120
UNLOADED = "OBS [Tarvoline SRTLA] Plugin sicher entladen"
URL = "srt://127.0.0.1:5002?mode=listener&latency=2000&lossmaxttl=40"


def windowsPath(path):
    return "Z:" + str(path).replace("/", "\\")


class LoadedModule(unittest.TestCase):
    """One run of the host, up to the module's unloading; each test checks another part of its output.

    The end of libobs is not included: under Wine it blocks while a media source waits for a caller.
    """

    winerun = host = sdk = module = picture = None

    @classmethod
    def setUpClass(cls):
        cls.picture.parent.mkdir(parents=True, exist_ok=True)
        cls.picture.unlink(missing_ok=True)
        prefix = subprocess.run([cls.winerun.with_name("wineprefix")], check=True, capture_output=True,
                                text=True).stdout.strip()
        environment = dict(os.environ, WINEPREFIX=prefix, WINEPATH=windowsPath(cls.sdk / "bin"))
        arguments = map(windowsPath, (cls.sdk, cls.module, cls.module.parents[2] / "data"))
        host = subprocess.Popen([cls.winerun, cls.host, *arguments, str(SECONDS), windowsPath(cls.picture)], env=environment,
                                stdout=subprocess.PIPE, text=True, encoding="utf-8")
        limit = threading.Timer(LIMIT_SECONDS, subprocess.run, (["wineserver", "-k"],), {"env": environment})
        limit.start()
        cls.lines = []
        with host.stdout:
            for line in host.stdout:
                cls.lines.append(line.rstrip())
                if cls.lines[-1] == UNLOADED:
                    break
        limit.cancel()
        subprocess.run(["wineserver", "-k"], env=environment, check=False)
        host.wait()
        shutil.rmtree(prefix, ignore_errors=True)
        cls.output = "\n".join(cls.lines)

    def line(self, start):
        found = [line for line in self.lines if line.startswith(start)]
        self.assertTrue(found, f"no line '{start}…' in:\n{self.output}")
        return found[0][len(start):]

    def testQtIsThatOfObs(self):
        self.assertTrue(self.line("VERSIONS ").startswith("Qt 6.8.3, libobs "))

    def testDockIsRegisteredAndDrawn(self):
        self.assertEqual(self.line("DOCK "), "tarvoline-srtla-dock | Tarvoline SRTLA Receiver")
        self.assertEqual(self.line("PICTURE "), "saved")
        self.assertGreater(self.picture.stat().st_size, 5000)

    def testSourceHasItsSettings(self):
        kind, _, settings = self.line("SETTINGS ").partition(" ")
        self.assertEqual(kind, "ffmpeg_source")
        settings = json.loads(settings)
        self.assertEqual(settings["input"], URL)
        self.assertFalse(settings["is_local_file"])

    def testLogHasTheModulesLines(self):
        self.line("OBS [Tarvoline SRTLA] Plugin 0.9.2 wird geladen")
        self.line(UNLOADED)


if __name__ == "__main__":
    (LoadedModule.winerun, LoadedModule.host, LoadedModule.sdk, LoadedModule.module,
     LoadedModule.picture) = map(Path, sys.argv[1:6])
    unittest.main(argv=sys.argv[:1] + sys.argv[6:])
