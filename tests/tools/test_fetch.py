# SPDX-License-Identifier: GPL-2.0-or-later
"""What tools/msvc/fetch.py takes and what it refuses, with files of this machine."""

import hashlib
import json
import subprocess
import sys
import tempfile
import unittest
from pathlib import Path

TOOLS = Path(__file__).resolve().parents[2] / "tools/msvc"
sys.path.insert(0, str(TOOLS))

import fetch  # noqa: E402


class Fetch(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = Path(folder.name) / "dependencies"
        self.folder.mkdir()
        self.archive = Path(folder.name) / "archive.zip"
        self.archive.write_bytes(b"the bytes of an archive")
        self.url = self.archive.as_uri()
        self.digest = hashlib.sha256(self.archive.read_bytes()).hexdigest()

    def refusal(self, sha256):
        with self.assertRaises(SystemExit) as refused:
            fetch.fetch(self.url, sha256, self.folder)
        self.assertEqual(list(self.folder.iterdir()), [])
        return str(refused.exception)

    def testTakesWhatHasTheDigest(self):
        self.assertEqual(fetch.fetch(self.url, self.digest, self.folder).read_bytes(), self.archive.read_bytes())

    def testRefusesAnotherDigest(self):
        other = "0" * 64
        self.assertEqual(self.refusal(other), f"{self.url} has the digest {self.digest}, not {other}.")

    def testRefusesToFetchWithoutADigest(self):
        self.archive.unlink()  # it is not even looked at
        self.assertEqual(self.refusal(""), f"No digest is known for {self.url}: enter it in dependencies.json first.")

    def testTheProgramEndsThereWhileADigestIsMissing(self):
        known = json.loads((TOOLS / "dependencies.json").read_text())["obs-studio"]
        self.assertRegex(known["sha256"], "^([0-9a-f]{64})?$")
        if known["sha256"]:
            self.skipTest("the digest has been entered")
        result = subprocess.run([sys.executable, TOOLS / "fetch.py", self.folder], capture_output=True, text=True, check=False)
        self.assertEqual(result.returncode, 1)
        self.assertEqual(result.stderr.strip(), f"No digest is known for {known['url']}: enter it in dependencies.json first.")


if __name__ == "__main__":
    unittest.main()
