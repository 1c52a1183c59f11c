# SPDX-License-Identifier: GPL-2.0-or-later
"""The programs of a stream: SRT caller, bonding sender, engine host, SRT listener."""

from .process import Ended, JsonProcess, TimedOut
from .programs import BondSender, EngineHost, SrtReceiver, SrtSender

__all__ = ["BondSender", "Ended", "EngineHost", "JsonProcess", "SrtReceiver", "SrtSender", "TimedOut"]
