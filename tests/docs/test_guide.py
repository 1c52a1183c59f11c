#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""The German guide names every text that the panel can show, and its tables name nothing that it cannot show."""

import re
import unittest
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]
GUIDE = PROJECT / "docs" / "anleitung.de.md"
ROOMS = ("dock", "engine", "online")

# What the guide need not quote, and why.
NOT_IN_THE_GUIDE = {
    "konnte nicht geöffnet werden": "the panel looks for it in a status text, and shows the status instead",
    "Läuft auf UDP %1 → %2:%3": "a status text; the panel shows “Aktiv” instead",
    "UDP %1 konnte nicht geöffnet werden: %2": "a status text; the panel shows “Fehler” instead",
    "Gestoppt": "a status text; the panel shows “Inaktiv” instead",
    "<b>Tarvoline SRTLA Receiver</b>": "markup; the guide has the name without it",
}
# First cells of the guide's tables that are no text of the program, and why.
NOT_IN_THE_PROGRAM = {
    "jeder andere Text": "stands for what the vendor's service says",
}
# The tables whose first column quotes the program, by the heading above them.
QUOTING_TABLES = ("Status", "Protokoll", "Hinweis unter „IP / Domain“", "Meldungsfenster", "Plugin-Version")

LITERAL = r'"((?:[^"\\]|\\.)*)"'
TRANSLATED = re.compile(r"\btr\(\s*(" + LITERAL + r"(?:\s*" + LITERAL + r")*)")
# Stands for a value, in whose place the guide has "…" or an example.
PLACEHOLDER = re.compile(r"%\d")


def translatedTexts():
    """Every literal that passes through tr, with the adjacent pieces of a long one put together."""
    texts = {}
    for room in ROOMS:
        for path in sorted((PROJECT / room).glob("*.cpp")):
            for found in TRANSLATED.finditer(path.read_text(encoding="utf-8")):
                text = "".join(re.findall(LITERAL, found[1])).replace("\\n", "\n").replace('\\"', '"')
                texts.setdefault(text, path.name)
    return texts


def flat(text):
    """One line, without the marks that Markdown needs; the guide has spaces for a text's line breaks."""
    return re.sub(r"\s+", " ", text.replace("\\|", "|").replace("`", "").replace("**", "")).strip()


def patternOf(text):
    """Matches the text with anything short in place of its values; the guide leaves out the colon of a label."""
    pieces = [re.escape(piece) for piece in PLACEHOLDER.split(flat(text).removesuffix(":"))]
    return re.compile(r"[^|]{1,60}?".join(pieces))


def quotingRows(guide):
    heading = ""
    for line in guide.splitlines():
        if line.startswith("#"):
            heading = line.lstrip("# ")
        cell = re.match(r"\| ((?:[^|\\]|\\.)+?) \|", line)
        if heading in QUOTING_TABLES and cell and cell[1] not in ("Text", "Zeile", "Titel"):
            yield flat(cell[1])


class Guide(unittest.TestCase):
    def setUp(self):
        self.guide = GUIDE.read_text(encoding="utf-8")
        self.texts = translatedTexts()

    def testTheProgramsTextsAreFound(self):
        # Pieces of every room, and a text of several pieces: a search that finds nothing would let the rest pass.
        for text in ("Aktiv", "REG3 | Weg %1:%2 verbunden, Gruppe %3", "Ungültige Server-Adresse.",
                     "UDP-Port %1 konnte nicht geöffnet werden. Möglicherweise läuft bereits ein anderer Receiver."):
            self.assertIn(text, self.texts)
        for room in ROOMS:
            calls = sum(len(re.findall(r"\btr\(", path.read_text(encoding="utf-8")))
                        for path in (PROJECT / room).glob("*.cpp"))
            read = sum(len(TRANSLATED.findall(path.read_text(encoding="utf-8")))
                       for path in (PROJECT / room).glob("*.cpp"))
            self.assertEqual(read, calls, f"calls of tr in {room}/ whose text is no plain literal")

    def testEveryTextStandsInTheGuide(self):
        guide = flat(self.guide)
        for text, file in self.texts.items():
            with self.subTest(text=text, file=file):
                if text not in NOT_IN_THE_GUIDE:
                    self.assertRegex(guide, patternOf(text))

    def testTheTablesQuoteOnlyWhatTheProgramShows(self):
        rows = list(quotingRows(self.guide))
        self.assertGreater(len(rows), 40)
        for row in rows:
            with self.subTest(row=row):
                if row not in NOT_IN_THE_PROGRAM:
                    self.assertTrue(any(patternOf(text).fullmatch(row) for text in self.texts), "no text of the program")

    def testTheExceptionsAreStillNeeded(self):
        for text in NOT_IN_THE_GUIDE:
            self.assertIn(text, self.texts)
        for row in NOT_IN_THE_PROGRAM:
            self.assertIn(row, list(quotingRows(self.guide)))


if __name__ == "__main__":
    unittest.main()
