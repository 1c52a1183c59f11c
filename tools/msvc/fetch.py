#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Fetches what the preset windows-x64 builds against: fetch.py FOLDER

NEVER RUN YET: written on a machine without Windows and without Microsoft's compiler.

The sources of OBS are fetched by the digest in dependencies.json, and refused while that is empty. The prebuilt
dependencies and Qt are those that these very sources name, by the digests in their buildspec.json. libobs and the
front-end interface are then built and installed into FOLDER.
"""

import hashlib
import json
import subprocess
import sys
import tarfile
import urllib.request
import zipfile
from pathlib import Path

ARCHIVES = {"prebuilt": "windows-deps-{version}-x64.zip", "qt6": "windows-deps-qt6-{version}-x64.zip"}


def main():
    folder = Path(sys.argv[1]).resolve()
    folder.mkdir(parents=True, exist_ok=True)
    obs = json.loads((Path(__file__).parent / "dependencies.json").read_text())["obs-studio"]
    with tarfile.open(fetch(obs["url"], obs["sha256"], folder)) as archive:
        archive.extractall(folder, filter="data")
    sources = folder / f"obs-studio-{obs['version']}"

    dependencies = json.loads((sources / "buildspec.json").read_text())["dependencies"]
    for name, pattern in ARCHIVES.items():
        entry = dependencies[name]
        url = f"{entry['baseUrl']}/{entry['version']}/{pattern.format(version=entry['version'])}"
        with zipfile.ZipFile(fetch(url, entry["hashes"]["windows-x64"], folder)) as archive:
            archive.extractall(folder)

    build = sources / "build_x64"
    run("cmake", "-S", sources, "-B", build, "-G", "Visual Studio 17 2022", "-A", "x64", "-DENABLE_PLUGINS=OFF",
        "-DENABLE_FRONTEND=OFF", f"-DOBS_VERSION_OVERRIDE={obs['version']}", f"-DCMAKE_PREFIX_PATH={folder}")
    run("cmake", "--build", build, "--target", "obs-frontend-api", "--config", "Release", "--parallel")
    run("cmake", "--install", build, "--component", "Development", "--config", "Release", "--prefix", folder)


def fetch(url, sha256, folder):
    """The downloaded file; ends the program where it is not the one with this digest."""
    if not sha256:
        sys.exit(f"No digest is known for {url}: enter it in dependencies.json first.")
    target = folder / url.rpartition("/")[2]
    urllib.request.urlretrieve(url, target)
    found = hashlib.sha256(target.read_bytes()).hexdigest()
    if found != sha256:
        target.unlink()
        sys.exit(f"{url} has the digest {found}, not {sha256}.")
    return target


def run(*command):
    subprocess.run([str(part) for part in command], check=True)


if __name__ == "__main__":
    main()
