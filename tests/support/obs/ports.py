# SPDX-License-Identifier: GPL-2.0-or-later
"""Ports of the loopback interface."""

import pathlib
import socket


def free_port(kind=socket.SOCK_STREAM) -> int:
    """A port of the loopback interface that nobody holds at the moment."""
    with socket.socket(socket.AF_INET, kind) as probe:
        probe.bind(("127.0.0.1", 0))
        return probe.getsockname()[1]


def listens(port: int) -> bool:
    """Whether some program holds a UDP port."""
    rows = pathlib.Path("/proc/net/udp").read_text().splitlines()[1:]
    return any(int(row.split()[1].split(":")[1], 16) == port for row in rows)
