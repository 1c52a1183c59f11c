# SPDX-License-Identifier: GPL-2.0-or-later
"""The virtual tables that DLLs built with Microsoft's compiler export."""

import struct

import pefile

SLOT_BYTES = 8
JUMP_THROUGH_POINTER = b"\xff\x25"  # jmp [rip + 32-bit displacement]: a call of an imported function
JUMP_BYTES = 6
MAX_EXPORTS = 0x10000
TABLE_PREFIX = "??_7"


class Library:
    """The exported names of a DLL and the slots of its virtual tables."""

    def __init__(self, path):
        self._image = pefile.PE(path, fast_load=True, max_symbol_exports=MAX_EXPORTS)
        self._image.parse_data_directories([pefile.DIRECTORY_ENTRY[name] for name in (
            "IMAGE_DIRECTORY_ENTRY_EXPORT", "IMAGE_DIRECTORY_ENTRY_IMPORT")])
        self._base = self._image.OPTIONAL_HEADER.ImageBase
        self._memory = self._image.get_memory_mapped_image()
        self._code = [(section.VirtualAddress, section.VirtualAddress + section.Misc_VirtualSize)
                      for section in self._image.sections if section.IMAGE_SCN_MEM_EXECUTE]
        self.exports = {symbol.name.decode(): symbol.address
                        for symbol in self._image.DIRECTORY_ENTRY_EXPORT.symbols if symbol.name}
        self._names_at = {}
        for name, address in self.exports.items():
            self._names_at.setdefault(address, []).append(name)
        self._imports = {symbol.address - self._base: symbol.name.decode()
                         for library in self._image.DIRECTORY_ENTRY_IMPORT for symbol in library.imports if symbol.name}
        self._tables = {address for name, address in self.exports.items() if name.startswith(TABLE_PREFIX)}

    def slots(self, table):
        """The slots of an exported table: the address of a function in this DLL, or the name of an imported function. The
        table ends at the first value that is not a pointer to code, or at the next table."""
        start = address = self.exports[table]
        slots = []
        while address == start or address not in self._tables:
            function = struct.unpack_from("<Q", self._memory, address)[0] - self._base
            if not any(begin <= function < end for begin, end in self._code):
                break
            slots.append(self._imported(function) or function)
            address += SLOT_BYTES
        return slots

    def names_of(self, slot):
        """The names of a slot's function: several if the linker has merged functions with equal code, none if the function
        is not exported."""
        return [slot] if isinstance(slot, str) else self._names_at.get(slot, [])

    def _imported(self, function):
        code = self._memory[function:function + JUMP_BYTES]
        if code[:2] != JUMP_THROUGH_POINTER:
            return None
        return self._imports.get(function + JUMP_BYTES + struct.unpack_from("<i", code, 2)[0])
