# SPDX-License-Identifier: GPL-2.0-or-later
"""A Windows machine of a test's own: a fresh Wine prefix, and what tests ask of it."""

import re
import subprocess
import tempfile
import time
from pathlib import Path

WITHIN_SECONDS = 120
LOOK_EVERY_SECONDS = 0.1


class WineMachine:
    """Made of the project's Wine scripts in `tools`; gone after close()."""

    def __init__(self, tools, environment):
        self._tools = Path(tools)
        prefix = subprocess.run([self._tools / "wineprefix"], check=True, capture_output=True, text=True).stdout.strip()
        self.driveC = Path(prefix) / "drive_c"
        self._environment = environment | {"WINEPREFIX": prefix}

    def close(self):
        subprocess.run(["wineserver", "-k"], env=self._environment, check=False)
        subprocess.run(["wineserver", "-w"], env=self._environment, check=False)
        subprocess.run(["rm", "-rf", self.driveC.parent], check=True)

    def run(self, *command):
        """Runs a program to its end; the completed process holds its exit code and output."""
        # A file and no pipe: what the program starts and leaves running would hold a pipe open.
        with tempfile.TemporaryFile(mode="w+", errors="replace") as output:
            result = subprocess.run([self._tools / "winerun", *map(str, command)], env=self._environment, check=False,
                                    stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.STDOUT)
            output.seek(0)
            result.stdout = output.read()
        return result

    def start(self, *command):
        return subprocess.Popen([self._tools / "winerun", *map(str, command)], env=self._environment, stdin=subprocess.DEVNULL)

    @property
    def environment(self):
        """The variables that bring a program onto this machine."""
        return dict(self._environment)

    def files(self, folder):
        """The files below a folder of drive C, as relative paths."""
        root = self.driveC / folder
        return {path.relative_to(root).as_posix() for path in root.rglob("*") if path.is_file()}

    def write(self, name, content=b"x"):
        path = self.driveC / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)
        return path

    def setEnvironment(self, name, value):
        self._environment[name] = value

    def setRegistry(self, key, name, value):
        which = ["/v", name] if name else ["/ve"]
        assert self.run("reg", "add", key, *which, "/d", value, "/f").returncode == 0

    def registry(self, key):
        """The values of a key as Wine's own reg shows them, by name; None when there is no such key."""
        result = self.run("reg", "query", key)
        if result.returncode != 0:
            return None
        return {name: value.rstrip()
                for name, value in re.findall(r"^    (.*?)    REG_\w+    (.*)$", result.stdout, re.MULTILINE)}

    def registryKeysBelow(self, key):
        result = self.run("reg", "query", key)
        return [line.strip() for line in result.stdout.splitlines() if line.startswith("HKEY")]


def waitFor(condition, what):
    deadline = time.monotonic() + WITHIN_SECONDS
    while not condition():
        if time.monotonic() > deadline:
            raise AssertionError(f"never came: {what}")
        time.sleep(LOOK_EVERY_SECONDS)
