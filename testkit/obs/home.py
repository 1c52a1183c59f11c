# SPDX-License-Identifier: GPL-2.0-or-later
"""A separate OBS configuration for one session: the user's is neither read nor written."""

import json
import pathlib
import shutil

from .scenes import collection_with_source

MODULE = "tarvoline-srtla"

_PROFILE = "Test"
_COLLECTION = "Test"

# Version of OBS that has written the settings: 32.2. With version 0 OBS would convert old settings and ask about updates.
_LAST_VERSION = 0x20020000

# Small, because OBS renders in software.
CANVAS = (640, 360)


class ObsHome:
    """A home folder with an OBS configuration that skips the first-run wizard."""

    def __init__(self, folder: pathlib.Path, *, canvas=CANVAS, dock_state: str | None = None,
                 source_on_port: int | None = None, font_points: int | None = None):
        """`dock_state` is the layout of the window; with `source_on_port` the first scene has the plug-in's source, listening
        on that port; `font_points` is the font size in OBS's settings under "Appearance"."""
        self.folder = folder
        self.config = folder / ".config" / "obs-studio"
        self.recordings = folder / "recordings"
        self.canvas = canvas
        self.dock_state = dock_state
        self.source_on_port = source_on_port
        self.font_points = font_points

    def create(self, websocket_port: int):
        """Writes the configuration files. An existing home is kept; only the port of obs-websocket changes in it."""
        profile = self.config / "basic" / "profiles" / _PROFILE
        self.recordings.mkdir(parents=True, exist_ok=True)
        if not profile.exists():
            profile.mkdir(parents=True)
            (self.config / "basic" / "scenes").mkdir(parents=True)
            write_ini(self.config / "global.ini", {"General": {"FirstRun": "true", "LastVersion": _LAST_VERSION}})
            write_ini(self.config / "user.ini", self._user_settings())
            write_ini(profile / "basic.ini", self._profile_settings())
            if self.source_on_port is not None:
                collection = collection_with_source(_COLLECTION, self.source_on_port, self.canvas)
                (self.config / "basic" / "scenes" / f"{_COLLECTION}.json").write_text(json.dumps(collection))
        websocket = self.config / "plugin_config" / "obs-websocket"
        websocket.mkdir(parents=True, exist_ok=True)
        (websocket / "config.json").write_text(json.dumps({
            "server_enabled": True, "server_port": websocket_port, "auth_required": False, "first_load": False,
            "alerts_enabled": False}))

    def install_module(self, library: pathlib.Path, locale: pathlib.Path | None = None):
        """Copies a module into the folder of per-user plug-ins."""
        plugin = self.config / "plugins" / library.stem
        binaries = plugin / "bin" / "64bit"
        binaries.mkdir(parents=True, exist_ok=True)
        shutil.copy2(library, binaries / library.name)
        if locale:
            shutil.copytree(locale, plugin / "data" / "locale", dirs_exist_ok=True)

    def latest_log(self) -> pathlib.Path | None:
        """The log file of the newest session."""
        logs = sorted((self.config / "logs").glob("*.txt"), key=lambda path: path.stat().st_mtime_ns)
        return logs[-1] if logs else None

    def unfinished_runs(self) -> list:
        """The files by which OBS detects at its start that a previous run crashed; a normal exit removes its file. An OBS
        built without crash detection creates none."""
        return sorted(path.name for path in (self.config / ".sentinel").glob("*"))

    def _user_settings(self) -> dict:
        settings = {
            "General": {"FirstRun": "true", "LastVersion": _LAST_VERSION, "Language": "en-US", "ConfirmOnExit": "false"},
            "Basic": {"Profile": _PROFILE, "ProfileDir": _PROFILE,
                      "SceneCollection": _COLLECTION, "SceneCollectionFile": _COLLECTION},
            # With a tray icon OBS would hide instead of exiting.
            "BasicWindow": {"SysTrayEnabled": "false"},
        }
        if self.font_points:
            settings["Appearance"] = {"FontScale": self.font_points}
        if self.dock_state:
            settings["BasicWindow"]["DockState"] = self.dock_state
        return settings

    def _profile_settings(self) -> dict:
        width, height = self.canvas
        return {
            "General": {"Name": _PROFILE},
            "Output": {"Mode": "Simple"},
            "SimpleOutput": {"FilePath": self.recordings, "RecFormat2": "mkv", "RecQuality": "Stream",
                             "StreamEncoder": "x264", "RecEncoder": "x264", "VBitrate": 1000, "Preset": "ultrafast"},
            "Video": {"BaseCX": width, "BaseCY": height, "OutputCX": width, "OutputCY": height,
                      "FPSType": 0, "FPSCommon": 30},
        }


def write_ini(path: pathlib.Path, sections: dict):
    """Writes `{section: {key: value}}` in the INI format of OBS and QSettings."""
    lines = []
    for section, values in sections.items():
        lines += [f"[{section}]", *(f"{key}={value}" for key, value in values.items()), ""]
    path.parent.mkdir(parents=True, exist_ok=True)
    path.write_text("\n".join(lines))
