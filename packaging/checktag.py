#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Checks the tag and the vendor host of a release: checktag.py TAG VENDOR-HOST

The tag must be "v" and the version in buildspec.json. The vendor host must not be a reserved domain, because the
plug-in's requests to it would fail.
"""

import json
import re
import sys
from pathlib import Path

BUILDSPEC = Path(__file__).resolve().parents[1] / "buildspec.json"
# RFC 2606: top-level and second-level domains that are never assigned.
RESERVED = r"(^|\.)(example|invalid|localhost|test)$|(^|\.)example\.(com|net|org)$"


def problem(tag, host, version):
    """The error in the arguments, as a text; None without an error."""
    if tag != f"v{version}":
        return f"The tag {tag!r} is not v{version}, the version in buildspec.json"
    if not host:
        return "No vendor host is set: set the repository's variable TARVOLINE_VENDOR_HOST"
    if re.search(RESERVED, host):
        return f"The vendor host {host} is a reserved name: set the repository's variable TARVOLINE_VENDOR_HOST to a real one"
    return None


def main():
    if len(sys.argv) != 3:
        sys.exit("usage: checktag.py TAG VENDOR-HOST")
    found = problem(sys.argv[1], sys.argv[2], json.loads(BUILDSPEC.read_text(encoding="utf-8"))["version"])
    if found:
        sys.exit(f"{found}.")


if __name__ == "__main__":
    main()
