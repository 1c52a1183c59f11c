# SPDX-License-Identifier: GPL-2.0-or-later
"""The table of docs/windows.md that says which tests run on which system, against the tests that a build has.

Usage: test_whatruns.py BUILD-FOLDER linux|windows. Prints how many run on both systems and how many on this one only.
"""

import fnmatch
import json
import re
import subprocess
import sys
from pathlib import Path

DOCUMENT = Path(__file__).resolve().parents[2] / "docs/windows.md"
HEAD = "| Tests | Linux | Windows (Wine) | Why on one only |"
SYSTEMS = ("linux", "windows")


def testsOf(build):
    """The names of a build's tests, without the benchmarks' own, which only a Linux build with TARVOLINE_BENCH has."""
    listing = subprocess.run(["ctest", "--test-dir", build, "--show-only=json-v1"], check=True, capture_output=True, text=True)
    names = [test["name"] for test in json.loads(listing.stdout)["tests"]]
    return [name for name in names if not name.startswith("bench_")]


def rowsOfTheTable():
    """Each row as its patterns, whether it runs on each of SYSTEMS, and its reason."""
    _, table = DOCUMENT.read_text(encoding="utf-8").split(HEAD + "\n")
    rows = []
    for line in table.splitlines()[1:]:
        if not line.startswith("|"):
            break
        tests, *runs, reason = [cell.strip() for cell in line.strip("|").split("|")]
        rows.append((re.findall(r"`([^`]+)`", tests), runs, reason))
    return rows


def bestPattern(rows, name):
    """The pattern that the test matches, the longest of several, with its row."""
    found = [(pattern, row) for row in rows for pattern in row[0] if fnmatch.fnmatchcase(name, pattern)]
    return max(found, key=lambda match: len(match[0]), default=None)


def main():
    build, system = sys.argv[1:3]
    here = SYSTEMS.index(system)
    rows = rowsOfTheTable()
    problems = [f"{row[0]}: “yes” or “no” for each system, and a reason exactly where one has none"
                for row in rows if not set(row[1]) <= {"yes", "no"} or "yes" not in row[1] or ("no" in row[1]) != bool(row[2])]
    used = set()
    both = 0
    names = testsOf(build)
    for name in names:
        match = bestPattern(rows, name)
        if not match or match[1][1][here] != "yes":
            problems.append(f"{name}: runs on {system}, and the table does not say so")
            continue
        used.add(match[0])
        both += "no" not in match[1][1]
    problems += [f"{pattern}: no such test on {system}"
                 for row in rows if row[1][here] == "yes" for pattern in row[0] if pattern not in used]
    for problem in problems:
        print(f"{DOCUMENT.name}: {problem}")
    print(f"{both} tests run on both systems, {len(names) - both} on {system} only")
    return 1 if problems else 0


if __name__ == "__main__":
    sys.exit(main())
