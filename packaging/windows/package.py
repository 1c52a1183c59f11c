#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Makes the packages for Windows out of a built module: the installer, a zip for OBS's plug-in folder, a zip in the
layout of a portable OBS, a zip of the debug information where it is a file of its own, and SHA256SUMS. What stands behind
"--" is the command that runs Inno Setup's compiler. The output folder is replaced when all of them are made.
The zips of two runs hold the same bytes, and so does the installer where SOURCE_DATE_EPOCH gives the time of its files.
"""

import argparse
import hashlib
import os
import shutil
import subprocess
import sys
import tempfile
import zipfile
from pathlib import Path

# No time of day in the archives: the earliest that a zip can state.
ZIP_TIME = (1980, 1, 1, 0, 0, 0)
RUNTIME_SUFFIXES = {".dll", ".ini", ".json"}


def main():
    arguments = parseArguments()
    module = arguments.tree / "bin" / "64bit" / f"{arguments.name}.dll"
    for path in (module, arguments.pdb or module):
        if not path.is_file():
            sys.exit(f"{path} is missing: build the module first.")
    arguments.output.parent.mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory(dir=arguments.output.parent) as folder:
        made = makePackages(Path(folder), arguments)
        shutil.rmtree(arguments.output, ignore_errors=True)
        made.rename(arguments.output)


def makePackages(stage, arguments):
    """The folder with all packages and their sums, below "stage"."""
    output = stage / "packages"
    output.mkdir()
    tree = stage / arguments.name
    copyTree(arguments.tree, tree)
    stem = f"Tarvoline-SRTLA-Plugin-v{arguments.version}-windows-x64"
    made = [
        writeZip(output / f"{stem}.zip", plainLayout(tree, arguments)),
        writeZip(output / f"{stem}-portable.zip", portableLayout(tree, arguments)),
        makeInstaller(stage, tree, output, arguments),
        writeZip(output / f"{stem}-pdb.zip", {f"{arguments.name}.pdb": arguments.pdb}),
    ]
    sums = "".join(f"{hashlib.sha256(path.read_bytes()).hexdigest()}  {path.name}\n" for path in sorted(made))
    (output / "SHA256SUMS").write_text(sums, newline="\n")
    print(sums, end="")
    return output


def parseArguments():
    parser = argparse.ArgumentParser(description=__doc__)
    for name in ("name", "version"):
        parser.add_argument(f"--{name}", required=True)
    for name in ("tree", "pdb", "readme", "license", "script", "output"):
        parser.add_argument(f"--{name}", required=True, type=Path)
    parser.add_argument("iscc", nargs="+")
    return parser.parse_args()


def copyTree(source, target):
    """The module and its data alone: build folders also hold import libraries and debug databases."""
    for path in sorted(source.rglob("*")):
        if path.suffix in RUNTIME_SUFFIXES:
            copy = target / path.relative_to(source)
            copy.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(path, copy)


def texts(arguments, kind):
    """The texts that go beside the module, by their name in the package."""
    return {
        "README.txt": arguments.readme / f"readme-{kind}.txt",
        "LIESMICH.txt": arguments.readme / f"liesmich-{kind}.txt",
        "LICENSE.txt": arguments.license,
    }


def plainLayout(tree, arguments):
    files = {f"{arguments.name}/{path.relative_to(tree).as_posix()}": path for path in tree.rglob("*") if path.is_file()}
    return files | texts(arguments, "plain")


def portableLayout(tree, arguments):
    module = f"{arguments.name}.dll"
    files = {f"obs-plugins/64bit/{module}": tree / "bin" / "64bit" / module}
    for path in (tree / "data").rglob("*"):
        if path.is_file():
            files[f"data/obs-plugins/{arguments.name}/{path.relative_to(tree / 'data').as_posix()}"] = path
    return files | texts(arguments, "portable")


def writeZip(target, files):
    with zipfile.ZipFile(target, "w", zipfile.ZIP_DEFLATED) as archive:
        for name, path in sorted(files.items()):
            entry = zipfile.ZipInfo(name, ZIP_TIME)
            entry.compress_type = zipfile.ZIP_DEFLATED
            archive.writestr(entry, path.read_bytes())
    return target


def makeInstaller(stage, tree, output, arguments):
    readme = stage / "readme"
    readme.mkdir()
    for name, path in texts(arguments, "installed").items():
        shutil.copyfile(path, readme / name)
    setTimes(tree, readme)
    defines = {"Tree": tree, "Readme": readme, "Output": output}
    result = subprocess.run([*arguments.iscc, *(f"/D{name}={windowsPath(path)}" for name, path in defines.items()),
                             windowsPath(arguments.script)], capture_output=True, text=True, errors="replace", check=False)
    if result.returncode != 0:
        sys.exit(f"The installer was not made:\n{result.stdout}{result.stderr}")
    return output / f"Tarvoline-SRTLA-Plugin-Setup-v{arguments.version}.exe"


def setTimes(*folders):
    """The files' times, which the installer notes, are those of the commit in a release."""
    seconds = os.environ.get("SOURCE_DATE_EPOCH")
    if seconds is None:
        return
    for folder in folders:
        for path in folder.rglob("*"):
            os.utime(path, (int(seconds), int(seconds)))


def windowsPath(path):
    """A path as a Windows program sees it: under Wine, drive Z is this system's root."""
    absolute = str(path.resolve())
    return absolute if sys.platform == "win32" else "Z:" + absolute.replace("/", "\\")


if __name__ == "__main__":
    main()
