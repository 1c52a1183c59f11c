# SPDX-License-Identifier: GPL-2.0-or-later
"""A TLS server with scripted responses, including invalid ones, that records all requests.

It has several endpoints (TCP ports): proxy endpoints accept a CONNECT to any host and then act as that host, so that any
name can be used without a name service; tunnel endpoints forward the connection to another server. The test controls the
server through the control endpoint, with one JSON object per line in each direction.

    {"command": "answer", "target": "/update.json", "status": 200, "headers": [["Location", "…"]],
     "body": "<base64>", "fill": 0, "framing": "length", "announced": 12, "then": "end", "pauseMs": 0}

`fill` appends that many bytes "x" to the body. `framing` is "length" (Content-Length: `announced`, or the real length),
"chunked" or "close". `then` is what follows the last byte: "end", "break" (the connection is closed without TLS's
close_notify) or "stall" (nothing until the server is reset). `pauseMs` is a pause before the last byte of `body`. A
target without a response gets 404; status 0 means no response.

    {"command": "requests"}     -> {"requests": [{"endpoint": "proxy", "head": "<base64>", "body": "<base64>"}, …]}
    {"command": "connections"}  -> {"connections": 3}
    {"command": "reset"}        -> {} deletes responses and requests and ends all stalls
"""

import base64
import json
import socket
import ssl
import threading
import time

from httpserving import HEAD_END, quietly, read_head, read_request, serve_each, tls_context

ANY_PORT = ("127.0.0.1", 0)
BLOCK = b"x" * 65536
TUNNEL_OPEN = b"HTTP/1.1 200 Connection established" + HEAD_END


class TlsServer:
    """Serves until the process ends; `endpoints` maps the name of each endpoint to its port."""

    def __init__(self):
        self.endpoints = {}
        self._lock = threading.Lock()
        self._answers = {}
        self._requests = []
        self._connections = 0
        self._resumed = threading.Event()

    def open_proxy_endpoint(self, name, certificate):
        """An HTTP proxy that acts as TLS server with `certificate` after a CONNECT."""
        context = tls_context(certificate)
        self._open(name, lambda connection: self._serve_proxy(name, connection, context))

    def open_tunnel_endpoint(self, name, port):
        """An HTTP proxy that forwards a CONNECT to any host to `port` of 127.0.0.1."""
        self._open(name, lambda connection: _serve_tunnel(connection, port))

    def open_control_endpoint(self, name="control"):
        """The control endpoint; its connections are not counted."""
        self._open(name, self._serve_control, counted=False)

    def _open(self, name, serve, counted=True):
        listener = socket.create_server(ANY_PORT)
        self.endpoints[name] = listener.getsockname()[1]
        serve_each(listener, serve, lambda: self._count(counted))

    def _count(self, connections):
        with self._lock:
            self._connections += connections

    def _serve_proxy(self, name, connection, context):
        head, rest = read_head(connection)
        if not head:
            return  # disconnected without a request
        if not head.startswith(b"CONNECT "):
            self._remember(name + " without tunnel", head, b"")
            connection.sendall(b"HTTP/1.1 502 Bad Gateway\r\nContent-Length: 0\r\n\r\n")
            return
        assert not rest
        connection.sendall(TUNNEL_OPEN)
        self._serve_tls(name, connection, context)

    def _serve_tls(self, name, connection, context):
        with context.wrap_socket(connection, server_side=True) as secured:
            self._serve_requests(name, secured)

    def _serve_requests(self, name, connection):
        rest = b""
        while True:
            head, body, rest = read_request(connection, rest)
            if not head:
                return
            self._remember(name, head, body)
            target = head.split(b" ", 2)[1].decode()
            with self._lock:
                answer = self._answers.get(target, {"status": 404})
                resumed = self._resumed
            if not _answer(connection, answer, resumed):
                return

    def _remember(self, endpoint, head, body):
        with self._lock:
            self._requests.append({"endpoint": endpoint, "head": _text(head), "body": _text(body)})

    def _serve_control(self, connection):
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


def _serve_tunnel(connection, port):
    head, rest = read_head(connection)
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
    """Sends the response; true when the connection can be reused."""
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
            # The caller closes the socket without close_notify.
            return False
        case "stall":
            resumed.wait()
            return False
    if framing == "chunked":
        connection.sendall(b"0\r\n\r\n")
    if framing == "close":
        _close_tls(connection)
    return framing != "close"


def _close_tls(connection):
    # Sends close_notify without waiting for the client's, like other servers.
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
