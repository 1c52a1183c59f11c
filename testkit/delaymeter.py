# SPDX-License-Identifier: GPL-2.0-or-later
"""How long datagrams take from one port of the loopback interface to another, by the kernel's own clock."""

import collections
import hashlib
import socket
import struct
import threading

# Only who listens for every protocol is shown what leaves.
_ETH_P_ALL = 0x0003
_SO_TIMESTAMPNS = 35
# Beyond net.core.rmem_max, so that a burst after a stall is not lost in the capture; refused in a user namespace.
_SO_RCVBUFFORCE = 33
_OUTGOING = 4
_ETHERNET_HEADER = 14
_SOURCE_ADDRESS = _ETHERNET_HEADER + 12
_UDP_HEADER = 8
_BUFFER = 32 << 20
_TICK_S = 0.2
_NS_PER_S = 1_000_000_000


class DelayMeter:
    """Watches the loopback interface and pairs each datagram to a port of `first` with the equal one to `second`.

    Needs the right to open packet sockets. Datagrams shorter than `shortest` bytes are left out, so that control traffic
    does not stand for the stream. Where the relay in between puts headers of its own before the payload, `equal_bytes`
    says how many bytes at the end are compared."""

    def __init__(self, first: int | list[int], second: int, shortest: int = 1000, equal_bytes: int = 0):
        self._first = {first} if isinstance(first, int) else set(first)
        self._second, self._shortest, self._equal_bytes = second, shortest, equal_bytes
        self._ways = collections.Counter()
        self._sent_at = {}
        self._delays = []
        self._leaving = threading.Event()
        self._socket = socket.socket(socket.AF_PACKET, socket.SOCK_RAW, socket.htons(_ETH_P_ALL))
        try:
            self._socket.setsockopt(socket.SOL_SOCKET, _SO_RCVBUFFORCE, _BUFFER)
        except PermissionError:
            self._socket.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, _BUFFER)
        self._socket.setsockopt(socket.SOL_SOCKET, _SO_TIMESTAMPNS, 1)
        self._socket.bind(("lo", _ETH_P_ALL))
        self._socket.settimeout(_TICK_S)
        self._thread = threading.Thread(target=self._watch, daemon=True)

    def __enter__(self):
        self._thread.start()
        return self

    def __exit__(self, *_):
        self._leaving.set()
        self._thread.join()
        self._socket.close()

    def take(self, begin_ns: int, end_ns: int) -> tuple:
        """The delays in milliseconds, sorted, of the datagrams sent between two moments of time.time_ns(), and how many of
        them have not come through. Forgets everything before."""
        delays, self._delays = self._delays, []
        lost = sum(begin_ns <= at < end_ns for at in list(self._sent_at.values()))
        return sorted(delay / 1e6 for at, delay in delays if begin_ns <= at < end_ns), lost

    def ways(self) -> dict:
        """How many datagrams have come to the first ports so far, by their source and port."""
        return dict(self._ways)

    def _watch(self):
        while not self._leaving.is_set():
            try:
                frame, extras, _, origin = self._socket.recvmsg(2048, 64)
            except TimeoutError:
                continue
            # Loopback shows every datagram twice, leaving and arriving; one of them is enough.
            if origin[2] == _OUTGOING:
                self._note(frame, _nanoseconds(extras))

    def _note(self, frame, at):
        start = _ETHERNET_HEADER + (frame[_ETHERNET_HEADER] & 0x0f) * 4
        port = int.from_bytes(frame[start + 2:start + 4])
        payload = frame[start + _UDP_HEADER:]
        if (port not in self._first and port != self._second) or len(payload) < self._shortest:
            return
        key = hashlib.blake2b(payload[-self._equal_bytes:], digest_size=16).digest()
        if port in self._first:
            self._ways[frame[_SOURCE_ADDRESS:_SOURCE_ADDRESS + 4], frame[start:start + 4]] += 1
            self._sent_at.setdefault(key, at)
        elif (sent := self._sent_at.pop(key, None)) is not None:
            self._delays.append((sent, at - sent))


def _nanoseconds(extras) -> int:
    seconds, nanoseconds = struct.unpack("qq", extras[0][2])
    return seconds * _NS_PER_S + nanoseconds
