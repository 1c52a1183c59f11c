# SPDX-License-Identifier: GPL-2.0-or-later
"""Compares the virtual tables of Qt's classes as compiled from the headers with those in the Qt DLLs of OBS. A wrong feature
switch in the headers (tools/windows/qt-features) moves slots, so that the module would call other functions.

Usage: test_qtinterface.py SOURCE-FOLDER BUILD-FOLDER SDK
"""

import re
import sys
import tempfile
import unittest
from pathlib import Path

import compiledtables
from dlltables import TABLE_PREFIX, Library

ROOMS = ("plugin", "dock", "online", "engine")
LIBRARIES = ("Core", "Gui", "Network", "Widgets")
SOURCE_WITH_ALL_OF_QT = "/dock/tarvolinedock.cpp"
DESTRUCTOR = re.compile(r"\?\?_[EG]Probe")


def module_sources(folder):
    """The text of all C++ files of the module."""
    return "\n".join(path.read_text() for room in ROOMS for path in sorted((folder / room).iterdir())
                     if path.suffix in (".cpp", ".h"))


def likeliest_name(names, table):
    """The function of the table's class among functions with merged code."""
    owner = table.removeprefix(TABLE_PREFIX).partition("@")[0]
    return next((name for name in names if f"@{owner}@@" in name), names[0])


class QtInterfaceTest(unittest.TestCase):
    source = build = sdk = None

    @classmethod
    def setUpClass(cls):
        cls.libraries = [Library(cls.sdk / "bin" / f"Qt6{name}.dll") for name in LIBRARIES]
        cls.names = set().union(*(library.exports for library in cls.libraries))
        cls.text = module_sources(cls.source)
        cls.command = compiledtables.compiler_command(cls.build, SOURCE_WITH_ALL_OF_QT)

    def library_with(self, table):
        return next((library for library in self.libraries if table in library.exports), None)

    def exported_tables(self, name):
        start = f"{TABLE_PREFIX}{name}@@6B"
        return {table for table in self.names if table.startswith(start)}

    def classes(self):
        """The classes of Qt with virtual functions that are named in the sources of the module."""
        return sorted(name for name in set(re.findall(r"\bQ[A-Z]\w+", self.text)) if self.exported_tables(name))

    def comparable(self, table, compiled):
        """Number, names in OBS's Qt and name in the headers of each slot that has both."""
        library = self.library_with(table)
        for number, (found, expected) in enumerate(zip(library.slots(table), compiled)):
            names = library.names_of(found)
            if names and expected in self.names and not DESTRUCTOR.match(expected):
                yield number, names, expected

    def differences(self, table, compiled):
        count = len(self.library_with(table).slots(table))
        if count != len(compiled):
            yield f"{table}: {count} slots in OBS's Qt, {len(compiled)} by its headers"
        for number, names, expected in self.comparable(table, compiled):
            if expected not in names:
                yield f"{table}: slot {number} is {likeliest_name(names, table)} in OBS's Qt, {expected} by its headers"

    def all_differences(self, tables):
        return [text for table, compiled in sorted(tables.items()) for text in self.differences(table, compiled)]

    def test_tables_equal_those_of_obs(self):
        classes = self.classes()
        base_classes = set(re.findall(r"\bpublic (Q[A-Z]\w+)", self.text))
        self.assertTrue(base_classes)
        self.assertLessEqual(base_classes, set(classes))
        tables = compiledtables.tables(self.command, classes)
        self.assertEqual(set(tables), set().union(*(self.exported_tables(name) for name in classes)))
        self.assertEqual(self.all_differences(tables), [])
        self.report(classes, tables)

    def report(self, classes, tables):
        compared = [names for table, compiled in tables.items() for _, names, _ in self.comparable(table, compiled)]
        alone = sum(len(names) == 1 for names in compared)
        print(f"{len(classes)} classes, {len(tables)} tables, {sum(map(len, tables.values()))} slots; {len(compared)} compared "
              f"by name, {alone} of these without merged code: {' '.join(classes)}")

    def test_wrong_feature_switch_is_detected(self):
        header = "QtGui/qtgui-config.h"
        text = (self.sdk / "include/qt" / header).read_text()
        wrong, count = re.subn(r"(?m)^(#define QT_FEATURE_tabletevent) 1$", r"\1 -1", text)
        self.assertEqual(count, 1)
        with tempfile.TemporaryDirectory() as folder:
            (Path(folder) / header).parent.mkdir()
            (Path(folder) / header).write_text(wrong)
            found = self.all_differences(compiledtables.tables(self.command, ["QWidget"], folder))
        self.assertIn("??_7QWidget@@6BQObject@@@: 45 slots in OBS's Qt, 44 by its headers", found)
        self.assertIn("??_7QWidget@@6BQObject@@@: slot 41 is ?changeEvent@QWidget@@MEAAXPEAVQEvent@@@Z in OBS's Qt, "
                      "?inputMethodEvent@QWidget@@MEAAXPEAVQInputMethodEvent@@@Z by its headers", found)


if __name__ == "__main__":
    QtInterfaceTest.source, QtInterfaceTest.build, QtInterfaceTest.sdk = map(Path, sys.argv[1:4])
    unittest.main(argv=sys.argv[:1] + sys.argv[4:])
