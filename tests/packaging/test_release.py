# SPDX-License-Identifier: GPL-2.0-or-later
"""packaging/release: the source archive and error handling. The packages have separate tests."""

import os
import shutil
import subprocess
import tarfile
import tempfile
import unittest
import zipfile
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]
SCRIPTS = ("packaging/release", "packaging/windows/checkvendorhost.py")
# A small project in place of this one, which is built and packaged in a second.
MINIATURE = {
    "CMakePresets.json": """{"version": 6, "configurePresets": [{"name": "linux", "generator": "Ninja",
        "installDir": "/usr", "cacheVariables": {"CMAKE_BUILD_TYPE": "RelWithDebInfo"}}]}""",
    "CMakeLists.txt": """cmake_minimum_required(VERSION 3.25)
        project(tarvoline-srtla VERSION 7.8.9 LANGUAGES C CXX)
        add_library(tarvoline-srtla MODULE module.cpp part.c)
        install(TARGETS tarvoline-srtla DESTINATION lib)
        file(WRITE "${CMAKE_BINARY_DIR}/packaging/service/makemanifest.py"
            "import sys; open(sys.argv[-1], 'w').write('{}')")
        set(CPACK_GENERATOR DEB)
        set(CPACK_PACKAGE_DIRECTORY "${CMAKE_BINARY_DIR}/packages")
        set(CPACK_STRIP_FILES ON)
        set(CPACK_DEBIAN_PACKAGE_MAINTAINER nobody)
        include(CPack)""",
    "module.cpp": 'extern "C" const char *place() { return __FILE__; }',
    "part.c": "const char *placeOfPart(void) { return __FILE__; }",
    "dev": '#!/bin/sh\nexec "$@"\n',
}
INSTALLER = "Tarvoline-SRTLA-Plugin-Setup-v7.8.9.exe"
COMMITTED_AT = "2001-09-09T01:46:40+00:00"
COMMITTED_AT_S = 1_000_000_000
ARCHIVE = "tarvoline-srtla-7.8.9.tar.gz"


class ReleaseTest(unittest.TestCase):
    def setUp(self):
        self.folder = Path(self.enterContext(tempfile.TemporaryDirectory()))
        self.project = self.folder / "project"
        for name in SCRIPTS:
            (self.project / name).parent.mkdir(parents=True, exist_ok=True)
            shutil.copy(PROJECT / name, self.project / name)
        (self.project / "buildspec.json").write_text(
            '{\n    "name": "tarvoline-srtla",\n    "displayName": "Another",\n    "version": "7.8.9",\n'
            '    "vendorHost": "vendor.test"\n}\n')
        (self.project / ".gitignore").write_text("/build/\n/dist/\n")
        self.git("init", "--quiet")
        self.commit()

    def git(self, *arguments):
        author = {"GIT_AUTHOR_NAME": "a", "GIT_AUTHOR_EMAIL": "a@b", "GIT_COMMITTER_NAME": "a",
                  "GIT_COMMITTER_EMAIL": "a@b", "GIT_AUTHOR_DATE": COMMITTED_AT, "GIT_COMMITTER_DATE": COMMITTED_AT}
        subprocess.run(["git", *arguments], cwd=self.project, env=os.environ | author, check=True, capture_output=True)

    def commit(self):
        self.git("add", "--all")
        self.git("commit", "--quiet", "--message", "x")

    def release(self, *arguments):
        return subprocess.run(["packaging/release", *arguments], cwd=self.project, capture_output=True, text=True,
                              check=False)

    def add_miniature(self):
        for name, text in MINIATURE.items():
            (self.project / name).write_text(text)
        (self.project / "dev").chmod(0o755)
        self.commit()

    def ready_packages(self, **modules):
        """A folder with an installer, and an archive for each of the modules."""
        ready = self.folder / "ready"
        ready.mkdir()
        (ready / INSTALLER).write_text("x")
        for name, module in modules.items():
            with zipfile.ZipFile(ready / f"{name}.zip", "w", zipfile.ZIP_DEFLATED) as archive:
                archive.writestr("README.txt", "x")
                archive.writestr(f"bin/{name}.DLL", module)
        return str(ready)

    def archive(self):
        return self.project / "dist" / ARCHIVE

    def assert_refused(self, done, *words):
        self.assertEqual(done.returncode, 1, done.stderr)
        for word in words:
            self.assertIn(word, done.stderr)
        self.assertFalse((self.project / "dist").exists())

    def test_two_runs_give_the_same_bytes(self):
        self.assertEqual(self.release("--sources-only").returncode, 0)
        first = self.archive().read_bytes()
        # File times, the folder and the time of day must have no effect.
        for path in self.project.glob("*.json"):
            os.utime(path, (COMMITTED_AT_S * 1.5, COMMITTED_AT_S * 1.5))
        self.project = self.project.rename(self.folder / "elsewhere")
        self.assertEqual(self.release("--sources-only").returncode, 0)
        self.assertEqual(self.archive().read_bytes(), first)
        # By default gzip stores the current second in these bytes, which two quick runs would not reveal.
        self.assertEqual(first[4:8], bytes(4))

    def test_another_folder_gives_the_same_packages(self):
        self.add_miniature()
        ready = self.ready_packages(narrow=b"\x90a\0https://vendor.test\0", wide="\x90vendor.test/".encode("utf-16-le"))

        def released():
            done = self.release("--windows", ready)
            self.assertEqual(done.returncode, 0, done.stderr + done.stdout)
            dist = self.project / "dist"
            return {str(path.relative_to(dist)): path.read_bytes() for path in dist.rglob("*") if path.is_file()}

        first = released()
        self.assertEqual({Path(name).suffix for name in first}, {".gz", ".deb", ".exe", ".zip", ".json", ""})
        shutil.rmtree(self.project / "build")
        self.project = self.project.rename(self.folder / "a folder's other name")
        second = released()
        self.assertEqual([name for name in first if first[name] != second[name]], [])

    def test_the_archive_holds_the_commit_in_one_folder(self):
        (self.project / "build").mkdir()
        (self.project / "build" / "leftover").write_text("x")
        self.assertEqual(self.release("--sources-only").returncode, 0)
        with tarfile.open(self.archive()) as archive:
            self.assertEqual({entry.name for entry in archive if entry.isfile()},
                             {f"tarvoline-srtla-7.8.9/{name}"
                              for name in ("buildspec.json", ".gitignore", *SCRIPTS)})
            self.assertEqual({entry.mtime for entry in archive}, {COMMITTED_AT_S})

    def test_the_sums_are_those_of_the_files(self):
        self.assertEqual(self.release("--sources-only").returncode, 0)
        done = subprocess.run(["sha256sum", "--check", "--strict", "SHA256SUMS"], cwd=self.project / "dist",
                              capture_output=True, text=True, check=False)
        self.assertEqual((done.returncode, done.stdout), (0, f"{ARCHIVE}: OK\n"))

    def test_an_earlier_release_is_replaced(self):
        (self.project / "dist").mkdir()
        (self.project / "dist" / "old").write_text("x")
        self.assertEqual(self.release("--sources-only").returncode, 0)
        self.assertEqual({path.name for path in (self.project / "dist").iterdir()}, {ARCHIVE, "SHA256SUMS"})

    def test_a_changed_file_is_refused(self):
        (self.project / "buildspec.json").write_text("{}")
        self.assert_refused(self.release("--sources-only"), "buildspec.json", "Commit or stash")

    def test_a_new_file_is_refused(self):
        (self.project / "forgotten.cpp").write_text("")
        self.assert_refused(self.release("--sources-only"), "forgotten.cpp", "Commit or stash")

    def test_sources_without_git_are_refused(self):
        shutil.rmtree(self.project / ".git")
        self.assert_refused(self.release("--sources-only"), "not a Git checkout")

    def test_a_folder_without_the_installer_is_refused(self):
        self.assert_refused(self.release("--windows", str(self.folder)), f"does not contain {INSTALLER}")

    def test_a_module_for_another_host_is_refused(self):
        self.add_miniature()
        ours = b"https://vendor.test\0"
        others = {"another": b"https://other.test\0", "subdomain": b"https://a.vendor.test\0",
                  "longer": b"https://vendor.test.de\0", "wide": "https://my-vendor.test".encode("utf-16-le")}
        ready = self.ready_packages(ours=ours, **others)
        done = self.release("--windows", ready)
        self.assert_refused(done, *(f"{name}.zip: bin/{name}.DLL was not built for the vendor host vendor.test"
                                    for name in others))
        self.assertNotIn("ours.zip", done.stderr)
        self.assertFalse((self.project / "build/release/linux").exists())
        self.assert_refused(self.release("--windows", ready, "--vendor-host", "else.test"), "ours.zip", "host else.test")

    def test_a_damaged_archive_is_refused(self):
        self.add_miniature()
        ready = self.ready_packages()
        Path(ready, "damaged.zip").write_text("x")
        self.assert_refused(self.release("--windows", ready), "damaged.zip is not a zip archive")

    def test_a_build_that_fails_leaves_the_earlier_release(self):
        (self.project / "dev").write_text("#!/bin/sh\nexit 1\n")
        (self.project / "dev").chmod(0o755)
        self.commit()
        self.assertEqual(self.release("--sources-only").returncode, 0)
        self.assertNotEqual(self.release().returncode, 0)
        self.assertTrue(self.archive().exists())

    def test_an_unknown_option_shows_the_usage(self):
        for arguments in (["--fast"], ["--windows"]):
            done = self.release(*arguments)
            self.assertEqual(done.returncode, 2)
            self.assertIn("usage: packaging/release", done.stderr)


if __name__ == "__main__":
    unittest.main()
