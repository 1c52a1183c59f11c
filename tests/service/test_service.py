# SPDX-License-Identifier: GPL-2.0-or-later
"""The vendor's service in a real nginx: public address query, files, limits."""

import http.client
import json
import os
import socket
import ssl
import tempfile
import unittest
from pathlib import Path

from certificates import Authority
from vendorservice import VendorService

VENDOR = os.environ["TARVOLINE_VENDOR_HOST"]
CONFIGURATION = Path(os.environ["TARVOLINE_SERVICE"]) / "tarvoline-service.conf"
PROBE = "/api/network_probe.php"
QUERY = b'{"action":"ip"}'


class ServiceTest(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.home = tempfile.TemporaryDirectory()
        cls.authority = Authority(Path(cls.home.name) / "authority")
        cls.certificate = cls.authority.issue(VENDOR)

    @classmethod
    def tearDownClass(cls):
        cls.home.cleanup()

    def setUp(self):
        # A new service for each test, because of the rate limits per client.
        self.folder = tempfile.TemporaryDirectory()
        self.addCleanup(self.folder.cleanup)
        self.service = VendorService(Path(self.folder.name) / "service", CONFIGURATION, self.certificate)
        self.addCleanup(self.service.stop)

    def context(self):
        return ssl.create_default_context(cafile=self.authority.certificate)

    def connect(self, source="127.0.0.1", context=None):
        plain = socket.create_connection(("127.0.0.1", self.service.port), source_address=(source, 0))
        secured = (context or self.context()).wrap_socket(plain, server_hostname=VENDOR)
        self.addCleanup(secured.close)
        return secured

    def request(self, method, target, body=None, headers=None, source="127.0.0.1", chunked=False):
        connection = http.client.HTTPConnection(VENDOR)
        connection.sock = self.connect(source)
        if chunked:
            connection.request(method, target, iter([body]), headers or {}, encode_chunked=True)
        else:
            connection.request(method, target, body, headers or {})
        response = connection.getresponse()
        response.content = response.read()
        return response

    def assert_refused(self, response, status):
        self.assertEqual(response.status, status)
        self.assertEqual(response.headers.get_content_type(), "application/json")
        answer = json.loads(response.content)
        self.assertEqual(set(answer), {"ok", "message"})
        self.assertIs(answer["ok"], False)
        self.assertRegex(answer["message"], r"^[A-ZÄÖÜ].*\.$")


class ProbeTest(ServiceTest):
    def test_answers_with_the_clients_address(self):
        for source in ("127.0.0.1", "127.0.0.2", "127.1.2.3"):
            response = self.request("POST", PROBE, QUERY, {"Content-Type": "application/json"}, source)
            self.assertEqual(response.status, 200)
            self.assertEqual(response.content.decode(), '{"ok":true,"ip":"%s"}' % source)
            self.assertEqual(response.headers["Content-Type"], "application/json; charset=utf-8")
            self.assertEqual(response.headers["Cache-Control"], "no-store")

    def test_accepts_equivalent_queries(self):
        for body in (b' {\n "action" : "ip" }\r\n', QUERY):
            with self.subTest(body=body):
                self.assertEqual(self.request("POST", PROBE, body).status, 200)
        self.assertEqual(self.request("POST", PROBE, QUERY, chunked=True).status, 200)
        self.assertEqual(self.request("POST", PROBE + "?x=1", QUERY).status, 200)

    def test_ignores_forwarded_addresses(self):
        response = self.request("POST", PROBE, QUERY, {"X-Forwarded-For": "192.0.2.1", "X-Real-IP": "192.0.2.1"})
        self.assertEqual(json.loads(response.content)["ip"], "127.0.0.1")

    def test_rejects_other_queries(self):
        for body in (b"", b"{}", b"[]", b'{"action":"IP"}', b'{"action":"ping"}', b'{"action":"ip","x":1}',
                     b'{"action":"ip"', b'{"action":"ip"}{"action":"ip"}', b"action=ip"):
            with self.subTest(body=body):
                self.assert_refused(self.request("POST", PROBE, body), 400)

    def test_rejects_other_methods(self):
        for method in ("GET", "PUT", "DELETE", "PATCH", "OPTIONS"):
            with self.subTest(method=method):
                response = self.request(method, PROBE, QUERY)
                self.assert_refused(response, 405)
                self.assertEqual(response.headers["Allow"], "POST")

    def test_rejects_bodies_over_4_kib(self):
        for chunked in (False, True):
            with self.subTest(chunked=chunked):
                largest = QUERY + b" " * (4096 - len(QUERY))
                self.assertEqual(self.request("POST", PROBE, largest, chunked=chunked).status, 200)
                self.assert_refused(self.request("POST", PROBE, largest + b" ", chunked=chunked), 413)

    def test_limits_the_rate_per_client(self):
        answers = [self.request("POST", PROBE, QUERY) for _ in range(40)]
        self.assertEqual(answers[0].status, 200)
        refused = [answer for answer in answers if answer.status != 200]
        self.assertTrue(refused)
        for answer in refused:
            self.assert_refused(answer, 429)
        self.assertEqual(self.request("POST", PROBE, QUERY, source="127.0.0.9").status, 200)


class FilesTest(ServiceTest):
    def put(self, name, data):
        (self.service.root / name).write_bytes(data)

    def test_serves_the_manifest(self):
        manifest = '{"latest_version":"1.0","release_notes":"Größer"}\n'.encode()
        self.put("update.json", manifest)
        response = self.request("GET", "/update.json")
        self.assertEqual((response.status, response.content), (200, manifest))
        self.assertEqual(response.headers["Content-Type"], "application/json")
        self.assertEqual(response.headers["Cache-Control"], "no-cache")

    def test_serves_installers(self):
        installer = b"MZ" + bytes(range(256)) * 1000
        for name in ("Setup-1.0.exe", "SETUP.EXE", "SETUP.EXE.exe"):
            self.put(name, installer)
            response = self.request("GET", f"/{name}")
            self.assertEqual((response.status, response.content), (200, installer))
            self.assertEqual(response.headers["Content-Type"], "application/octet-stream")
            self.assertEqual(response.headers["Content-Length"], str(len(installer)))

    def test_serves_nothing_else(self):
        self.put("secret.txt", b"secret")
        self.put(".hidden", b"secret")
        for target in ("/", "/secret.txt", "/.hidden", "/api/", "/api/other.php", "/update.json", "/none.exe",
                       "/update.json/", "/../secret.txt", "/..%2fservice.conf"):
            with self.subTest(target=target):
                response = self.request("GET", target)
                if response.status == 400:  # nginx's response to a path outside of the root
                    self.assertNotIn(b"secret", response.content)
                else:
                    self.assert_refused(response, 404)

    def test_rejects_writes(self):
        self.put("update.json", b"{}")
        for method in ("POST", "PUT", "DELETE"):
            with self.subTest(method=method):
                self.assert_refused(self.request(method, "/update.json", b"{}"), 405)
        self.assertEqual((self.service.root / "update.json").read_bytes(), b"{}")

    def test_limits_concurrent_downloads_per_client(self):
        self.put("big.exe", b"MZ" + bytes(64 << 20))
        request = f"GET /big.exe HTTP/1.1\r\nHost: {VENDOR}\r\n\r\n".encode()
        # Downloads stay open as long as the client does not read.
        running = [self.connect() for _ in range(2)]
        for connection in running:
            connection.sendall(request)
            self.assertTrue(connection.recv(100).startswith(b"HTTP/1.1 200 "))
        self.assert_refused(self.request("GET", "/big.exe"), 429)
        self.assertEqual(self.request("HEAD", "/big.exe", source="127.0.0.9").status, 200)


class TransportTest(ServiceTest):
    def test_rejects_plain_http(self):
        with socket.create_connection(("127.0.0.1", self.service.port)) as plain:
            plain.sendall(f"POST {PROBE} HTTP/1.1\r\nHost: {VENDOR}\r\nContent-Length: 15\r\n\r\n".encode() + QUERY)
            self.assertTrue(plain.recv(100).startswith(b"HTTP/1.1 400 "))

    def test_listens_for_tls_only_and_on_ipv4_only(self):
        directives = [line.strip() for line in CONFIGURATION.read_text().splitlines()]
        self.assertEqual([line for line in directives if line.startswith("listen ")], ["listen 443 ssl;"])
        self.assertIn(f"server_name {VENDOR};", directives)
        # Current versions of OpenSSL reject older TLS by default; the configuration must not rely on it.
        self.assertIn("ssl_protocols TLSv1.2 TLSv1.3;", directives)

    def test_accepts_tls_1_2_and_1_3(self):
        for version in (ssl.TLSVersion.TLSv1_2, ssl.TLSVersion.TLSv1_3):
            context = self.context()
            context.minimum_version = context.maximum_version = version
            self.connect(context=context)

    def test_rejects_older_tls(self):
        context = self.context()
        context.set_ciphers("DEFAULT:@SECLEVEL=0")
        context.minimum_version = ssl.TLSVersion.TLSv1
        context.maximum_version = ssl.TLSVersion.TLSv1_1
        with self.assertRaises((ssl.SSLError, ConnectionError)):
            self.connect(context=context)


if __name__ == "__main__":
    unittest.main()
