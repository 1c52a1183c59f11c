# SPDX-License-Identifier: GPL-2.0-or-later
"""A process's own network: nothing but loopback, and its own answers to "who is that host" and "whom do I trust"."""

import os
import subprocess
import sys
import tempfile
from pathlib import Path

# What CTest is told (SKIP_RETURN_CODE) when a test cannot run on this machine.
SKIPPED = 77

_INSIDE = "TARVOLINE_OWN_NETWORK"
_BUNDLE = Path("/etc/ssl/certs/ca-certificates.crt")


def enter():
    """Starts this program over in network, mount and process namespaces of its own; returns in there only.

    The process namespace takes everything down that the program has started, however it ends.
    """
    if os.environ.get(_INSIDE):
        subprocess.run(["ip", "link", "set", "lo", "up"], check=True)
        return
    namespaces = ["unshare", "--net", "--mount", "--pid", "--fork", "--kill-child", "--mount-proc"]
    if os.environ.get("TARVOLINE_INSIDE"):
        # The build root's mounts are nobody else's already, and its own root is no mount that could be made so.
        namespaces += ["--propagation", "unchanged"]
    if os.geteuid() != 0:
        namespaces.append("--map-root-user")
    trial = subprocess.run([*namespaces, "true"], capture_output=True, text=True, check=False)
    if trial.returncode != 0:
        print("skipped: this system gives the test no namespaces of its own:", trial.stderr, file=sys.stderr)
        sys.exit(SKIPPED)
    os.environ[_INSIDE] = "1"
    os.execvp(namespaces[0], [*namespaces, sys.executable, *sys.argv])


def trust(authority):
    """Has every program in here trust the PEM file `authority` as the system's own authorities."""
    _cover(_BUNDLE, _BUNDLE.read_text() + authority.read_text())


def name(hosts):
    """Gives every name of `hosts` the address 127.0.0.1."""
    _cover(Path("/etc/hosts"), f"127.0.0.1 localhost {' '.join(hosts)}\n")


def ask(nameServer):
    """Has every program in here ask `nameServer`, and wait long for it: whoever waits shorter has a limit of its own."""
    _cover(Path("/etc/resolv.conf"), f"nameserver {nameServer}\noptions timeout:30 attempts:5\n")


def _cover(path, text):
    """Puts a file with `text` over `path`, for this mount namespace only."""
    with tempfile.NamedTemporaryFile("w", delete=False) as cover:
        cover.write(text)
    os.chmod(cover.name, 0o644)
    subprocess.run(["mount", "--bind", cover.name, str(path.resolve())], check=True)
    os.unlink(cover.name)
