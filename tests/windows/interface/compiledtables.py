# SPDX-License-Identifier: GPL-2.0-or-later
"""The virtual tables that the compiler of the module lays out for Qt's classes."""

import json
import re
import shlex
import subprocess
import tempfile
from pathlib import Path

# A class derived from Qt's has a table of its own in the order of the base's; only the slot of the destructor differs. A
# destructor that is not inline and hands the object out makes the compiler write the table.
PROBE = """#include <{name}>
struct Probe{name} : {name} {{ ~Probe{name}() override; }};
Probe{name}::~Probe{name}() {{ handOut(this); }}
"""
# In LLVM's intermediate language: the record of the type (??_R4), then the slots.
TABLE = re.compile(r'constant \{ \[\d+ x ptr\] \} \{ \[\d+ x ptr\] \[ptr @"\?\?_R4Probe([^"]+)", (.*?)\] \}')
SLOT = re.compile(r'ptr @"?([^",\]]+)')


def compilerCommand(buildFolder, source):
    """The build's own command for a source file, without the file, the output and the compiler's cache."""
    for entry in json.loads((Path(buildFolder) / "compile_commands.json").read_text()):
        if entry["file"].endswith(source):
            words = shlex.split(entry["command"])
            while "clang" not in Path(words[0]).name:
                words = words[1:]
            output = words.index("-o")
            return [word for word in words[:output] + words[output + 2:] if word not in ("-c", entry["file"])]
    raise LookupError(f"{buildFolder} compiles no {source}")


def tables(command, classes, firstHeaders=None):
    """The slots of the virtual tables of Qt's classes, by the name that the table has in Qt's DLL. Headers in the folder
    `firstHeaders` take the place of Qt's own."""
    with tempfile.TemporaryDirectory() as scratch:
        source = Path(scratch) / "probe.cpp"
        source.write_text("void handOut(void *);\n" + "".join(PROBE.format(name=name) for name in classes))
        first = ["-I", firstHeaders] if firstHeaders else []
        # Some of Qt's classes can only be made and deleted by Qt itself.
        options = ("-w", "-O0", "-g0", "-fno-access-control", "-S", "-emit-llvm", "-o", "-")
        result = subprocess.run([command[0], *first, *command[1:], *options, source], check=True, stdout=subprocess.PIPE,
                                text=True)
    return {"??_7" + name: SLOT.findall(slots) for name, slots in TABLE.findall(result.stdout)}
