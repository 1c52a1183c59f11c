# SPDX-License-Identifier: GPL-2.0-or-later
"""A layout of OBS's window with the plug-in's dock open at the right.

OBS stores it as the bytes of QMainWindow::saveState; the order of the fields is that of Qt's qmainwindowlayout.cpp and
qdockarealayout.cpp, the same in all of Qt 6.
"""

import base64
import struct

DOCK_ID = "tarvoline-srtla-dock"

_STATE, _DOCK_AREAS, _SEQUENCE, _WIDGET, _TOOL_BARS = 0xff, 0xfd, 0xfc, 0xfb, 0xfc
_LEFT, _RIGHT, _BOTTOM = 0, 1, 3
_HORIZONTAL, _VERTICAL = 1, 2
_VISIBLE = 1
_UNBOUNDED = 0x00ffffff
_SMALLEST = 100

# The dock area of each corner of the window, from the top left: the bottom docks are between the side docks.
_CORNERS = (1, 2, 1, 2)


def dock_at_the_right(window=(1280, 900), dock_width=410) -> str:
    """The value of "DockState" for a window of that size in pixels."""
    width, height = window
    side, low = 220, 200
    areas = [
        (_LEFT, _VERTICAL, (side, height), ["scenesDock", "sourcesDock"]),
        (_RIGHT, _VERTICAL, (dock_width, height), [DOCK_ID]),
        (_BOTTOM, _HORIZONTAL, (width - side - dock_width, low), ["mixerDock", "transitionsDock", "controlsDock"]),
    ]
    state = struct.pack(">ii", _STATE, 0) + struct.pack(">Bi", _DOCK_AREAS, len(areas))
    for area, direction, size, names in areas:
        state += struct.pack(">iii", area, *size) + struct.pack(">BBi", _SEQUENCE, direction, len(names))
        share = size[0 if direction == _HORIZONTAL else 1] // len(names)
        for place, name in enumerate(names):
            state += struct.pack(">B", _WIDGET) + _string(name) + struct.pack(
                ">Biiii", _VISIBLE, place * share, share, _SMALLEST, _UNBOUNDED)
    centre = (width - side - dock_width, height - low)
    state += struct.pack(">ii", *centre) + struct.pack(">iiii", *_CORNERS) + struct.pack(">Bi", _TOOL_BARS, 0)
    return base64.b64encode(state).decode()


def _string(text: str) -> bytes:
    """A QString as QDataStream writes it: the length in bytes, then UTF-16 from the high byte."""
    data = text.encode("utf-16-be")
    return struct.pack(">i", len(data)) + data
