# SPDX-License-Identifier: GPL-2.0-or-later
"""The plug-in's manifest.json in OBS's plug-in manager."""

import json
import shutil

import case
import obs

_TITLE = "Plugin Manager"
_NAME = "Tarvoline SRTLA"
_WITHOUT_MANIFEST = "tarvoline-srtla"  # OBS falls back to the file name


class PluginManagerTest(case.ObsCase):
    def _home(self):
        home = self.home(dock_open=False, with_module=False)
        self.plugin = home.config / "plugins" / obs.MODULE
        shutil.copytree(case.BUILD / "plugins" / obs.MODULE, self.plugin)
        return home

    def _shown(self, session):
        """The names in the plug-in manager's list; saves a screenshot of it."""
        session.screen.press_and_leave(session.screen.menu_entry("Tools", _TITLE))
        window = obs.wait_until(
            lambda: next((w for w in session.screen.windows() if w.name == _TITLE and w.find_all("check box")), None),
            "the plug-in manager opens")
        session.screen.screenshot(self.folder / "plugin-manager.png", window)
        return [box.name for box in window.find_all("check box")]

    def _stored(self, home):
        modules = json.loads((home.config / "plugin_manager" / "modules.json").read_text())
        return [(module["display_name"], module["id"], module["version"]) for module in modules]

    def test_name_of_the_manifest(self):
        home = self._home()
        self.assertEqual(self._shown(self.session(home)), [_NAME])
        self.assertEqual(self._stored(home), [(_NAME, obs.MODULE, "0.9.2")])

    def test_without_the_manifest(self):
        home = self._home()
        (self.plugin / "data" / "manifest.json").unlink()
        self.assertEqual(self._shown(self.session(home)), [_WITHOUT_MANIFEST])
        self.assertEqual(self._stored(home), [("", "", "")])


if __name__ == "__main__":
    case.main()
