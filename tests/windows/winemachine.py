# SPDX-License-Identifier: GPL-2.0-or-later
"""A Wine prefix for one test, with access to its files and its registry."""

import re
import subprocess
import tempfile
from pathlib import Path


class WineMachine:
    """A new Wine prefix, which close() deletes. `tools` is the folder with the project's Wine scripts."""

    def __init__(self, tools, environment):
        self._tools = Path(tools)
        prefix = subprocess.run([self._tools / "wineprefix"], check=True, capture_output=True, text=True).stdout.strip()
        self.drive_c = Path(prefix) / "drive_c"
        self._environment = environment | {"WINEPREFIX": prefix}

    def close(self):
        subprocess.run(["wineserver", "-k"], env=self._environment, check=False)
        subprocess.run(["wineserver", "-w"], env=self._environment, check=False)
        subprocess.run(["rm", "-rf", self.drive_c.parent], check=True)

    def run(self, *command):
        """Runs a program to its end; the completed process has its exit code and output."""
        # A file, because processes that the program leaves running would keep a pipe open.
        with tempfile.TemporaryFile(mode="w+", errors="replace") as output:
            result = subprocess.run([self._tools / "winerun", *map(str, command)], env=self._environment, check=False,
                                    stdin=subprocess.DEVNULL, stdout=output, stderr=subprocess.STDOUT)
            output.seek(0)
            result.stdout = output.read()
        return result

    def start(self, *command):
        """Starts a program; the caller ends it."""
        return subprocess.Popen([self._tools / "winerun", *map(str, command)], env=self._environment, stdin=subprocess.DEVNULL)

    @property
    def environment(self):
        """The environment variables of programs in this prefix."""
        return dict(self._environment)

    def files(self, folder):
        """The files below a folder of drive C, as relative paths."""
        root = self.drive_c / folder
        return {path.relative_to(root).as_posix() for path in root.rglob("*") if path.is_file()}

    def write(self, name, content=b"x"):
        """Writes a file on drive C and returns its path."""
        path = self.drive_c / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(content)
        return path

    def set_environment(self, name, value):
        self._environment[name] = value

    def set_registry(self, key, name, value):
        """Sets a text value of a registry key; an empty name is the default value."""
        which = ["/v", name] if name else ["/ve"]
        assert self.run("reg", "add", key, *which, "/d", value, "/f").returncode == 0

    def registry(self, key):
        """The values of a registry key by name; None if the key does not exist."""
        result = self.run("reg", "query", key)
        if result.returncode != 0:
            return None
        return {name: value.rstrip()
                for name, value in re.findall(r"^    (.*?)    REG_\w+    (.*)$", result.stdout, re.MULTILINE)}

    def registry_keys_below(self, key):
        result = self.run("reg", "query", key)
        return [line.strip() for line in result.stdout.splitlines() if line.startswith("HKEY")]
