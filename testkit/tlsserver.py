# SPDX-License-Identifier: GPL-2.0-or-later
"""A TLS server that answers as a test tells it, also badly, and remembers what it was asked.

One server has several doors (TCP ports): proxy doors that take a CONNECT to any host and then are that host, so that a
client meets any name without a name service, and tunnel doors that pass it on to another server. A test in another
process talks to the control door: one JSON object a line each way.

    {"command": "answer", "target": "/update.json", "status": 200, "headers": [["Location", "…"]],
     "body": "<base64>", "fill": 0, "framing": "length", "announced": 12, "then": "end", "pauseMs": 0}

`fill` sends that many bytes "x" behind the body. `framing` is "length" (Content-Length: `announced`, or the true one),
"chunked" or "close". `then` says what follows the last byte: "end", "break" (the connection is cut), or "stall" (nothing
more, until the test resets the server). `pauseMs` makes the server wait before the last byte of `body`. A target
without an answer gets 404; the status 0 stands for no answer at all.

    {"command": "requests"}     -> {"requests": [{"door": "proxy", "head": "<base64>", "body": "<base64>"}, …]}
    {"command": "connections"}  -> {"connections": 3}
    {"command": "reset"}        -> {} forgets answers and requests and lets everything that stalls end
"""

import base64
import json
import socket
import ssl
import threading
import time

from httpserving import HEAD_END, quietly, readHead, readRequest, serveEach, tlsContext

ANY_PORT = ("127.0.0.1", 0)
BLOCK = b"x" * 65536
TUNNEL_OPEN = b"HTTP/1.1 200 Connection established" + HEAD_END


class TlsServer:
    """Serves until the process ends; `doors` maps the name of each door to its port."""

    def __init__(self):
        self.doors = {}
        self._lock = threading.Lock()
        self._answers = {}
        self._requests = []
        self._connections = 0
        self._resumed = threading.Event()

    def openProxyDoor(self, name, certificate):
        """A door that is an HTTP proxy first and, after a CONNECT, a TLS server with `certificate`."""
        context = tlsContext(certificate)
        self._open(name, lambda connection: self._serveProxy(name, connection, context))

    def openTunnelDoor(self, name, port):
        """A door that is an HTTP proxy and, after a CONNECT to any host, the server on `port` of 127.0.0.1."""
        self._open(name, lambda connection: _serveTunnel(connection, port))

    def openControlDoor(self, name="control"):
        """The door for the test itself; its connections don't count."""
        self._open(name, self._serveControl, counted=False)

    def _open(self, name, serve, counted=True):
        listener = socket.create_server(ANY_PORT)
        self.doors[name] = listener.getsockname()[1]
        serveEach(listener, serve, lambda: self._count(counted))

    def _count(self, connections):
        with self._lock:
            self._connections += connections

    def _serveProxy(self, name, connection, context):
        head, rest = readHead(connection)
        if not head:
            return  # a client that goes away without a word has asked nothing
        if not head.startswith(b"CONNECT "):
            self._remember(name + " without tunnel", head, b"")
            connection.sendall(b"HTTP/1.1 502 Bad Gateway\r\nContent-Length: 0\r\n\r\n")
            return
        assert not rest
        connection.sendall(TUNNEL_OPEN)
        self._serveTls(name, connection, context)

    def _serveTls(self, name, connection, context):
        with context.wrap_socket(connection, server_side=True) as secured:
            self._serveRequests(name, secured)

    def _serveRequests(self, name, connection):
        rest = b""
        while True:
            head, body, rest = readRequest(connection, rest)
            if not head:
                return
            self._remember(name, head, body)
            target = head.split(b" ", 2)[1].decode()
            with self._lock:
                answer = self._answers.get(target, {"status": 404})
                resumed = self._resumed
            if not _answer(connection, answer, resumed):
                return

    def _remember(self, door, head, body):
        with self._lock:
            self._requests.append({"door": door, "head": _text(head), "body": _text(body)})

    def _serveControl(self, connection):
        with connection.makefile("rw", encoding="utf-8") as lines:
            for line in lines:
                json.dump(self._control(json.loads(line)), lines)
                lines.write("\n")
                lines.flush()

    def _control(self, command):
        with self._lock:
            match command["command"]:
                case "answer":
                    self._answers[command["target"]] = command
                    return {}
                case "requests":
                    return {"requests": self._requests}
                case "connections":
                    return {"connections": self._connections}
                case "reset":
                    self._resumed.set()
                    self._resumed = threading.Event()
                    self._answers, self._requests, self._connections = {}, [], 0
                    return {}
                case other:
                    return {"error": f"unknown command {other}"}


def _serveTunnel(connection, port):
    head, rest = readHead(connection)
    assert head.startswith(b"CONNECT ") and not rest
    connection.sendall(TUNNEL_OPEN)
    with socket.create_connection(("127.0.0.1", port)) as server:
        back = threading.Thread(target=quietly, args=(lambda from_: _copy(from_, connection), server), daemon=True)
        back.start()
        _copy(connection, server)
        back.join()


def _copy(source, target):
    while block := source.recv(65536):
        target.sendall(block)
    target.shutdown(socket.SHUT_WR)


def _answer(connection, answer, resumed):
    """Sends the answer; true when the connection may serve another request."""
    if answer["status"] == 0:
        resumed.wait()
        return False
    body = base64.b64decode(answer.get("body", ""))
    fill = answer.get("fill", 0)
    framing = answer.get("framing", "length")
    head = [f"HTTP/1.1 {answer['status']} {answer.get('reason', 'Test')}"]
    head += [f"{name}: {value}" for name, value in answer.get("headers", [])]
    match framing:
        case "length":
            head.append(f"Content-Length: {answer.get('announced', len(body) + fill)}")
        case "chunked":
            head.append("Transfer-Encoding: chunked")
        case "close":
            head.append("Connection: close")
    connection.sendall("\r\n".join(head).encode() + HEAD_END)

    for block in _blocks(body, fill, answer.get("pauseMs", 0) / 1000):
        connection.sendall(b"%x\r\n%b\r\n" % (len(block), block) if framing == "chunked" else block)
    match answer.get("then", "end"):
        case "break":
            # The caller closes the socket without a word of TLS: the client sees the connection cut.
            return False
        case "stall":
            resumed.wait()
            return False
    if framing == "chunked":
        connection.sendall(b"0\r\n\r\n")
    if framing == "close":
        _sayGoodbye(connection)
    return framing != "close"


def _sayGoodbye(connection):
    # TLS's own end of the stream; like other servers this one does not wait for the client's.
    connection.setblocking(False)
    try:
        connection.unwrap()
    except ssl.SSLWantReadError:
        pass


def _blocks(body, fill, pause):
    if pause:
        yield body[:-1]
        time.sleep(pause)
        body = body[-1:]
    if body:
        yield body
    for _ in range(fill // len(BLOCK)):
        yield BLOCK
    if fill % len(BLOCK):
        yield BLOCK[:fill % len(BLOCK)]


def _text(data):
    return base64.b64encode(data).decode()
