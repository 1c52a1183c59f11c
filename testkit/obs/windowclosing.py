# SPDX-License-Identifier: GPL-2.0-or-later
"""Closing a window without a window manager: sends the message of a window's close button (ICCCM 4.2.8.1,
WM_DELETE_WINDOW)."""

import ctypes
import ctypes.util

_CLIENT_MESSAGE = 33
_FORMAT_32 = 32


class _ClientMessage(ctypes.Structure):
    """Xlib's XClientMessageEvent with five longs, padded to the size of an XEvent."""

    _fields_ = [("type", ctypes.c_int), ("serial", ctypes.c_ulong), ("send_event", ctypes.c_int),
                ("display", ctypes.c_void_p), ("window", ctypes.c_ulong), ("message_type", ctypes.c_ulong),
                ("format", ctypes.c_int), ("data", ctypes.c_long * 5), ("filler", ctypes.c_long * 12)]


def close_window(display_name: str, window: int):
    """Sends WM_DELETE_WINDOW to a window."""
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
