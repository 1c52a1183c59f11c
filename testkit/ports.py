# SPDX-License-Identifier: GPL-2.0-or-later
"""Ports of this network, and what the system says of the UDP ports that programs hold."""

import pathlib
import socket

_ANY_ADDRESS = "0.0.0.0"
_HEXADECIMAL = 16


def free_tcp_port() -> int:
    """A TCP port that nobody holds at the moment."""
    return _free_port(socket.SOCK_STREAM)


def free_udp_port() -> int:
    """A UDP port that nobody holds at the moment."""
    return _free_port(socket.SOCK_DGRAM)


def held_udp_ports() -> set[int]:
    """The UDP ports that programs hold at an IPv4 address."""
    return {port for port, _ in _udp_sockets()}


def udp_drops(port: int) -> int:
    """Datagrams that arrived at a bound UDP port and found its buffer full."""
    return sum(drops for held, drops in _udp_sockets() if held == port)


def _free_port(kind) -> int:
    with socket.socket(socket.AF_INET, kind) as probe:
        probe.bind((_ANY_ADDRESS, 0))
        return probe.getsockname()[1]


def _udp_sockets():
    """Local port and dropped datagrams of each socket: the second and the last column of proc_net_udp(5)."""
    for line in pathlib.Path("/proc/net/udp").read_text(encoding="ascii").splitlines()[1:]:
        columns = line.split()
        yield int(columns[1].split(":")[1], _HEXADECIMAL), int(columns[-1])
