#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""What the documents point to is there: files, headings, pictures, and every path of the tree that they quote. The version
that they name is the one of the sources.
"""

import json
import re
import unittest
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]

LINK = re.compile(r"!?\[[^\]]*\]\(([^)\s]+)\)|<img src=\"([^\"]+)\"")
QUOTED = re.compile(r"`([^`\n]+)`")
CODE_BLOCK = re.compile(r"^```.*?^```$", re.MULTILINE | re.DOTALL)
# A version in the name of a package, and in the panel's own words.
VERSION = re.compile(r"(?:tarvoline-srtla_|Setup-v|[Ii]nstalliert(?:e Version| ist|):? )(\d+(?:\.\d+)+)")
# Folders at the top that builds and releases make.
MADE = ("build", "dist")


def documents():
    return sorted(path for path in PROJECT.rglob("*.md")
                  if path.relative_to(PROJECT).parts[0] not in MADE and ".git" not in path.parts)


def textOf(path):
    return CODE_BLOCK.sub("", path.read_text(encoding="utf-8"))


def anchors(path):
    """The names under which the headings of a document can be linked to: lower case, without marks, "-" for blanks."""
    headings = re.findall(r"^#+ +(.*)$", textOf(path), re.MULTILINE)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}


def links(path):
    for found in LINK.finditer(textOf(path)):
        target = found[1] or found[2]
        if not re.match(r"[a-z]+:", target):
            yield target


def quotedPaths(path):
    """What stands in backticks and begins with a folder of the tree, up to the first blank; "…" stands for no file."""
    folders = {entry.name for entry in PROJECT.iterdir() if entry.is_dir()} - set(MADE)
    for quoted in QUOTED.findall(textOf(path)):
        name = quoted.split()[0].removeprefix("./")
        if name.split("/")[0] in folders and "/" in name and "…" not in name:
            yield name


class Links(unittest.TestCase):
    def testTheDocumentsAreFound(self):
        # A search that finds nothing would let the rest pass.
        names = {path.name for path in documents()}
        self.assertLessEqual({"README.md", "CONTRIBUTING.md", "architecture.md", "anleitung.de.md"}, names)
        self.assertGreater(sum(len(list(links(path))) for path in documents()), 15)
        self.assertGreater(sum(len(list(quotedPaths(path))) for path in documents()), 30)

    def testEveryLinkLeadsSomewhere(self):
        for path in documents():
            for target in links(path):
                with self.subTest(document=path.name, link=target):
                    name, _, anchor = target.partition("#")
                    aim = (path.parent / name).resolve() if name else path
                    self.assertTrue(aim.exists(), "no such file")
                    if anchor:
                        self.assertIn(anchor, anchors(aim), "no such heading")

    def testEveryQuotedPathIsThere(self):
        for path in documents():
            # From the top of the tree, or from the document's own folder.
            for name in quotedPaths(path):
                with self.subTest(document=path.name, quoted=name):
                    self.assertTrue(any(list(base.glob(name)) for base in (PROJECT, path.parent)), "no such file")

    def testTheVersionIsThatOfTheSources(self):
        version = json.loads((PROJECT / "buildspec.json").read_text(encoding="utf-8"))["version"]
        named = [(path.name, found) for path in documents() for found in VERSION.findall(textOf(path))]
        self.assertLessEqual({"README.md", "anleitung.de.md"}, {name for name, _ in named})
        self.assertEqual([entry for entry in named if entry[1] != version], [])


if __name__ == "__main__":
    unittest.main()
