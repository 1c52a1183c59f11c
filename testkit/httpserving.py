# SPDX-License-Identifier: GPL-2.0-or-later
"""What the tests' servers share: connections served side by side, TLS, and requests read off a connection."""

import ssl
import threading

RECEIVED_AT_ONCE = 65536
HEAD_END = b"\r\n\r\n"


def serveEach(listener, serve, accepted):
    """Calls `accepted`, then serves the connection in a thread of its own, for each one until the process ends."""
    def acceptAll():
        while True:
            connection, _ = listener.accept()
            accepted()
            threading.Thread(target=quietly, args=(serve, connection), daemon=True).start()

    threading.Thread(target=acceptAll, daemon=True).start()


def quietly(serve, connection):
    """Serves one connection and closes it."""
    try:
        with connection:
            serve(connection)
    except OSError:
        pass  # a client that goes away or refuses the certificate is what many tests are about


def tlsContext(certificate):
    """A server's side of TLS with the PEM file `certificate`, which holds the key as well."""
    context = ssl.SSLContext(ssl.PROTOCOL_TLS_SERVER)
    context.load_cert_chain(certificate)
    return context


def readHead(connection, rest=b""):
    """The next head, with the empty line at its end, and what came behind it; empty when the client ends before that."""
    while HEAD_END not in rest:
        block = connection.recv(RECEIVED_AT_ONCE)
        if not block:
            return b"", b""
        rest += block
    head, rest = rest.split(HEAD_END, 1)
    return head + HEAD_END, rest


def readRequest(connection, rest=b""):
    """Head and body of the next request, and what came behind them; the head is empty when the client ends before that."""
    head, rest = readHead(connection, rest)
    length = next((int(line.split(b":")[1]) for line in head.lower().split(b"\r\n")
                   if line.startswith(b"content-length:")), 0)
    while len(rest) < length:
        block = connection.recv(RECEIVED_AT_ONCE)
        if not block:
            return b"", b"", b""
        rest += block
    return head, rest[:length], rest[length:]
