# SPDX-License-Identifier: GPL-2.0-or-later
"""Error handling of tools/buildroot/fetch-innosetup, with a replacement for npm. The Windows build has the real package."""

import os
import subprocess
import tempfile
import unittest
from pathlib import Path

SCRIPT = Path(__file__).resolve().parents[2] / "tools/buildroot/fetch-innosetup"


class FetchInnoSetupTest(unittest.TestCase):
    def setUp(self):
        self.root = Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.folder = self.root / "innosetup"

    def fetch(self, *arguments, npm="exit 7"):
        (self.root / "bin").mkdir()
        (self.root / "bin/npm").write_text(f"#!/bin/sh\n{npm}\n")
        (self.root / "bin/npm").chmod(0o755)
        done = subprocess.run([SCRIPT, *arguments], env=os.environ | {"PATH": f"{self.root}/bin:{os.environ['PATH']}"},
                              capture_output=True, text=True, check=False)
        return done.returncode, done.stderr

    def test_a_failed_download_leaves_nothing(self):
        self.assertEqual(self.fetch(self.folder),
                         (1, "Inno Setup (innosetup-compiler@6.3.1) could not be downloaded from npm.\n"))
        self.assertEqual({path.name for path in self.root.iterdir()}, {"bin"})

    def test_other_bytes_are_refused(self):
        for npm in ("echo x >innosetup-compiler-6.3.1.tgz", "true"):
            with self.subTest(npm=npm):
                code, message = self.fetch(self.folder, npm=npm)
                self.assertEqual(code, 1)
                self.assertIn("does not have the known digest.", message)
                (self.root / "bin/npm").unlink()
                (self.root / "bin").rmdir()
                self.assertEqual(list(self.root.iterdir()), [])

    def test_a_fetched_compiler_is_left_as_it_is(self):
        (self.folder / "bin").mkdir(parents=True)
        (self.folder / "bin/ISCC.exe").write_text("x")
        self.assertEqual(self.fetch(self.folder), (0, ""))

    def test_another_folder_is_refused(self):
        self.folder.mkdir()
        (self.folder / "mine").write_text("x")
        code, message = self.fetch(self.folder)
        self.assertEqual((code, message), (
            1, f"{self.folder} exists and does not contain Inno Setup; give the path of a new folder.\n"))
        self.assertTrue((self.folder / "mine").exists())

    def test_without_a_folder_the_usage_is_shown(self):
        self.assertEqual(self.fetch(), (2, "usage: fetch-innosetup FOLDER\n"))


if __name__ == "__main__":
    unittest.main()
