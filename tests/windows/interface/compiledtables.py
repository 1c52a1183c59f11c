# SPDX-License-Identifier: GPL-2.0-or-later
"""The virtual tables of Qt's classes as compiled from the headers of the Windows build."""

import json
import re
import shlex
import subprocess
import tempfile
from pathlib import Path

# A class derived from a class of Qt has a table with the same order of slots; only the slot of the destructor differs. The
# compiler emits the table because the destructor is not inline and the object is used outside of this file.
PROBE = """#include <{name}>
struct Probe{name} : {name} {{ ~Probe{name}() override; }};
Probe{name}::~Probe{name}() {{ use(this); }}
"""
# In LLVM's intermediate language: the type record (??_R4), then the slots.
TABLE = re.compile(r'constant \{ \[\d+ x ptr\] \} \{ \[\d+ x ptr\] \[ptr @"\?\?_R4Probe([^"]+)", (.*?)\] \}')
SLOT = re.compile(r'ptr @"?([^",\]]+)')


def compiler_command(build_folder, source):
    """The compiler command of the build for a source file, without the file, the output and ccache."""
    for entry in json.loads((Path(build_folder) / "compile_commands.json").read_text()):
        if entry["file"].endswith(source):
            words = shlex.split(entry["command"])
            while "clang" not in Path(words[0]).name:
                words = words[1:]
            output = words.index("-o")
            return [word for word in words[:output] + words[output + 2:] if word not in ("-c", entry["file"])]
    raise LookupError(f"{source} is not in compile_commands.json of {build_folder}")


def tables(command, classes, first_headers=None):
    """The slots of the virtual tables of Qt's classes, by the name of the table in Qt's DLL. Headers in the folder
    `first_headers` replace those of Qt."""
    with tempfile.TemporaryDirectory() as scratch:
        source = Path(scratch) / "probe.cpp"
        source.write_text("void use(void *);\n" + "".join(PROBE.format(name=name) for name in classes))
        first = ["-I", first_headers] if first_headers else []
        # Some of Qt's classes have private constructors and destructors.
        options = ("-w", "-O0", "-g0", "-fno-access-control", "-S", "-emit-llvm", "-o", "-")
        result = subprocess.run([command[0], *first, *command[1:], *options, source], check=True, stdout=subprocess.PIPE,
                                text=True)
    return {"??_7" + name: SLOT.findall(slots) for name, slots in TABLE.findall(result.stdout)}
