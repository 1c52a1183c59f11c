# SPDX-License-Identifier: GPL-2.0-or-later
"""tools/msvc/fetch.py with a local server whose archives have the layout of the real ones. CMake is replaced by a program
that records its arguments, because Visual Studio exists for Windows only."""

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


def zip_of(files):
    """A zip archive of texts by name."""
    buffer = io.BytesIO()
    with zipfile.ZipFile(buffer, "w") as archive:
        for name, text in files.items():
            archive.writestr(name, text)
    return buffer.getvalue()


def digest_of(data):
    return hashlib.sha256(data).hexdigest()


class Server(http.server.ThreadingHTTPServer):
    def server_bind(self):
        # HTTPServer's implementation looks up the name of the address.
        socketserver.TCPServer.server_bind(self)


class QuietHandler(http.server.SimpleHTTPRequestHandler):
    def log_message(self, *arguments):
        pass


class FetchTest(unittest.TestCase):
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
        self.serve(DEPENDENCIES_ARCHIVE, zip_of({"include/zlib.h": "x"}))
        self.serve(QT_ARCHIVE, zip_of({"lib/cmake/Qt6/Qt6Config.cmake": "x"}))
        self.serve_obs()

    def serve(self, name, data):
        path = self.served / name
        path.parent.mkdir(parents=True, exist_ok=True)
        path.write_bytes(data)

    def served_digest(self, name):
        return digest_of((self.served / name).read_bytes())

    def serve_obs(self, **changed):
        """The sources' archive with a buildspec.json of the real layout; `changed` replaces digests in it."""
        hashes = {"prebuilt": self.served_digest(DEPENDENCIES_ARCHIVE), "qt6": self.served_digest(QT_ARCHIVE)} | changed
        url = f"{self.base}/obs-deps/releases/download"
        buildspec = {"dependencies": {
            "prebuilt": {"version": RELEASE, "baseUrl": url, "hashes": {"windows-x64": hashes["prebuilt"]}},
            "qt6": {"version": RELEASE, "baseUrl": url, "hashes": {"windows-x64": hashes["qt6"]},
                    "revision": {"macos-arm64": 4, "windows-x64": 2}},
        }}
        self.serve(OBS_ARCHIVE, zip_of({"obs-studio-31.1.1/buildspec.json": json.dumps(buildspec),
                                       "obs-studio-31.1.1/CMakeLists.txt": ""}))
        self.depend_on(self.served_digest(OBS_ARCHIVE))

    def depend_on(self, sha256):
        (self.root / "dependencies.json").write_text(json.dumps({"obs-studio": {
            "version": "31.1.1", "url": f"{self.base}/{OBS_ARCHIVE}", "sha256": sha256}}))

    def run_fetch(self, *arguments, fail_at=""):
        environment = os.environ | {"PATH": f"{self.root}/bin:{os.environ['PATH']}", "FAIL_AT": fail_at}
        return subprocess.run([sys.executable, self.root / "fetch.py", *arguments], env=environment, capture_output=True,
                              text=True, check=False)

    def cmake_calls(self):
        log = self.root / "bin/cmake.log"
        return log.read_text().splitlines() if log.exists() else []

    def assert_refused(self, done, sentence):
        self.assertEqual((done.returncode, done.stderr.strip()), (1, sentence))
        self.assertFalse(self.folder.exists())

    def test_fills_the_folder(self):
        done = self.run_fetch(self.folder)
        self.assertEqual((done.returncode, done.stderr), (0, ""))
        self.assertEqual({path.name for path in self.folder.iterdir()}, {"include", "lib", "obs-studio-31.1.1", STATE})
        configure, build, install = self.cmake_calls()
        sources = self.folder / "obs-studio-31.1.1"
        self.assertIn(f"-S {sources} -B {sources}/build_x64 -G Visual Studio 17 2022", configure)
        self.assertIn(f"-DCMAKE_PREFIX_PATH={self.folder}", configure)
        self.assertIn("--target obs-frontend-api", build)
        self.assertIn(f"--component Development --config Release --prefix {self.folder}", install)

    def test_a_complete_folder_is_left_as_it_is(self):
        self.run_fetch(self.folder)
        shutil.rmtree(self.served)  # a second download would fail
        done = self.run_fetch(self.folder)
        self.assertEqual((done.returncode, done.stdout), (0, f"{self.folder} is complete.\n"))
        self.assertEqual(len(self.cmake_calls()), 3)

    def test_other_dependencies_replace_the_folder(self):
        self.run_fetch(self.folder)
        (self.folder / "old").write_text("x")
        self.serve(QT_ARCHIVE, zip_of({"lib/other": "x"}))
        self.serve_obs()
        self.assertEqual(self.run_fetch(self.folder).returncode, 0)
        self.assertFalse((self.folder / "old").exists())
        self.assertTrue((self.folder / "lib/other").exists())

    def test_an_incomplete_folder_is_replaced(self):
        self.folder.mkdir(parents=True)
        (self.folder / STATE).write_text("")
        (self.folder / "half").write_text("x")
        self.assertEqual(self.run_fetch(self.folder).returncode, 0)
        self.assertFalse((self.folder / "half").exists())

    def test_a_folder_with_other_files_is_refused(self):
        self.folder.mkdir(parents=True)
        (self.folder / "mine").write_text("x")
        done = self.run_fetch(self.folder)
        self.assertEqual((done.returncode, done.stderr), (1, f"{self.folder} contains other files; use a new folder.\n"))
        self.assertTrue((self.folder / "mine").exists())

    def test_a_file_in_place_of_the_folder_is_refused(self):
        self.folder.parent.mkdir()
        self.folder.write_text("x")
        self.assertEqual(self.run_fetch(self.folder).stderr, f"{self.folder} is not a folder.\n")
        self.assertEqual(self.folder.read_text(), "x")

    def test_another_digest_is_refused(self):
        zeros = "0" * 64
        self.depend_on(zeros)
        found = self.served_digest(OBS_ARCHIVE)
        self.assert_refused(self.run_fetch(self.folder), f"{self.base}/{OBS_ARCHIVE} has the digest {found}, not {zeros}.")
        for name, archive in (("prebuilt", DEPENDENCIES_ARCHIVE), ("qt6", QT_ARCHIVE)):
            self.serve_obs(**{name: zeros})
            found = self.served_digest(archive)
            self.assert_refused(self.run_fetch(self.folder), f"{self.base}/{archive} has the digest {found}, not {zeros}.")
        self.assertEqual(self.cmake_calls(), [])

    def test_a_missing_digest_is_refused_before_a_download(self):
        self.depend_on("")
        shutil.rmtree(self.served)
        self.assert_refused(self.run_fetch(self.folder),
                            f"There is no digest for {self.base}/{OBS_ARCHIVE} in dependencies.json.")

    def test_a_missing_file_on_the_server_is_an_error(self):
        (self.served / QT_ARCHIVE).unlink()
        self.assert_refused(self.run_fetch(self.folder), f"{self.base}/{QT_ARCHIVE} could not be fetched: File not found.")

    def test_a_download_cut_short_is_refused(self):
        self.serve(QT_ARCHIVE, (self.served / QT_ARCHIVE).read_bytes()[:-1])
        done = self.run_fetch(self.folder)
        self.assertRegex(done.stderr, re.escape(f"{self.base}/{QT_ARCHIVE} has the digest "))
        self.assertFalse(self.folder.exists())

    def test_a_failed_build_leaves_nothing(self):
        done = self.run_fetch(self.folder, fail_at="--build")
        build = self.folder / "obs-studio-31.1.1/build_x64"
        self.assert_refused(done, f'"cmake --build {build} …" failed with exit code 3; see its output above.')

    def test_without_a_folder_the_usage_is_shown(self):
        for arguments in ((), ("a", "b")):
            done = self.run_fetch(*arguments)
            self.assertEqual((done.returncode, done.stderr), (1, "usage: fetch.py FOLDER\n"))


class DependenciesTest(unittest.TestCase):
    def test_the_sources_have_a_digest(self):
        obs = json.loads((SCRIPT.parent / "dependencies.json").read_text())["obs-studio"]
        self.assertRegex(obs["sha256"], "^[0-9a-f]{64}$")
        self.assertTrue(obs["url"].endswith(f"/{obs['version']}.zip"), obs["url"])


if __name__ == "__main__":
    unittest.main()
