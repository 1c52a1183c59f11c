#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Fetches the dependencies of the preset windows-x64: fetch.py FOLDER

Untested on Windows. Downloads, digests and errors are tested with a local server and archives of the same layout; the build
of libobs is not tested.

The digest of OBS's sources is in dependencies.json; those of the prebuilt dependencies and of Qt are in the buildspec.json of
these sources. libobs and the front-end interface are built and installed into FOLDER. A complete FOLDER is not changed; an
incomplete FOLDER of an interrupted call is replaced.
"""

import hashlib
import json
import shutil
import subprocess
import sys
import urllib.request
import zipfile
from pathlib import Path

ARCHIVES = {"prebuilt": "windows-deps-{version}-x64{revision}.zip", "qt6": "windows-deps-qt6-{version}-x64{revision}.zip"}
PLATFORM = "windows-x64"
# In a complete folder: the digest of dependencies.json. Empty while the folder is being filled.
STATE_FILE = "tarvoline-dependencies.txt"
CHUNK_BYTES = 1 << 20
STALLED_AFTER_S = 60


def main():
    if len(sys.argv) != 2:
        sys.exit("usage: fetch.py FOLDER")
    folder = Path(sys.argv[1]).resolve()
    dependencies = Path(__file__).parent / "dependencies.json"
    wanted = hashlib.sha256(dependencies.read_bytes()).hexdigest()
    if is_complete(folder, wanted):
        print(f"{folder} is complete.")
        return
    try:
        (folder / STATE_FILE).write_text("")
        fill(folder, json.loads(dependencies.read_text())["obs-studio"])
        (folder / STATE_FILE).write_text(wanted)
    except BaseException as failure:
        shutil.rmtree(folder, ignore_errors=True)
        if isinstance(failure, SystemExit):
            raise
        sys.exit(f"{folder} could not be filled: {failure or type(failure).__name__}.")


def is_complete(folder, wanted):
    """Whether the folder is complete; otherwise it exists and is empty afterwards. Exits with an error if it contains other
    files."""
    if folder.exists() and not folder.is_dir():
        sys.exit(f"{folder} is not a folder.")
    state = folder / STATE_FILE
    if state.is_file():
        if state.read_text() == wanted:
            return True
        shutil.rmtree(folder)
    elif folder.is_dir() and any(folder.iterdir()):
        sys.exit(f"{folder} contains other files; use a new folder.")
    try:
        folder.mkdir(parents=True, exist_ok=True)
    except OSError as error:
        sys.exit(f"{folder} could not be created: {error.strerror}.")
    return False


def fill(folder, obs):
    unpack(fetch(obs["url"], obs["sha256"], folder), folder)
    sources = folder / f"obs-studio-{obs['version']}"
    for url, sha256 in prebuilt_archives(sources / "buildspec.json"):
        unpack(fetch(url, sha256, folder), folder)
    build_obs(sources, folder, obs["version"])


def prebuilt_archives(buildspec):
    """The (url, sha256) pairs of the dependencies in the buildspec.json of OBS's sources."""
    dependencies = json.loads(buildspec.read_text())["dependencies"]
    for name, pattern in ARCHIVES.items():
        entry = dependencies[name]
        revision = entry.get("revision", {}).get(PLATFORM)
        file = pattern.format(version=entry["version"], revision=f"-v{revision}" if revision else "")
        yield f"{entry['baseUrl']}/{entry['version']}/{file}", entry["hashes"][PLATFORM]


def fetch(url, sha256, folder):
    """The downloaded file. Exits with an error if the download fails or has another digest."""
    if not sha256:
        sys.exit(f"There is no digest for {url} in dependencies.json.")
    print(f"Fetching {url} …", flush=True)
    target = folder / url.rpartition("/")[2]
    digest = hashlib.sha256()
    try:
        with urllib.request.urlopen(url, timeout=STALLED_AFTER_S) as reply, target.open("wb") as file:
            while chunk := reply.read(CHUNK_BYTES):
                digest.update(chunk)
                file.write(chunk)
    except (OSError, ValueError) as error:
        target.unlink(missing_ok=True)
        reason = getattr(error, "reason", None) or error
        sys.exit(f"{url} could not be fetched: {reason}.")
    if digest.hexdigest() != sha256:
        target.unlink()
        sys.exit(f"{url} has the digest {digest.hexdigest()}, not {sha256}.")
    return target


def unpack(archive, folder):
    with zipfile.ZipFile(archive) as opened:
        opened.extractall(folder)
    archive.unlink()


def build_obs(sources, folder, version):
    build = sources / "build_x64"
    run("cmake", "-S", sources, "-B", build, "-G", "Visual Studio 17 2022", "-A", "x64", "-DENABLE_PLUGINS=OFF",
        "-DENABLE_FRONTEND=OFF", "-DENABLE_SCRIPTING=OFF", f"-DOBS_VERSION_OVERRIDE={version}",
        f"-DCMAKE_PREFIX_PATH={folder}")
    run("cmake", "--build", build, "--target", "obs-frontend-api", "--config", "Release", "--parallel")
    run("cmake", "--install", build, "--component", "Development", "--config", "Release", "--prefix", folder)


def run(*command):
    try:
        code = subprocess.run([str(part) for part in command], check=False).returncode
    except OSError as error:
        sys.exit(f"{command[0]} could not be started: {error.strerror}.")
    if code != 0:
        sys.exit(f"\"{' '.join(map(str, command[:3]))} …\" failed with exit code {code}; see its output above.")


if __name__ == "__main__":
    main()
