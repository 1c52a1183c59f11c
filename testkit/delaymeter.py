# SPDX-License-Identifier: GPL-2.0-or-later
"""Delay of datagrams between two ports on the loopback interface, measured with kernel time stamps."""

import collections
import hashlib
import socket
import struct
import threading

# Outgoing packets are captured only with ETH_P_ALL (packet(7)).
_ETH_P_ALL = 0x0003
_SO_TIMESTAMPNS = 35
# Exceeds net.core.rmem_max, so that the capture does not lose bursts; not permitted in a user namespace.
_SO_RCVBUFFORCE = 33
_OUTGOING = 4  # PACKET_OUTGOING of packet(7)
_ETHERNET_HEADER = 14
_SOURCE_ADDRESS = _ETHERNET_HEADER + 12
_UDP_HEADER = 8
_BUFFER_BYTES = 32 << 20
_MAX_FRAME_BYTES = 2048
_CONTROL_BYTES = 64  # for the control message with the time stamp
_POLL_S = 0.2  # so that the thread ends soon after __exit__
_NS_PER_S = 1_000_000_000


class DelayMeter:
    """Captures on the loopback interface and matches each datagram to a port of `first` with the equal datagram to `second`.

    Requires CAP_NET_RAW. Datagrams shorter than `shortest` bytes are ignored, to exclude control traffic. If the relay
    adds headers before the payload, the last `equal_bytes` bytes are compared."""

    def __init__(self, first: int | list[int], second: int, shortest: int = 1000, equal_bytes: int = 0):
        self._first = {first} if isinstance(first, int) else set(first)
        self._second, self._shortest, self._equal_bytes = second, shortest, equal_bytes
        self._paths = collections.Counter()
        self._sent_at = {}
        self._delays = []
        self._stopping = threading.Event()
        self._socket = socket.socket(socket.AF_PACKET, socket.SOCK_RAW, socket.htons(_ETH_P_ALL))
        try:
            self._socket.setsockopt(socket.SOL_SOCKET, _SO_RCVBUFFORCE, _BUFFER_BYTES)
        except PermissionError:
            self._socket.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, _BUFFER_BYTES)
        self._socket.setsockopt(socket.SOL_SOCKET, _SO_TIMESTAMPNS, 1)
        self._socket.bind(("lo", _ETH_P_ALL))
        self._socket.settimeout(_POLL_S)
        self._thread = threading.Thread(target=self._capture, daemon=True)

    def __enter__(self):
        self._thread.start()
        return self

    def __exit__(self, *_):
        self._stopping.set()
        self._thread.join()
        self._socket.close()

    def take(self, begin_ns: int, end_ns: int) -> tuple:
        """The sorted delays in milliseconds of the datagrams sent between two times (time.time_ns()), and the number of
        those that did not arrive. Discards earlier delays."""
        delays, self._delays = self._delays, []
        lost = sum(begin_ns <= at < end_ns for at in list(self._sent_at.values()))
        return sorted(delay / 1e6 for at, delay in delays if begin_ns <= at < end_ns), lost

    def paths(self) -> dict:
        """Number of datagrams to the first ports, by source address and port."""
        return dict(self._paths)

    def _capture(self):
        while not self._stopping.is_set():
            try:
                frame, extras, _, origin = self._socket.recvmsg(_MAX_FRAME_BYTES, _CONTROL_BYTES)
            except TimeoutError:
                continue
            # On loopback every datagram is captured twice, outgoing and incoming.
            if origin[2] == _OUTGOING:
                self._record(frame, _nanoseconds(extras))

    def _record(self, frame, at):
        start = _ETHERNET_HEADER + (frame[_ETHERNET_HEADER] & 0x0f) * 4
        port = int.from_bytes(frame[start + 2:start + 4])
        payload = frame[start + _UDP_HEADER:]
        if (port not in self._first and port != self._second) or len(payload) < self._shortest:
            return
        key = hashlib.blake2b(payload[-self._equal_bytes:], digest_size=16).digest()
        if port in self._first:
            self._paths[frame[_SOURCE_ADDRESS:_SOURCE_ADDRESS + 4], frame[start:start + 4]] += 1
            self._sent_at.setdefault(key, at)
        elif (sent := self._sent_at.pop(key, None)) is not None:
            self._delays.append((sent, at - sent))


def _nanoseconds(extras) -> int:
    seconds, nanoseconds = struct.unpack("qq", extras[0][2])
    return seconds * _NS_PER_S + nanoseconds
