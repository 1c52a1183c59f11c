# SPDX-License-Identifier: GPL-2.0-or-later
"""The script that creates the update manifest: output and rejected input."""

import hashlib
import json
import os
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

VENDOR = os.environ["TARVOLINE_VENDOR_HOST"]
SCRIPT = Path(os.environ["TARVOLINE_SERVICE"]) / "makemanifest.py"
PROGRAM = b"MZ" + bytes(range(256))


class MakeManifestTest(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name)
        self.installer = self.file("Setup-v1.2.3.exe", PROGRAM)
        self.manifest = self.folder / "update.json"

    def file(self, name, data):
        path = self.folder / name
        path.write_bytes(data)
        return path

    def make(self, *arguments):
        return subprocess.run([sys.executable, SCRIPT, *map(str, arguments)], capture_output=True, text=True, check=False)

    def assert_made(self, *arguments):
        run = self.make(*arguments)
        self.assertEqual(run.returncode, 0, run.stderr)
        return json.loads(self.manifest.read_text(encoding="utf-8"))

    def assert_refused(self, why, *arguments):
        before = sorted(self.folder.iterdir())
        run = self.make(*arguments)
        self.assertEqual(run.returncode, 1, run.stdout)
        self.assertIn(why, run.stderr)
        self.assertEqual(len(run.stderr.splitlines()), 1)
        self.assertEqual(sorted(self.folder.iterdir()), before)

    def test_version_address_and_digest(self):
        self.assertEqual(self.assert_made("1.2.3", self.installer), {
            "product": "tarvoline-srtla",
            "latest_version": "1.2.3",
            "download_url": f"https://{VENDOR}/Setup-v1.2.3.exe",
            "sha256": hashlib.sha256(PROGRAM).hexdigest(),
            "install_mode": "installer_exe",
        })
        self.assertEqual(sorted(path.name for path in self.folder.iterdir()), ["Setup-v1.2.3.exe", "update.json"])
        self.assertEqual(self.manifest.stat().st_mode & 0o777, 0o644)

    def test_notes_address_and_output(self):
        notes = self.file("notes.txt", "Schöner\nund größer\n".encode())
        output = self.folder / "other.json"
        address = f"https://files.{VENDOR}/v1/Setup.EXE?x=1"
        run = self.make("1.0", self.installer, "--address", address, "--notes", notes, "--output", output)
        self.assertEqual(run.returncode, 0, run.stderr)
        made = json.loads(output.read_text(encoding="utf-8"))
        self.assertEqual((made["download_url"], made["release_notes"]), (address, "Schöner\nund größer"))
        self.assertFalse(self.manifest.exists())

    def test_encodes_the_file_name_in_the_address(self):
        made = self.assert_made("1.0", self.file("Mein Setup ü.exe", PROGRAM))
        self.assertEqual(made["download_url"], f"https://{VENDOR}/Mein%20Setup%20%C3%BC.exe")

    def test_replaces_an_older_manifest(self):
        self.manifest.write_text("{}")
        self.assertEqual(self.assert_made("1.2.3", self.installer)["latest_version"], "1.2.3")

    def test_rejects_versions_that_plug_ins_cannot_compare(self):
        for version in ("abc", "", "v1.0", "1.0-beta", "1.", ".1", "1..2", "../1", "1.0\n", "9999999999"):
            with self.subTest(version=version):
                self.assert_refused("is not a version", version, self.installer)

    def test_rejects_files_that_are_not_installers(self):
        self.assert_refused("No such file", "1.0", self.folder / "none.exe")
        self.assert_refused("the file is empty", "1.0", self.file("empty.exe", b""))
        self.assert_refused("not a Windows program", "1.0", self.file("page.exe", b"<html>"))
        self.assert_refused("must end in .exe", "1.0", self.file("Setup.msi", PROGRAM),
                            "--address", f"https://{VENDOR}/Setup.exe")
        (self.folder / "folder.exe").mkdir()
        self.assert_refused("Is a directory", "1.0", self.folder / "folder.exe")

    def test_rejects_an_oversized_installer(self):
        large = self.folder / "large.exe"
        with large.open("wb") as file:
            file.write(b"MZ")
            file.truncate(262144000)
        self.assert_made("1.0", large)
        self.manifest.unlink()
        with large.open("r+b") as file:
            file.truncate(262144001)
        self.assert_refused("262144001 bytes", "1.0", large)

    def test_rejects_untrusted_addresses(self):
        for address, why in ((f"http://{VENDOR}/a.exe", "https only"), ("https://other.example/a.exe", "trust only"),
                             (f"https://evil{VENDOR}/a.exe", "trust only"), (f"https://{VENDOR}./a.exe", "trust only"),
                             (f"https://{VENDOR}/a.zip", ".exe"), (f"https://{VENDOR}/a?b=.exe", ".exe")):
            with self.subTest(address=address):
                self.assert_refused(why, "1.0", self.installer, "--address", address)

    def test_reports_truncated_and_oversized_notes(self):
        run = self.make("1.0", self.installer, "--notes", self.file("long.txt", b"n" * 1001))
        self.assertEqual(run.returncode, 0)
        self.assertIn("only the first 1000 of these 1001", run.stderr)
        self.manifest.unlink()
        self.file("huge.txt", b"n" * 66000)
        run = self.make("1.0", self.installer, "--notes", self.folder / "huge.txt")
        self.assertEqual(run.returncode, 1)
        self.assertIn("at most 65536", run.stderr)
        self.assertFalse(self.manifest.exists())

    def test_rejects_notes_that_are_not_text(self):
        self.assert_refused("No such file", "1.0", self.installer, "--notes", self.folder / "none.txt")
        self.assert_refused("not UTF-8", "1.0", self.installer, "--notes", self.file("notes.txt", b"\xff\xfe"))

    def test_reports_write_errors(self):
        self.assert_refused("No such file", "1.0", self.installer, "--output", self.folder / "none" / "update.json")


if __name__ == "__main__":
    unittest.main()
