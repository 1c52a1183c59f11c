# SPDX-License-Identifier: GPL-2.0-or-later
"""Links and quoted paths of the documents refer to existing files, headings and pictures, and the documents have the
version of the sources.
"""

import json
import re
import unittest
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]

LINK = re.compile(r"!?\[[^\]]*\]\(([^)\s]+)\)|<img src=\"([^\"]+)\"")
QUOTED = re.compile(r"`([^`\n]+)`")
CODE_BLOCK = re.compile(r"^```.*?^```$", re.MULTILINE | re.DOTALL)
# The version in a package name or in a text of the panel.
VERSION = re.compile(r"(?:tarvoline-srtla_|Setup-v|[Ii]nstalliert(?:e Version| ist|):? )(\d+(?:\.\d+)+)")
# Top-level folders created by builds and releases.
GENERATED = ("build", "dist")


def documents():
    return sorted(path for path in PROJECT.rglob("*.md")
                  if path.relative_to(PROJECT).parts[0] not in GENERATED and ".git" not in path.parts)


def text_of(path):
    return CODE_BLOCK.sub("", path.read_text(encoding="utf-8"))


def anchors(path):
    """The anchors of a document's headings: lower case, without punctuation, "-" for spaces."""
    headings = re.findall(r"^#+ +(.*)$", text_of(path), re.MULTILINE)
    return {re.sub(r"[^\w\- ]", "", heading.lower()).replace(" ", "-") for heading in headings}


def links(path):
    for found in LINK.finditer(text_of(path)):
        target = found[1] or found[2]
        if not re.match(r"[a-z]+:", target):
            yield target


def quoted_paths(path):
    """The paths in backticks that begin with a top-level folder; a path with "…" is no file name."""
    folders = {entry.name for entry in PROJECT.iterdir() if entry.is_dir()} - set(GENERATED)
    for quoted in QUOTED.findall(text_of(path)):
        name = quoted.split()[0].removeprefix("./")
        if name.split("/")[0] in folders and "/" in name and "…" not in name:
            yield name


class LinksTest(unittest.TestCase):
    def test_documents_are_found(self):
        # Verifies the search.
        names = {path.name for path in documents()}
        self.assertLessEqual({"README.md", "CONTRIBUTING.md", "architecture.md", "anleitung.de.md"}, names)
        self.assertGreater(sum(len(list(links(path))) for path in documents()), 15)
        self.assertGreater(sum(len(list(quoted_paths(path))) for path in documents()), 30)

    def test_link_targets_exist(self):
        for path in documents():
            for target in links(path):
                with self.subTest(document=path.name, link=target):
                    name, _, anchor = target.partition("#")
                    linked = (path.parent / name).resolve() if name else path
                    self.assertTrue(linked.exists(), "no such file")
                    if anchor:
                        self.assertIn(anchor, anchors(linked), "no such heading")

    def test_quoted_paths_exist(self):
        for path in documents():
            # Relative to the top-level folder or to the document.
            for name in quoted_paths(path):
                with self.subTest(document=path.name, quoted=name):
                    self.assertTrue(any(list(base.glob(name)) for base in (PROJECT, path.parent)), "no such file")

    def test_version_is_that_of_the_sources(self):
        version = json.loads((PROJECT / "buildspec.json").read_text(encoding="utf-8"))["version"]
        named = [(path.name, found) for path in documents() for found in VERSION.findall(text_of(path))]
        self.assertLessEqual({"README.md", "anleitung.de.md"}, {name for name, _ in named})
        self.assertEqual([entry for entry in named if entry[1] != version], [])


if __name__ == "__main__":
    unittest.main()
