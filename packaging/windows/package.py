#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Creates the packages for Windows from a built module: the installer, a zip for OBS's plug-in folder, a zip in the layout of
a portable OBS, a zip of the debug information, and SHA256SUMS. The arguments after "--" are the command of Inno Setup's
compiler. The output folder is replaced after all packages have been created.
Zips of the same files are identical; installers of the same files are identical if SOURCE_DATE_EPOCH is set.
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

# The earliest time in a zip, for all files, so that archives do not depend on the time of the build.
ZIP_TIME = (1980, 1, 1, 0, 0, 0)
RUNTIME_SUFFIXES = {".dll", ".ini", ".json"}


def main():
    arguments = parse_arguments()
    module = arguments.tree / "bin" / "64bit" / f"{arguments.name}.dll"
    for path in (module, arguments.pdb or module):
        if not path.is_file():
            sys.exit(f"{path} is missing. Build the module first.")
    arguments.output.parent.mkdir(parents=True, exist_ok=True)
    with tempfile.TemporaryDirectory(dir=arguments.output.parent) as folder:
        made = make_packages(Path(folder), arguments)
        shutil.rmtree(arguments.output, ignore_errors=True)
        made.rename(arguments.output)


def make_packages(stage, arguments):
    """Creates all packages and their sums below `stage`; returns their folder."""
    output = stage / "packages"
    output.mkdir()
    tree = stage / arguments.name
    copy_tree(arguments.tree, tree)
    stem = f"Tarvoline-SRTLA-Plugin-v{arguments.version}-windows-x64"
    made = [
        write_zip(output / f"{stem}.zip", plain_layout(tree, arguments)),
        write_zip(output / f"{stem}-portable.zip", portable_layout(tree, arguments)),
        make_installer(stage, tree, output, arguments),
        write_zip(output / f"{stem}-pdb.zip", {f"{arguments.name}.pdb": arguments.pdb}),
    ]
    sums = "".join(f"{hashlib.sha256(path.read_bytes()).hexdigest()}  {path.name}\n" for path in sorted(made))
    (output / "SHA256SUMS").write_text(sums, newline="\n")
    print(sums, end="")
    return output


def parse_arguments():
    parser = argparse.ArgumentParser(description=__doc__)
    for name in ("name", "version"):
        parser.add_argument(f"--{name}", required=True)
    for name in ("tree", "pdb", "readme", "license", "script", "output"):
        parser.add_argument(f"--{name}", required=True, type=Path)
    parser.add_argument("iscc", nargs="+")
    return parser.parse_args()


def copy_tree(source, target):
    """Copies the files that OBS loads; build folders also contain import libraries and PDBs."""
    for path in sorted(source.rglob("*")):
        if path.suffix in RUNTIME_SUFFIXES:
            copy = target / path.relative_to(source)
            copy.parent.mkdir(parents=True, exist_ok=True)
            shutil.copyfile(path, copy)


def texts(arguments, kind):
    """The text files of a package, by their name in it."""
    return {
        "README.txt": arguments.readme / f"readme-{kind}.txt",
        "LIESMICH.txt": arguments.readme / f"liesmich-{kind}.txt",
        "LICENSE.txt": arguments.license,
    }


def plain_layout(tree, arguments):
    """The files of the archive for OBS's plug-in folder, by their name in it."""
    files = {f"{arguments.name}/{path.relative_to(tree).as_posix()}": path for path in tree.rglob("*") if path.is_file()}
    return files | texts(arguments, "plain")


def portable_layout(tree, arguments):
    """The files of the archive for a portable OBS, by their name in it."""
    module = f"{arguments.name}.dll"
    files = {f"obs-plugins/64bit/{module}": tree / "bin" / "64bit" / module}
    for path in (tree / "data").rglob("*"):
        if path.is_file():
            files[f"data/obs-plugins/{arguments.name}/{path.relative_to(tree / 'data').as_posix()}"] = path
    return files | texts(arguments, "portable")


def write_zip(target, files):
    with zipfile.ZipFile(target, "w", zipfile.ZIP_DEFLATED) as archive:
        for name, path in sorted(files.items()):
            entry = zipfile.ZipInfo(name, ZIP_TIME)
            entry.compress_type = zipfile.ZIP_DEFLATED
            archive.writestr(entry, path.read_bytes())
    return target


def make_installer(stage, tree, output, arguments):
    readme = stage / "readme"
    readme.mkdir()
    for name, path in texts(arguments, "installed").items():
        shutil.copyfile(path, readme / name)
    set_times(tree, readme)
    defines = {"Tree": tree, "Readme": readme, "Output": output}
    result = subprocess.run([*arguments.iscc, *(f"/D{name}={windows_path(path)}" for name, path in defines.items()),
                             windows_path(arguments.script)], capture_output=True, text=True, errors="replace", check=False)
    if result.returncode != 0:
        sys.exit(f"Inno Setup failed:\n{result.stdout}{result.stderr}")
    return output / f"Tarvoline-SRTLA-Plugin-Setup-v{arguments.version}.exe"


def set_times(*folders):
    """Sets the times of all files, which the installer contains, to SOURCE_DATE_EPOCH."""
    seconds = os.environ.get("SOURCE_DATE_EPOCH")
    if seconds is None:
        return
    for folder in folders:
        for path in folder.rglob("*"):
            os.utime(path, (int(seconds), int(seconds)))


def windows_path(path):
    """The path for a Windows program; under Wine, drive Z is the root of the file system."""
    absolute = str(path.resolve())
    return absolute if sys.platform == "win32" else "Z:" + absolute.replace("/", "\\")


if __name__ == "__main__":
    main()
