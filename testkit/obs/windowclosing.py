# SPDX-License-Identifier: GPL-2.0-or-later
"""The cross of a window's frame. A display without a window manager has no frames; this sends what a click on the cross
makes the window manager send (ICCCM 4.2.8.1, WM_DELETE_WINDOW)."""

import ctypes
import ctypes.util

_CLIENT_MESSAGE = 33
_FORMAT_32 = 32


class _ClientMessage(ctypes.Structure):
    """Xlib's XClientMessageEvent with five longs, filled up to the size of an XEvent."""

    _fields_ = [("type", ctypes.c_int), ("serial", ctypes.c_ulong), ("send_event", ctypes.c_int),
                ("display", ctypes.c_void_p), ("window", ctypes.c_ulong), ("message_type", ctypes.c_ulong),
                ("format", ctypes.c_int), ("data", ctypes.c_long * 5), ("filler", ctypes.c_long * 12)]


def close_window(display_name: str, window: int):
    """Asks the program behind a window to close it."""
    xlib = ctypes.CDLL(ctypes.util.find_library("X11") or "libX11.so.6")
    xlib.XOpenDisplay.restype = ctypes.c_void_p
    xlib.XInternAtom.restype = ctypes.c_ulong
    display = ctypes.c_void_p(xlib.XOpenDisplay(display_name.encode()))
    if not display:
        raise OSError(f"no display {display_name}")
    protocols, delete = (xlib.XInternAtom(display, name, 0) for name in (b"WM_PROTOCOLS", b"WM_DELETE_WINDOW"))
    message = _ClientMessage(type=_CLIENT_MESSAGE, window=window, message_type=protocols, format=_FORMAT_32)
    message.data[0] = delete
    xlib.XSendEvent(display, ctypes.c_ulong(window), 0, ctypes.c_long(0), ctypes.byref(message))
    xlib.XCloseDisplay(display)
