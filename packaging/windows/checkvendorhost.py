#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Refuses packages for Windows whose module was built for another vendor's host: such a plug-in never trusts the update
manifest that is published beside it. Usage: checkvendorhost.py HOST ZIP…
"""

import re
import sys
import zipfile
from pathlib import Path


def names(data, host):
    """Whether the host stands in a module as 8-bit or UTF-16 text, and not merely as the end of a longer name."""
    for upperByte in (b"", b"\0"):
        text = b"".join(re.escape(character.encode()) + upperByte for character in host)
        if re.search(b"(?<![a-z0-9.-]" + upperByte + b")" + text + b"(?![a-z0-9.-])", data):
            return True
    return False


def findings(package, host):
    try:
        with zipfile.ZipFile(package) as archive:
            return [f"{package.name}: {name} was not built for the vendor's host {host}"
                    for name in archive.namelist()
                    if name.lower().endswith(".dll") and not names(archive.read(name), host)]
    except zipfile.BadZipFile:
        return [f"{package.name} is no zip archive"]


def main():
    host, *packages = sys.argv[1:]
    found = [finding for package in packages for finding in findings(Path(package), host)]
    for finding in found:
        print(f"release: {finding}.", file=sys.stderr)
    sys.exit(1 if found else 0)


if __name__ == "__main__":
    main()
