# SPDX-License-Identifier: GPL-2.0-or-later
"""A test server in place of the vendor's JSON service, with real TLS and failures on demand.

The path of a request selects the response; each of the functions below implements one path of the same name ("/chunked",
"/status/500"). The response of "/api/network_probe.php" is set over the control port.
"""

import json
import socket
import threading
import time

from httpserving import read_request, serve_each, tls_context

PROBE = "/api/network_probe.php"
OBJECT = {"ok": True, "text": "Grüße"}
BIG = {"text": "x" * (3 * 1024 * 1024)}
ANNOUNCED_TOO_MUCH = 1000
CHUNK = 7
INTERIM = b"HTTP/1.1 100 Continue\r\n\r\n"
SLOW_PIECES = 5
SLOW_PAUSE_S = 2  # below the client's limit per receive operation; the sum of all pauses is above it


class Request:
    """One received request."""

    def __init__(self, head, body):
        lines = head.decode("latin-1").strip().split("\r\n")
        self.method, self.target, self.version = lines[0].split(" ", 2)
        self.headers = [line.split(": ", 1) for line in lines[1:]]
        self.body = body

    def as_json(self):
        return {"method": self.method, "target": self.target, "version": self.version, "headers": self.headers,
                "body": self.body.decode()}


class Service:
    """Listens on loopback; `ports` maps the name of a port to its number."""

    def __init__(self):
        self.ports = {}
        self._counts = {}
        self._held = 0
        self._listeners = []  # kept open, even without accepting connections
        self._lock = threading.Lock()
        self._probes = []
        self._probe_answer = {"path": "/echo"}
        self._released = threading.Event()

    def listen_tls(self, what, certificate, port=0):
        """HTTP over TLS with the PEM file `certificate`, which includes the key."""
        context = tls_context(certificate)
        self._listen(what, lambda plain: self._converse(context.wrap_socket(plain, server_side=True)), port)

    def listen_plain(self, what):
        """HTTP without TLS."""
        self._listen(what, self._converse)

    def listen_silent(self, what):
        """Accepts connections and sends nothing."""
        self._listen(what, wait_for_end)

    def listen_control(self, what):
        """The control port: executes a command (one line of JSON) and returns counters and received requests."""
        self._listen(what, self._control)

    def refuse(self, what):
        """A reserved port that refuses connections."""
        reserved = socket.create_server(("127.0.0.1", 0))
        self.ports[what] = reserved.getsockname()[1]
        reserved.close()
        bound = socket.socket()
        bound.setsockopt(socket.SOL_SOCKET, socket.SO_REUSEADDR, 1)
        bound.bind(("127.0.0.1", self.ports[what]))
        self._listeners.append(bound)

    def swallow(self, what):
        """A port that ignores connection requests, because its backlog is full."""
        full = socket.create_server(("127.0.0.1", 0), backlog=0)
        self.ports[what] = full.getsockname()[1]
        self._listeners.append(full)
        for _ in range(2):
            waiting = socket.socket()
            waiting.setblocking(False)
            waiting.connect_ex(("127.0.0.1", self.ports[what]))
            self._listeners.append(waiting)

    def _listen(self, what, serve, port=0):
        listener = socket.create_server(("127.0.0.1", port), backlog=64)
        self._listeners.append(listener)
        self.ports[what] = listener.getsockname()[1]
        self._counts[what] = 0
        serve_each(listener, serve, lambda: self._count(what))

    def _count(self, what):
        with self._lock:
            self._counts[what] += 1

    def _converse(self, connection):
        with connection:
            rest = b""
            while True:
                head, body, rest = read_request(connection, rest)
                if not head or not self._answer(connection, Request(head, body)):
                    return

    def _answer(self, connection, request):
        """Sends the response for the path; true when the connection can be reused."""
        path = request.target.split("?")[0]
        if path == PROBE:
            with self._lock:
                self._probes.append(request.as_json())
                answer = self._probe_answer
            if "body" in answer:
                return reply(connection, answer["status"], answer["body"].encode())
            path = answer["path"]
        name, _, argument = path[1:].partition("/")
        if name == "hold":
            with self._lock:
                self._held += 1
            self._released.wait()
            return echo(connection, request, argument)
        return ANSWERS.get(name, echo)(connection, request, argument)

    def _control(self, connection):
        with connection, connection.makefile("rw") as stream:
            command = json.loads(stream.readline())
            with self._lock:
                if "probe" in command:
                    self._probe_answer = command["probe"]
                if command.get("hold"):
                    self._released.clear()
                if command.get("release"):
                    self._released.set()
                state = {"connections": self._counts, "held": self._held, "probes": self._probes}
                stream.write(json.dumps(state) + "\n")
            stream.flush()


def wait_for_end(connection):
    """Sends nothing until the client disconnects."""
    while connection.recv(65536):
        pass


def reply(connection, status, body, extra=""):
    connection.sendall(_head(status, len(body), extra) + body)
    return True


def _head(status, length, extra=""):
    return (f"HTTP/1.1 {status} Test\r\nContent-Type: application/json\r\nContent-Length: {length}\r\n"
            f"{extra}\r\n").encode()


def _text(value):
    return json.dumps(value, ensure_ascii=False, separators=(",", ":")).encode()


def echo(connection, request, _):
    return reply(connection, 200, _text(request.as_json()))


def status(connection, _, argument):
    return reply(connection, int(argument), _text(OBJECT))


def literal(connection, request, _):
    """Returns the request's body."""
    return reply(connection, 200, request.body)


def big(connection, *_):
    return reply(connection, 200, _text(BIG))


def interim(connection, *_):
    """Sends an interim response, then the final one."""
    connection.sendall(INTERIM)
    return reply(connection, 200, _text(OBJECT))


def chunked(connection, *_):
    body = _text(OBJECT)
    pieces = [body[start:start + CHUNK] for start in range(0, len(body), CHUNK)]
    connection.sendall(b"HTTP/1.1 200 OK\r\nTransfer-Encoding: chunked\r\n\r\n")
    for piece in [*pieces, b""]:
        connection.sendall(f"{len(piece):x}\r\n".encode() + piece + b"\r\n")
    return True


def cut(connection, _, argument):
    """Closes the connection after an interim response, or before, within or after the object, before Content-Length is
    reached."""
    parts = {"interim": INTERIM,
             "headers": b"HTTP/1.1 200 OK\r\nContent-Ty",
             "nothing": _head(200, ANNOUNCED_TOO_MUCH),
             "middle": _head(200, ANNOUNCED_TOO_MUCH) + _text(OBJECT)[:CHUNK],
             "object": _head(200, ANNOUNCED_TOO_MUCH) + _text(OBJECT)}
    if argument in parts:
        connection.sendall(parts[argument])
    return False


def stall(connection, request, argument):
    """As cut(), but the connection stays open."""
    cut(connection, request, argument)
    wait_for_end(connection)
    return False


def slow(connection, *_):
    body = _text(OBJECT)
    step = -(-len(body) // SLOW_PIECES)
    connection.sendall(_head(200, len(body)))
    for start in range(0, len(body), step):
        time.sleep(SLOW_PAUSE_S)
        connection.sendall(body[start:start + step])
    return True


def redirect(connection, request, argument):
    """Redirects with the status in the path to the address in the query."""
    target = request.target.partition("?")[2]
    return reply(connection, int(argument), b"{\"redirected\":true}", f"Location: {target}\r\n")


def countdown(connection, request, argument):
    """As many redirects as the number in the path, then an echo."""
    left = int(argument)
    if left == 0:
        return echo(connection, request, argument)
    return reply(connection, 307, b"", f"Location: /countdown/{left - 1}\r\n")


def cookie(connection, *_):
    """Sets a cookie and redirects to an echo."""
    return reply(connection, 307, b"", "Set-Cookie: session=1; Path=/; Secure\r\nLocation: /echo\r\n")


ANSWERS = {answer.__name__: answer
           for answer in (echo, status, literal, big, interim, chunked, cut, stall, slow, redirect, countdown, cookie)}
