# SPDX-License-Identifier: GPL-2.0-or-later
"""tools/msvc/fetch.py against a server of this machine whose archives have the layout of the real ones. A program that
notes its arguments stands in for CMake, because Visual Studio is on Windows alone."""

import functools
import hashlib
import http.server
import io
import json
import os
import re
import shutil
import socketserver
import subprocess
import sys
import tempfile
import threading
import unittest
import zipfile
from pathlib import Path

SCRIPT = Path(__file__).resolve().parents[2] / "tools/msvc/fetch.py"
RELEASE = "2025-07-11"
OBS_ARCHIVE = "obs-studio/archive/refs/tags/31.1.1.zip"
DEPENDENCIES_ARCHIVE = f"obs-deps/releases/download/{RELEASE}/windows-deps-{RELEASE}-x64.zip"
QT_ARCHIVE = f"obs-deps/releases/download/{RELEASE}/windows-deps-qt6-{RELEASE}-x64-v2.zip"
STATE = "tarvoline-dependencies.txt"
CMAKE = """#!/bin/sh
echo "$*" >>"$0.log"
case $* in *"$FAIL_AT"*) [ -z "$FAIL_AT" ] || exit 3 ;; esac
"""


def zipOf(files):
    """A zip archive of texts by name."""
    buffer = io.BytesIO()
    with zipfile.ZipFile(buffer, "w") as archive:
        for name, text in files.items():
            archive.writestr(name, text)
    return buffer.getvalue()


def digestOf(data):
    return hashlib.sha256(data).hexdigest()


class Server(http.server.ThreadingHTTPServer):
    def server_bind(self):
        # HTTPServer's own asks the network for the name of the address.
        socketserver.TCPServer.server_bind(self)


class QuietHandler(http.server.SimpleHTTPRequestHandler):
    def log_message(self, *arguments):
        pass


class Fetch(unittest.TestCase):
    def setUp(self):
        self.root = Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.served = self.root / "served"
        self.served.mkdir()
        server = Server(("127.0.0.1", 0), functools.partial(QuietHandler, directory=self.served))
        self.addCleanup(server.server_close)
        self.addCleanup(server.shutdown)
        threading.Thread(target=server.serve_forever, kwargs={"poll_interval": 0.01}, daemon=True).start()
        self.base = f"http://127.0.0.1:{server.server_address[1]}"

        (self.root / "bin").mkdir()
        (self.root / "bin/cmake").write_text(CMAKE)
        (self.root / "bin/cmake").chmod(0o755)
        shutil.copy(SCRIPT, self.root)
        self.folder = self.root / "build/dependencies"
        self.serve(DEPENDENCIES_ARCHIVE, zipOf({"include/zlib.h": "x"}))
        self.serve(QT_ARCHIVE, zipOf({"lib/cmake/Qt6/Qt6Config.cmake": "x"}))
        self.serveObs()

    def serve(self, name, data):
        path = self.served / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(data)

    def servedDigest(self, name):
        return digestOf((self.served / name).read_bytes())

    def serveObs(self, **changed):
        """The sources' archive with a buildspec.json of the real layout; "changed" replaces digests in it."""
        hashes = {"prebuilt": self.servedDigest(DEPENDENCIES_ARCHIVE), "qt6": self.servedDigest(QT_ARCHIVE)} | changed
        url = f"{self.base}/obs-deps/releases/download"
        buildspec = {"dependencies": {
            "prebuilt": {"version": RELEASE, "baseUrl": url, "hashes": {"windows-x64": hashes["prebuilt"]}},
            "qt6": {"version": RELEASE, "baseUrl": url, "hashes": {"windows-x64": hashes["qt6"]},
                    "revision": {"macos-arm64": 4, "windows-x64": 2}},
        }}
        self.serve(OBS_ARCHIVE, zipOf({"obs-studio-31.1.1/buildspec.json": json.dumps(buildspec),
                                       "obs-studio-31.1.1/CMakeLists.txt": ""}))
        self.dependOn(self.servedDigest(OBS_ARCHIVE))

    def dependOn(self, sha256):
        (self.root / "dependencies.json").write_text(json.dumps({"obs-studio": {
            "version": "31.1.1", "url": f"{self.base}/{OBS_ARCHIVE}", "sha256": sha256}}))

    def runFetch(self, *arguments, failAt=""):
        environment = os.environ | {"PATH": f"{self.root}/bin:{os.environ['PATH']}", "FAIL_AT": failAt}
        return subprocess.run([sys.executable, self.root / "fetch.py", *arguments], env=environment, capture_output=True,
                              text=True, check=False)

    def cmakeCalls(self):
        log = self.root / "bin/cmake.log"
        return log.read_text().splitlines() if log.exists() else []

    def assertRefused(self, done, sentence):
        self.assertEqual((done.returncode, done.stderr.strip()), (1, sentence))
        self.assertFalse(self.folder.exists())

    def testFillsTheFolder(self):
        done = self.runFetch(self.folder)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertEqual({path.name for path in self.folder.iterdir()}, {"include", "lib", "obs-studio-31.1.1", STATE})
        configure, build, install = self.cmakeCalls()
        sources = self.folder / "obs-studio-31.1.1"
        self.assertIn(f"-S {sources} -B {sources}/build_x64 -G Visual Studio 17 2022", configure)
        self.assertIn(f"-DCMAKE_PREFIX_PATH={self.folder}", configure)
        self.assertIn("--target obs-frontend-api", build)
        self.assertIn(f"--component Development --config Release --prefix {self.folder}", install)

    def testACompleteFolderIsLeftAsItIs(self):
        self.runFetch(self.folder)
        shutil.rmtree(self.served)  # nothing is asked for again
        done = self.runFetch(self.folder)
        self.assertEqual((done.returncode, done.stdout), (0, f"{self.folder} is complete.\n"))
        self.assertEqual(len(self.cmakeCalls()), 3)

    def testOtherDependenciesReplaceTheFolder(self):
        self.runFetch(self.folder)
        (self.folder / "old").write_text("x")
        self.serve(QT_ARCHIVE, zipOf({"lib/other": "x"}))
        self.serveObs()
        self.assertEqual(self.runFetch(self.folder).returncode, 0)
        self.assertFalse((self.folder / "old").exists())
        self.assertTrue((self.folder / "lib/other").exists())

    def testAnInterruptedCallsFolderIsMadeAnew(self):
        self.folder.mkdir(parents=True)
        (self.folder / STATE).write_text("")
        (self.folder / "half").write_text("x")
        self.assertEqual(self.runFetch(self.folder).returncode, 0)
        self.assertFalse((self.folder / "half").exists())

    def testSomebodyElsesFolderIsRefused(self):
        self.folder.mkdir(parents=True)
        (self.folder / "mine").write_text("x")
        done = self.runFetch(self.folder)
        self.assertEqual((done.returncode, done.stderr), (1, f"{self.folder} holds other files: name a new folder.\n"))
        self.assertTrue((self.folder / "mine").exists())

    def testAFileInPlaceOfTheFolderIsRefused(self):
        self.folder.parent.mkdir()
        self.folder.write_text("x")
        self.assertEqual(self.runFetch(self.folder).stderr, f"{self.folder} is no folder.\n")
        self.assertEqual(self.folder.read_text(), "x")

    def testAnotherDigestIsRefused(self):
        zeros = "0" * 64
        self.dependOn(zeros)
        found = self.servedDigest(OBS_ARCHIVE)
        self.assertRefused(self.runFetch(self.folder), f"{self.base}/{OBS_ARCHIVE} has the digest {found}, not {zeros}.")
        for name, archive in (("prebuilt", DEPENDENCIES_ARCHIVE), ("qt6", QT_ARCHIVE)):
            self.serveObs(**{name: zeros})
            found = self.servedDigest(archive)
            self.assertRefused(self.runFetch(self.folder), f"{self.base}/{archive} has the digest {found}, not {zeros}.")
        self.assertEqual(self.cmakeCalls(), [])

    def testAMissingDigestIsRefusedBeforeAnythingIsFetched(self):
        self.dependOn("")
        shutil.rmtree(self.served)
        self.assertRefused(self.runFetch(self.folder),
                           f"No digest is known for {self.base}/{OBS_ARCHIVE}: enter it in dependencies.json first.")

    def testWhatTheServerDoesNotHaveIsRefused(self):
        (self.served / QT_ARCHIVE).unlink()
        self.assertRefused(self.runFetch(self.folder), f"{self.base}/{QT_ARCHIVE} could not be fetched: File not found.")

    def testADownloadCutShortIsRefused(self):
        self.serve(QT_ARCHIVE, (self.served / QT_ARCHIVE).read_bytes()[:-1])
        done = self.runFetch(self.folder)
        self.assertRegex(done.stderr, re.escape(f"{self.base}/{QT_ARCHIVE} has the digest "))
        self.assertFalse(self.folder.exists())

    def testAFailedBuildLeavesNothing(self):
        done = self.runFetch(self.folder, failAt="--build")
        build = self.folder / "obs-studio-31.1.1/build_x64"
        self.assertRefused(done, f'"cmake --build {build} …" ended with 3; its own words stand above.')

    def testWithoutAFolderTheUsageIsShown(self):
        for arguments in ((), ("a", "b")):
            done = self.runFetch(*arguments)
            self.assertEqual((done.returncode, done.stderr), (1, "usage: fetch.py FOLDER\n"))


class Dependencies(unittest.TestCase):
    def testTheSourcesHaveADigest(self):
        obs = json.loads((SCRIPT.parent / "dependencies.json").read_text())["obs-studio"]
        self.assertRegex(obs["sha256"], "^[0-9a-f]{64}$")
        self.assertTrue(obs["url"].endswith(f"/{obs['version']}.zip"), obs["url"])


if __name__ == "__main__":
    unittest.main()
