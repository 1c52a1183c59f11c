# SPDX-License-Identifier: GPL-2.0-or-later
"""packaging/checktag.py: accepted and rejected tags and hosts."""

import json
import subprocess
import sys
import unittest
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]
VERSION = json.loads((PROJECT / "buildspec.json").read_text())["version"]
HOST = "service.vendor.net"


class CheckTagTest(unittest.TestCase):
    def check(self, *arguments):
        done = subprocess.run([sys.executable, PROJECT / "packaging/checktag.py", *arguments], capture_output=True,
                              text=True, check=False)
        self.assertEqual(done.stdout, "")
        return done.returncode, done.stderr

    def test_accepts_the_tag_of_the_version_with_a_host(self):
        self.assertEqual(self.check(f"v{VERSION}", HOST), (0, ""))
        # Only whole names are reserved.
        self.assertEqual(self.check(f"v{VERSION}", "myexample.com"), (0, ""))
        self.assertEqual(self.check(f"v{VERSION}", "test.vendor.net"), (0, ""))

    def test_rejects_another_version(self):
        for tag in (VERSION, f"v{VERSION}.1", f"v{VERSION}-rc1", "v0.0.1", "", "main"):
            code, message = self.check(tag, HOST)
            self.assertEqual(code, 1)
            self.assertEqual(message, f"The tag {tag!r} is not v{VERSION}, the version in buildspec.json.\n")

    def test_rejects_a_missing_host(self):
        code, message = self.check(f"v{VERSION}", "")
        self.assertEqual(code, 1)
        self.assertIn("No vendor host is set", message)

    def test_rejects_a_reserved_host(self):
        for host in ("tarvoline.example", "vendor.test", "localhost", "www.example.com", "a.invalid"):
            code, message = self.check(f"v{VERSION}", host)
            self.assertEqual(code, 1)
            self.assertIn(f"The vendor host {host} is a reserved name", message)

    def test_wrong_number_of_arguments_shows_the_usage(self):
        for arguments in ((), ("v1",), ("v1", HOST, "more")):
            self.assertEqual(self.check(*arguments), (1, "usage: checktag.py TAG VENDOR-HOST\n"))


if __name__ == "__main__":
    unittest.main()
