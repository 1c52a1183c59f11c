# SPDX-License-Identifier: GPL-2.0-or-later
"""A network namespace for a test: loopback only, with its own hosts file, name server and certificate authorities."""

import os
import subprocess
import sys
import tempfile
from pathlib import Path

# Exit code for CTest (SKIP_RETURN_CODE) when a test cannot run on this machine.
SKIPPED = 77

_INSIDE = "TARVOLINE_OWN_NETWORK"
_BUNDLE = Path("/etc/ssl/certs/ca-certificates.crt")


def enter():
    """Restarts this program in new network, mount and process namespaces; returns only there.

    The process namespace ends all processes that the program has started.
    """
    if os.environ.get(_INSIDE):
        subprocess.run(["ip", "link", "set", "lo", "up"], check=True)
        return
    namespaces = ["unshare", "--net", "--mount", "--pid", "--fork", "--kill-child", "--mount-proc"]
    if os.environ.get("TARVOLINE_INSIDE"):
        # The build root's mounts are already private, and its root is no mount point, so that changing its propagation fails.
        namespaces += ["--propagation", "unchanged"]
    if os.geteuid() != 0:
        namespaces.append("--map-root-user")
    trial = subprocess.run([*namespaces, "true"], capture_output=True, text=True, check=False)
    if trial.returncode != 0:
        print("skipped: this system does not permit namespaces:", trial.stderr, file=sys.stderr)
        sys.exit(SKIPPED)
    os.environ[_INSIDE] = "1"
    os.execvp(namespaces[0], [*namespaces, sys.executable, *sys.argv])


def trust(authority):
    """Adds the PEM file `authority` to the system's trust store in this namespace."""
    _cover(_BUNDLE, _BUNDLE.read_text() + authority.read_text())


def name(hosts):
    """Resolves the names `hosts` to 127.0.0.1."""
    _cover(Path("/etc/hosts"), f"127.0.0.1 localhost {' '.join(hosts)}\n")


def use_name_server(address):
    """Makes `address` the name server. Its time-out is longer than that of the tested programs."""
    _cover(Path("/etc/resolv.conf"), f"nameserver {address}\noptions timeout:30 attempts:5\n")


def _cover(path, text):
    """Mounts a file with `text` over `path` in this mount namespace."""
    with tempfile.NamedTemporaryFile("w", delete=False) as cover:
        cover.write(text)
    os.chmod(cover.name, 0o644)
    subprocess.run(["mount", "--bind", cover.name, str(path.resolve())], check=True)
    os.unlink(cover.name)
