# SPDX-License-Identifier: GPL-2.0-or-later
"""The exports and imports of the Windows module, read with objdump.

Usage: test_imports.py OBJDUMP MODULE.dll
"""

import re
import subprocess
import sys
import unittest

ENTRY_POINTS = {
    "obs_current_module", "obs_module_description", "obs_module_free_locale", "obs_module_get_string", "obs_module_load",
    "obs_module_set_locale", "obs_module_set_pointer", "obs_module_unload", "obs_module_ver",
}
LIBRARIES = {
    "obs.dll", "obs-frontend-api.dll", "qt6core.dll", "qt6gui.dll", "qt6network.dll", "qt6widgets.dll", "winhttp.dll",
    "ws2_32.dll", "kernel32.dll", "msvcp140.dll", "vcruntime140.dll",
}
UNIVERSAL_CRT = "api-ms-win-crt-"  # prefix of its libraries; part of Windows 10
LIBOBS_FUNCTIONS = {
    "blog", "obs_data_create", "obs_data_release", "obs_data_set_bool", "obs_data_set_string", "obs_get_source_by_name",
    "obs_module_load_locale", "obs_scene_add", "obs_scene_from_source", "obs_source_create", "obs_source_get_settings",
    "obs_source_release", "obs_source_update", "text_lookup_destroy", "text_lookup_getstr",
}
FRONTEND_FUNCTIONS = {"obs_frontend_add_dock_by_id", "obs_frontend_get_current_scene", "obs_frontend_remove_dock"}


class ImportsTest(unittest.TestCase):
    objdump = path = None

    @classmethod
    def setUpClass(cls):
        headers = subprocess.run([cls.objdump, "-p", cls.path], check=True, capture_output=True, text=True).stdout
        export_table = headers.partition("[Ordinal/Name Pointer] Table")[2].partition("\n\n")[0]
        cls.exports = re.findall(r"^\s*\[\s*\d+\].*\s(\S+)$", export_table, re.MULTILINE)
        cls.imports = {}
        for table in headers.split("DLL Name: ")[1:]:
            library, _, rows = table.partition("\n\n")[0].partition("\n")
            cls.imports[library.strip().lower()] = set(re.findall(r"^\s+[0-9a-f]+\s+\S+\s+\S+\s+(\S+)$", rows, re.MULTILINE))

    def test_exports_are_the_entry_points(self):
        self.assertEqual(sorted(self.exports), sorted(ENTRY_POINTS))

    def test_imported_libraries(self):
        libraries = {library for library in self.imports if not library.startswith(UNIVERSAL_CRT)}
        self.assertEqual(libraries, LIBRARIES)

    def test_imported_functions_of_obs(self):
        self.assertEqual(self.imports["obs.dll"], LIBOBS_FUNCTIONS)
        self.assertEqual(self.imports["obs-frontend-api.dll"], FRONTEND_FUNCTIONS)


if __name__ == "__main__":
    ImportsTest.objdump, ImportsTest.path = sys.argv[1:3]
    unittest.main(argv=sys.argv[:1] + sys.argv[3:])
