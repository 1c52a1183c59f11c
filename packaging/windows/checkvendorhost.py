#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Rejects packages for Windows whose module was built for another vendor host: such a plug-in would reject the update
manifest of this release. Usage: checkvendorhost.py HOST ZIP…
"""

import re
import sys
import zipfile
from pathlib import Path


def contains_host(data, host):
    """Whether a module contains the host as 8-bit or UTF-16 text that is not part of a longer name."""
    for upper_byte in (b"", b"\0"):
        text = b"".join(re.escape(character.encode()) + upper_byte for character in host)
        if re.search(b"(?<![a-z0-9.-]" + upper_byte + b")" + text + b"(?![a-z0-9.-])", data):
            return True
    return False


def findings(package, host):
    """The errors of a package, as texts."""
    try:
        with zipfile.ZipFile(package) as archive:
            return [f"{package.name}: {name} was not built for the vendor host {host}"
                    for name in archive.namelist()
                    if name.lower().endswith(".dll") and not contains_host(archive.read(name), host)]
    except zipfile.BadZipFile:
        return [f"{package.name} is not a zip archive"]


def main():
    host, *packages = sys.argv[1:]
    found = [finding for package in packages for finding in findings(Path(package), host)]
    for finding in found:
        print(f"release: {finding}.", file=sys.stderr)
    sys.exit(1 if found else 0)


if __name__ == "__main__":
    main()
