#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Runs a test program with a test server in place of the vendor's service: withjsonservice.py VENDOR-HOST PROGRAM [ARG...]

The program runs in a network namespace in which the vendor's host resolves to 127.0.0.1 and a test authority is trusted.
The environment variable TARVOLINE_JSON_SERVICE has the ports. The exit code is the program's, or 77 for "skipped".
"""

import json
import os
import subprocess
import sys
import tempfile
from pathlib import Path

import nameserver
import ownnetwork
from certificates import Authority
from jsonservice import Service

HTTPS_PORT = 443


def main():
    ownnetwork.enter()
    vendor, *program = sys.argv[1:]
    with tempfile.TemporaryDirectory() as folder:
        service = start(Path(folder), vendor)
        environment = {**os.environ, "TARVOLINE_JSON_SERVICE": json.dumps(service.ports)}
        for proxy in ("http_proxy", "https_proxy", "HTTPS_PROXY", "all_proxy", "ALL_PROXY"):
            environment.pop(proxy, None)
        return subprocess.run(program, env=environment, check=False).returncode


def start(folder, vendor):
    trusted = Authority(folder / "trusted")
    stranger = Authority(folder / "stranger", "Untrusted authority")
    ownnetwork.trust(trusted.certificate)
    ownnetwork.name([vendor])
    nameserver.start()
    ownnetwork.use_name_server(nameserver.ADDRESS)

    service = Service()
    ours = trusted.issue("localhost", vendor)
    service.listen_tls("vendor", ours, HTTPS_PORT)
    service.listen_tls("https", ours)
    service.listen_tls("otherHost", trusted.issue("other.example"))
    service.listen_tls("expired", trusted.issue("localhost", expired=True))
    service.listen_tls("stranger", stranger.issue("localhost"))
    service.listen_plain("http")
    service.listen_silent("silent")
    service.listen_control("control")
    service.refuse("refused")
    service.swallow("swallowed")
    return service


if __name__ == "__main__":
    sys.exit(main())
