#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Runs a test program with its HTTPS servers: withservers.py --vendor HOST [--service FILE] COMMAND [ARG…]

The environment variable TARVOLINE_TEST_SERVERS has their data as a JSON object:

    authority               PEM file of the test authority that issued the certificates
    endpoints.proxy         port of a proxy that maps every host to the scripted server (tlsserver.py)
    endpoints.control       port of the scripted server's control endpoint

and, when --service names the configuration of the real service (vendorservice.py):

    endpoints.serviceProxy  port of a proxy that maps every host to that service
    serviceRoot             the folder whose files it serves
    serviceScripts          the folder with its configuration and scripts

The servers are separate processes, because some test programs run under Wine.
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
        server.open_proxy_endpoint("proxy", certificate)
        server.open_control_endpoint()
        servers = {"authority": str(authority.certificate), "endpoints": server.endpoints}

        service = None
        if arguments.service:
            service = VendorService(Path(folder) / "service", arguments.service, certificate)
            server.open_tunnel_endpoint("serviceProxy", service.port)
            servers |= {"serviceRoot": str(service.root), "serviceScripts": str(Path(arguments.service).parent)}
        try:
            return subprocess.run(arguments.command, env=os.environ | {"TARVOLINE_TEST_SERVERS": json.dumps(servers)},
                                  check=False).returncode
        finally:
            if service:
                service.stop()


if __name__ == "__main__":
    sys.exit(main())
