# SPDX-License-Identifier: GPL-2.0-or-later
"""Certificates for tests: a test authority and server certificates issued by it."""

import ipaddress
import subprocess
from pathlib import Path

# RSA is supported by all TLS libraries in the tests (OpenSSL, GnuTLS, Schannel, Wine's).
KEY = ["-newkey", "rsa:2048", "-nodes"]


class Authority:
    """A certificate authority in `folder`; `certificate` is its PEM file for the client's trust store."""

    def __init__(self, folder, name="Test authority"):
        self.folder = Path(folder)
        self.folder.mkdir(parents=True, exist_ok=True)
        self.certificate = self.folder / "authority.pem"
        self._key = self.folder / "authority.key"
        _openssl("req", "-x509", *KEY, "-days", "2", "-subj", f"/CN={name}", "-keyout", self._key,
                 "-out", self.certificate, "-addext", "basicConstraints=critical,CA:TRUE",
                 "-addext", "keyUsage=critical,keyCertSign,cRLSign")
        self._issued = 0

    def issue(self, *names, expired=False):
        """Returns a PEM file with a server certificate for `names` (hosts or IP addresses) and its private key."""
        self._issued += 1
        stem = self.folder / f"server{self._issued}"
        request, key, pem = (stem.with_suffix(end) for end in (".csr", ".key", ".pem"))
        extensions = stem.with_suffix(".ext")
        extensions.write_text(f"subjectAltName={','.join(map(_alternative_name, names))}\n"
                              "extendedKeyUsage=serverAuth\nbasicConstraints=critical,CA:FALSE\n")
        period = (["-not_before", "20200101000000Z", "-not_after", "20200201000000Z"] if expired else ["-days", "2"])
        _openssl("req", *KEY, "-subj", f"/CN={names[0]}", "-keyout", key, "-out", request)
        _openssl("x509", "-req", "-in", request, "-CA", self.certificate, "-CAkey", self._key, *period,
                 "-extfile", extensions, "-out", pem)
        with pem.open("a") as both:
            both.write(key.read_text())
        return pem


def _alternative_name(name):
    try:
        return f"IP:{ipaddress.ip_address(name)}"
    except ValueError:
        return f"DNS:{name}"


def _openssl(*arguments):
    subprocess.run(["openssl", *map(str, arguments)], check=True, capture_output=True)
