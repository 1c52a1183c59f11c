# SPDX-License-Identifier: GPL-2.0-or-later
"""Free ports, and the system's state of bound UDP ports."""

import pathlib
import socket

_ANY_ADDRESS = "0.0.0.0"
_HEXADECIMAL = 16


def free_tcp_port() -> int:
    """A TCP port that is free at the moment."""
    return _free_port(socket.SOCK_STREAM)


def free_udp_port() -> int:
    """A UDP port that is free at the moment."""
    return _free_port(socket.SOCK_DGRAM)


def held_udp_ports() -> set[int]:
    """The UDP ports that are bound at an IPv4 address."""
    return {port for port, _ in _udp_sockets()}


def udp_drops(port: int) -> int:
    """Number of datagrams to a bound UDP port that were dropped because its buffer was full."""
    return sum(drops for held, drops in _udp_sockets() if held == port)


def _free_port(kind) -> int:
    with socket.socket(socket.AF_INET, kind) as probe:
        probe.bind((_ANY_ADDRESS, 0))
        return probe.getsockname()[1]


def _udp_sockets():
    """Local port and dropped datagrams of each socket (/proc/net/udp, second and last column)."""
    for line in pathlib.Path("/proc/net/udp").read_text(encoding="ascii").splitlines()[1:]:
        columns = line.split()
        yield int(columns[1].split(":")[1], _HEXADECIMAL), int(columns[-1])
