# SPDX-License-Identifier: GPL-2.0-or-later
"""The vendor's service: nginx on loopback with the delivered configuration."""

import os
import re
import socket
import subprocess
import time
from pathlib import Path

from ports import free_tcp_port
from timelimits import PROGRAM_TIMEOUT_S

MODULES = Path("/usr/lib/nginx/modules")

MAIN = """
load_module {modules}/ngx_http_echo_module.so;
{user}
worker_processes 1;
daemon off;
pid {folder}/nginx.pid;
error_log {folder}/error.log info;
events {{ worker_connections 64; }}
http {{
    access_log off;
    client_body_temp_path {folder}/body;
    proxy_temp_path {folder}/proxy;
    fastcgi_temp_path {folder}/fastcgi;
    uwsgi_temp_path {folder}/uwsgi;
    scgi_temp_path {folder}/scgi;
    include {folder}/service.conf;
}}
"""


class VendorService:
    """Runs `configuration` with `certificate` on 127.0.0.1, on a free port if none is given; serves the files in `root`."""

    def __init__(self, folder, configuration, certificate, port=None):
        self.folder = Path(folder)
        self.root = self.folder / "root"
        self.root.mkdir(parents=True)
        self.port = port or free_tcp_port()
        (self.folder / "service.conf").write_text(self._moved(Path(configuration).read_text(), certificate))
        # As root, nginx's workers would run as "nobody" without access to the test's folder.
        user = "user root;" if os.getuid() == 0 else ""
        (self.folder / "nginx.conf").write_text(MAIN.format(modules=MODULES, user=user, folder=self.folder))
        self._process = subprocess.Popen(["nginx", "-e", self.folder / "error.log", "-c", self.folder / "nginx.conf"])
        self._wait_for_listener()

    def stop(self):
        self._process.terminate()
        self._process.wait()

    def _moved(self, text, certificate):
        """The configuration with the test's port, certificate and folder."""
        for pattern, replacement in ((r"listen 443 ssl;", f"listen 127.0.0.1:{self.port} ssl;"),
                                     (r"ssl_certificate .*;", f"ssl_certificate {certificate};"),
                                     (r"ssl_certificate_key .*;", f"ssl_certificate_key {certificate};"),
                                     (r"root .*;", f"root {self.root};")):
            text, count = re.subn(rf"(?m)^(\s*){pattern}$", rf"\g<1>{replacement}", text)
            assert count == 1, pattern
        return text

    def _wait_for_listener(self):
        deadline = time.monotonic() + PROGRAM_TIMEOUT_S
        while self._process.poll() is None and time.monotonic() < deadline:
            try:
                socket.create_connection(("127.0.0.1", self.port)).close()
                return
            except ConnectionRefusedError:
                time.sleep(0.05)
        self.stop()
        raise RuntimeError("nginx did not start: " + (self.folder / "error.log").read_text())
