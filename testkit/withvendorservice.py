#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Runs a test program beside the vendor's service: withvendorservice.py VENDOR-HOST CONFIGURATION PROGRAM [ARG...]

The program runs in a separate network namespace, in which the vendor's host resolves to 127.0.0.1, a real nginx listens on
port 443 and its certificate is trusted. The exit code is the program's, or 77 for "skipped".
"""

import os
import subprocess
import sys
import tempfile
from pathlib import Path

import ownnetwork
from certificates import Authority
from vendorservice import VendorService

HTTPS_PORT = 443  # the vendor's address has no port


def main():
    ownnetwork.enter()
    vendor, configuration, *program = sys.argv[1:]
    with tempfile.TemporaryDirectory() as folder:
        authority = Authority(Path(folder) / "authority")
        ownnetwork.trust(authority.certificate)
        ownnetwork.name([vendor])
        service = VendorService(Path(folder) / "service", configuration, authority.issue(vendor), HTTPS_PORT)
        environment = {name: value for name, value in os.environ.items() if not name.lower().endswith("_proxy")}
        try:
            return subprocess.run(program, env=environment, check=False).returncode
        finally:
            service.stop()


if __name__ == "__main__":
    sys.exit(main())
