#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Runs a test program beside a stand-in for the vendor's service: withjsonservice.py VENDOR-HOST PROGRAM [ARG...]

The program runs in a network of its own, in which the vendor's host is this machine and a test authority is trusted. It
finds the ports in the environment variable TARVOLINE_JSON_SERVICE. The exit code is the program's, or 77 for "skipped".
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

HTTPS_PORT = 443  # the vendor's address names no port


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
    stranger = Authority(folder / "stranger", "Nobody's authority")
    ownnetwork.trust(trusted.certificate)
    ownnetwork.name([vendor])
    nameserver.start()
    ownnetwork.ask(nameserver.ADDRESS)

    service = Service()
    ours = trusted.issue("localhost", vendor)
    service.listenTls("vendor", ours, HTTPS_PORT)
    service.listenTls("https", ours)
    service.listenTls("otherHost", trusted.issue("other.example"))
    service.listenTls("expired", trusted.issue("localhost", expired=True))
    service.listenTls("stranger", stranger.issue("localhost"))
    service.listenPlain("http")
    service.listenSilent("silent")
    service.listenControl("control")
    service.refuse("refused")
    service.swallow("swallowed")
    return service


if __name__ == "__main__":
    sys.exit(main())
