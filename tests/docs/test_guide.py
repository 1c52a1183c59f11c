# SPDX-License-Identifier: GPL-2.0-or-later
"""The German guide contains every text of the panel, and its tables contain no other texts."""

import re
import unittest
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]
GUIDE = PROJECT / "docs" / "anleitung.de.md"
ROOMS = ("dock", "engine", "online")

# Texts that the guide does not contain, with the reason.
NOT_IN_THE_GUIDE = {
    "konnte nicht geöffnet werden": "searched for in a status text; the panel shows “Fehler”",
    "Läuft auf UDP %1 → %2:%3": "a status text; the panel shows “Aktiv” instead",
    "UDP %1 konnte nicht geöffnet werden: %2": "a status text; the panel shows “Fehler” instead",
    "Gestoppt": "a status text; the panel shows “Inaktiv” instead",
    "<b>Tarvoline SRTLA Receiver</b>": "markup; the guide has the name without it",
}
# First cells of the guide's tables that are no text of the program, with the reason.
NOT_IN_THE_PROGRAM = {
    "jeder andere Text": "a message of the vendor's service",
}
# Headings of the tables whose first column quotes texts of the program.
QUOTING_TABLES = ("Status", "Protokoll", "Hinweis unter „IP / Domain“", "Meldungsfenster", "Plugin-Version")

LITERAL = r'"((?:[^"\\]|\\.)*)"'
TRANSLATED = re.compile(r"\btr\(\s*(" + LITERAL + r"(?:\s*" + LITERAL + r")*)")
# The guide has "…" or an example in place of a value.
PLACEHOLDER = re.compile(r"%\d")


def translated_texts():
    """Every literal passed to tr(), with adjacent literals concatenated."""
    texts = {}
    for room in ROOMS:
        for path in sorted((PROJECT / room).glob("*.cpp")):
            for found in TRANSLATED.finditer(path.read_text(encoding="utf-8")):
                text = "".join(re.findall(LITERAL, found[1])).replace("\\n", "\n").replace('\\"', '"')
                texts.setdefault(text, path.name)
    return texts


def flat(text):
    """The text without Markdown and with spaces for line breaks."""
    return re.sub(r"\s+", " ", text.replace("\\|", "|").replace("`", "").replace("**", "")).strip()


def pattern_of(text):
    """A pattern with any short text for each value; the guide omits the colon of a label."""
    pieces = [re.escape(piece) for piece in PLACEHOLDER.split(flat(text).removesuffix(":"))]
    return re.compile(r"[^|]{1,60}?".join(pieces))


def quoting_rows(guide):
    heading = ""
    for line in guide.splitlines():
        if line.startswith("#"):
            heading = line.lstrip("# ")
        cell = re.match(r"\| ((?:[^|\\]|\\.)+?) \|", line)
        if heading in QUOTING_TABLES and cell and cell[1] not in ("Text", "Zeile", "Titel"):
            yield flat(cell[1])


class GuideTest(unittest.TestCase):
    def setUp(self):
        self.guide = GUIDE.read_text(encoding="utf-8")
        self.texts = translated_texts()

    def test_texts_are_found(self):
        # Verifies the search with a text of each room and one of several literals.
        for text in ("Aktiv", "REG3 | Weg %1:%2 verbunden, Gruppe %3", "Ungültige Server-Adresse.",
                     "UDP-Port %1 konnte nicht geöffnet werden. Möglicherweise läuft bereits ein anderer Receiver."):
            self.assertIn(text, self.texts)
        for room in ROOMS:
            calls = sum(len(re.findall(r"\btr\(", path.read_text(encoding="utf-8")))
                        for path in (PROJECT / room).glob("*.cpp"))
            read = sum(len(TRANSLATED.findall(path.read_text(encoding="utf-8")))
                       for path in (PROJECT / room).glob("*.cpp"))
            self.assertEqual(read, calls, f"calls of tr() in {room}/ without a literal")

    def test_guide_has_every_text(self):
        guide = flat(self.guide)
        for text, file in self.texts.items():
            with self.subTest(text=text, file=file):
                if text not in NOT_IN_THE_GUIDE:
                    self.assertRegex(guide, pattern_of(text))

    def test_tables_have_only_texts_of_the_program(self):
        rows = list(quoting_rows(self.guide))
        self.assertGreater(len(rows), 40)
        for row in rows:
            with self.subTest(row=row):
                if row not in NOT_IN_THE_PROGRAM:
                    self.assertTrue(any(pattern_of(text).fullmatch(row) for text in self.texts), "no text of the program")

    def test_exceptions_are_needed(self):
        for text in NOT_IN_THE_GUIDE:
            self.assertIn(text, self.texts)
        for row in NOT_IN_THE_PROGRAM:
            self.assertIn(row, list(quoting_rows(self.guide)))


if __name__ == "__main__":
    unittest.main()
