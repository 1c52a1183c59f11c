# SPDX-License-Identifier: GPL-2.0-or-later
"""A name server that returns NXDOMAIN for all names, and no response for names below "silent"."""

import socket
import threading

ADDRESS = "127.0.0.53"
_PORT = 53
_HEADER_BYTES = 12
_NXDOMAIN = b"\x81\x83"  # response, recursion desired and available, no such name


def start():
    server = socket.socket(socket.AF_INET, socket.SOCK_DGRAM)
    server.bind((ADDRESS, _PORT))
    threading.Thread(target=_answer, args=(server,), daemon=True).start()


def _answer(server):
    while True:
        query, client = server.recvfrom(4096)
        if b"\x06silent\x00" not in query.lower():
            question = query[_HEADER_BYTES:query.index(b"\x00", _HEADER_BYTES) + 5]
            server.sendto(query[:2] + _NXDOMAIN + b"\x00\x01" + bytes(6) + question, client)
