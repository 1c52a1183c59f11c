# SPDX-License-Identifier: GPL-2.0-or-later
"""The vendor's service in a real nginx: its two answers, its files and its limits."""

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
QUESTION = b'{"action":"ip"}'


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
        # A service for each test: the rate limits remember their clients.
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

    def ask(self, method, target, body=None, headers=None, source="127.0.0.1", chunked=False):
        connection = http.client.HTTPConnection(VENDOR)
        connection.sock = self.connect(source)
        if chunked:
            connection.request(method, target, iter([body]), headers or {}, encode_chunked=True)
        else:
            connection.request(method, target, body, headers or {})
        response = connection.getresponse()
        response.content = response.read()
        return response

    def assertRefused(self, response, status):
        self.assertEqual(response.status, status)
        self.assertEqual(response.headers.get_content_type(), "application/json")
        answer = json.loads(response.content)
        self.assertEqual(set(answer), {"ok", "message"})
        self.assertIs(answer["ok"], False)
        self.assertRegex(answer["message"], r"^[A-ZÄÖÜ].*\.$")


class ProbeTest(ServiceTest):
    def testAnswersWithTheClientsAddress(self):
        for source in ("127.0.0.1", "127.0.0.2", "127.1.2.3"):
            response = self.ask("POST", PROBE, QUESTION, {"Content-Type": "application/json"}, source)
            self.assertEqual(response.status, 200)
            self.assertEqual(response.content.decode(), '{"ok":true,"ip":"%s"}' % source)
            self.assertEqual(response.headers["Content-Type"], "application/json; charset=utf-8")
            self.assertEqual(response.headers["Cache-Control"], "no-store")

    def testTakesTheQuestionInAnyFormThatMeansIt(self):
        for body in (b' {\n "action" : "ip" }\r\n', QUESTION):
            with self.subTest(body=body):
                self.assertEqual(self.ask("POST", PROBE, body).status, 200)
        self.assertEqual(self.ask("POST", PROBE, QUESTION, chunked=True).status, 200)
        self.assertEqual(self.ask("POST", PROBE + "?x=1", QUESTION).status, 200)

    def testIgnoresWhatAClientSaysAboutItsAddress(self):
        response = self.ask("POST", PROBE, QUESTION, {"X-Forwarded-For": "192.0.2.1", "X-Real-IP": "192.0.2.1"})
        self.assertEqual(json.loads(response.content)["ip"], "127.0.0.1")

    def testRefusesOtherQuestions(self):
        for body in (b"", b"{}", b"[]", b'{"action":"IP"}', b'{"action":"ping"}', b'{"action":"ip","x":1}',
                     b'{"action":"ip"', b'{"action":"ip"}{"action":"ip"}', b"action=ip"):
            with self.subTest(body=body):
                self.assertRefused(self.ask("POST", PROBE, body), 400)

    def testRefusesOtherMethods(self):
        for method in ("GET", "PUT", "DELETE", "PATCH", "OPTIONS"):
            with self.subTest(method=method):
                response = self.ask(method, PROBE, QUESTION)
                self.assertRefused(response, 405)
                self.assertEqual(response.headers["Allow"], "POST")

    def testRefusesBodiesOverFourKibibytes(self):
        for chunked in (False, True):
            with self.subTest(chunked=chunked):
                largest = QUESTION + b" " * (4096 - len(QUESTION))
                self.assertEqual(self.ask("POST", PROBE, largest, chunked=chunked).status, 200)
                self.assertRefused(self.ask("POST", PROBE, largest + b" ", chunked=chunked), 413)

    def testRefusesAClientThatAsksTooOften(self):
        answers = [self.ask("POST", PROBE, QUESTION) for _ in range(40)]
        self.assertEqual(answers[0].status, 200)
        refused = [answer for answer in answers if answer.status != 200]
        self.assertTrue(refused)
        for answer in refused:
            self.assertRefused(answer, 429)
        self.assertEqual(self.ask("POST", PROBE, QUESTION, source="127.0.0.9").status, 200)


class FilesTest(ServiceTest):
    def put(self, name, data):
        (self.service.root / name).write_bytes(data)

    def testServesTheManifest(self):
        manifest = '{"latest_version":"1.0","release_notes":"Größer"}\n'.encode()
        self.put("update.json", manifest)
        response = self.ask("GET", "/update.json")
        self.assertEqual((response.status, response.content), (200, manifest))
        self.assertEqual(response.headers["Content-Type"], "application/json")
        self.assertEqual(response.headers["Cache-Control"], "no-cache")

    def testServesInstallersBesideIt(self):
        installer = b"MZ" + bytes(range(256)) * 1000
        for name in ("Setup-1.0.exe", "SETUP.EXE", "SETUP.EXE.exe"):
            self.put(name, installer)
            response = self.ask("GET", f"/{name}")
            self.assertEqual((response.status, response.content), (200, installer))
            self.assertEqual(response.headers["Content-Type"], "application/octet-stream")
            self.assertEqual(response.headers["Content-Length"], str(len(installer)))

    def testServesNothingElse(self):
        self.put("secret.txt", b"secret")
        self.put(".hidden", b"secret")
        for target in ("/", "/secret.txt", "/.hidden", "/api/", "/api/other.php", "/update.json", "/none.exe",
                       "/update.json/", "/../secret.txt", "/..%2fservice.conf"):
            with self.subTest(target=target):
                response = self.ask("GET", target)
                if response.status == 400:  # nginx's own answer to a path that leaves the root
                    self.assertNotIn(b"secret", response.content)
                else:
                    self.assertRefused(response, 404)

    def testFilesAreOnlyRead(self):
        self.put("update.json", b"{}")
        for method in ("POST", "PUT", "DELETE"):
            with self.subTest(method=method):
                self.assertRefused(self.ask(method, "/update.json", b"{}"), 405)
        self.assertEqual((self.service.root / "update.json").read_bytes(), b"{}")

    def testRefusesMoreThanTwoDownloadsAtOnceFromOneClient(self):
        self.put("big.exe", b"MZ" + bytes(64 << 20))
        request = f"GET /big.exe HTTP/1.1\r\nHost: {VENDOR}\r\n\r\n".encode()
        # Downloads that nobody reads on from stay open.
        running = [self.connect() for _ in range(2)]
        for connection in running:
            connection.sendall(request)
            self.assertTrue(connection.recv(100).startswith(b"HTTP/1.1 200 "))
        self.assertRefused(self.ask("GET", "/big.exe"), 429)
        self.assertEqual(self.ask("HEAD", "/big.exe", source="127.0.0.9").status, 200)


class TransportTest(ServiceTest):
    def testSpeaksNothingButTls(self):
        with socket.create_connection(("127.0.0.1", self.service.port)) as plain:
            plain.sendall(f"POST {PROBE} HTTP/1.1\r\nHost: {VENDOR}\r\nContent-Length: 15\r\n\r\n".encode() + QUESTION)
            self.assertTrue(plain.recv(100).startswith(b"HTTP/1.1 400 "))

    def testListensForTlsOnlyAndOnIpv4Only(self):
        directives = [line.strip() for line in CONFIGURATION.read_text().splitlines()]
        self.assertEqual([line for line in directives if line.startswith("listen ")], ["listen 443 ssl;"])
        self.assertIn(f"server_name {VENDOR};", directives)
        # Today's OpenSSL refuses older versions by itself; the configuration is to say it where another doesn't.
        self.assertIn("ssl_protocols TLSv1.2 TLSv1.3;", directives)

    def testSpeaksTls12And13(self):
        for version in (ssl.TLSVersion.TLSv1_2, ssl.TLSVersion.TLSv1_3):
            context = self.context()
            context.minimum_version = context.maximum_version = version
            self.connect(context=context)

    def testRefusesOlderTls(self):
        context = self.context()
        context.set_ciphers("DEFAULT:@SECLEVEL=0")
        context.minimum_version = ssl.TLSVersion.TLSv1
        context.maximum_version = ssl.TLSVersion.TLSv1_1
        with self.assertRaises((ssl.SSLError, ConnectionError)):
            self.connect(context=context)


if __name__ == "__main__":
    unittest.main()
