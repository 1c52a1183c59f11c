# SPDX-License-Identifier: GPL-2.0-or-later
"""A scene collection that contains the plug-in's media source, as after the user's first "Quelle reparieren"."""

SCENE = "Scene"
SOURCE = "Tarvoline SRTLA"

_SOURCE_ID = "2f0c5bd5-6f3c-4f0e-8f4c-6a1f6c2f7a01"
_SCALE_TO_INNER_BOUNDS = 2
_FORMAT = 2


def collection_with_source(name: str, target_port: int, canvas: tuple) -> dict:
    """The collection as OBS reads it from its file: one scene, filled by the source."""
    width, height = canvas
    source = {
        "name": SOURCE, "uuid": _SOURCE_ID, "id": "ffmpeg_source", "versioned_id": "ffmpeg_source",
        "mixers": 0xff, "volume": 1.0, "enabled": True,
        "settings": {
            "input": f"srt://127.0.0.1:{target_port}?mode=listener&latency=2000&lossmaxttl=40",
            "is_local_file": False, "restart_on_activate": True, "close_when_inactive": False},
    }
    item = {
        "name": SOURCE, "source_uuid": _SOURCE_ID, "id": 1, "visible": True, "align": 5,
        "pos": {"x": 0.0, "y": 0.0}, "scale": {"x": 1.0, "y": 1.0},
        "bounds_type": _SCALE_TO_INNER_BOUNDS, "bounds": {"x": width, "y": height},
    }
    scene = {
        "name": SCENE, "id": "scene", "versioned_id": "scene", "enabled": True,
        "settings": {"id_counter": 1, "custom_size": False, "items": [item]},
    }
    return {"name": name, "sources": [source, scene], "scene_order": [{"name": SCENE}], "current_scene": SCENE,
            "current_program_scene": SCENE, "version": _FORMAT}
