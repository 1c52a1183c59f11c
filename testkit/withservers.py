#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Runs a test program beside the servers it talks to: withservers.py --vendor HOST [--service FILE] COMMAND [ARG…]

The program finds them in the environment variable TARVOLINE_TEST_SERVERS, a JSON object:

    authority            PEM file of the authority that issued the certificates; trusted by nobody but the test
    doors.proxy          port of a proxy behind which every host is the scripted server (tlsserver.py)
    doors.control        port of the scripted server's control door

and, when --service names the configuration of the real service (vendorservice.py):

    doors.serviceProxy   port of a proxy behind which every host is that service
    serviceRoot          the folder whose files it serves
    serviceScripts       the folder with its configuration and scripts

Here and not in the test programs, because some of those run under Wine.
"""

import argparse
import json
import os
import subprocess
import sys
import tempfile
from pathlib import Path

from certificates import Authority
from tlsserver import TlsServer
from vendorservice import VendorService


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("--vendor", required=True)
    parser.add_argument("--service")
    parser.add_argument("command", nargs=argparse.REMAINDER)
    arguments = parser.parse_args()

    with tempfile.TemporaryDirectory(prefix="servers-") as folder:
        authority = Authority(Path(folder) / "authority")
        vendor = arguments.vendor
        certificate = authority.issue(vendor, f"*.{vendor}", f"evil{vendor}", "other.example")

        server = TlsServer()
        server.openProxyDoor("proxy", certificate)
        server.openControlDoor()
        servers = {"authority": str(authority.certificate), "doors": server.doors}

        service = None
        if arguments.service:
            service = VendorService(Path(folder) / "service", arguments.service, certificate)
            server.openTunnelDoor("serviceProxy", service.port)
            servers |= {"serviceRoot": str(service.root), "serviceScripts": str(Path(arguments.service).parent)}
        try:
            return subprocess.run(arguments.command, env=os.environ | {"TARVOLINE_TEST_SERVERS": json.dumps(servers)},
                                  check=False).returncode
        finally:
            if service:
                service.stop()


if __name__ == "__main__":
    sys.exit(main())
