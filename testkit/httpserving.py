# SPDX-License-Identifier: GPL-2.0-or-later
"""Shared by the test servers: concurrent connections, TLS, parsing of requests."""

import ssl
import threading

RECEIVED_AT_ONCE = 65536
HEAD_END = b"\r\n\r\n"


def serve_each(listener, serve, accepted):
    """Accepts connections until the process ends; for each, calls `accepted` and serves it in a thread."""
    def accept_all():
        while True:
            connection, _ = listener.accept()
            accepted()
            threading.Thread(target=quietly, args=(serve, connection), daemon=True).start()

    threading.Thread(target=accept_all, daemon=True).start()


def quietly(serve, connection):
    """Serves one connection and closes it."""
    try:
        with connection:
            serve(connection)
    except OSError:
        pass  # clients that disconnect or reject the certificate are test cases


def tls_context(certificate):
    """A server's TLS context with the PEM file `certificate`, which includes the key."""
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(certificate)
    return context


def read_head(connection, rest=b""):
    """The next request head including its empty line, and the bytes after it; both empty at the end of the connection."""
    while HEAD_END not in rest:
        block = connection.recv(RECEIVED_AT_ONCE)
        if not block:
            return b"", b""
        rest += block
    head, rest = rest.split(HEAD_END, 1)
    return head + HEAD_END, rest


def read_request(connection, rest=b""):
    """Head and body of the next request, and the bytes after them; all empty at the end of the connection."""
    head, rest = read_head(connection, rest)
    length = next((int(line.split(b":")[1]) for line in head.lower().split(b"\r\n")
                   if line.startswith(b"content-length:")), 0)
    while len(rest) < length:
        block = connection.recv(RECEIVED_AT_ONCE)
        if not block:
            return b"", b"", b""
        rest += block
    return head, rest[:length], rest[length:]
