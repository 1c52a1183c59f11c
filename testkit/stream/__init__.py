# SPDX-License-Identifier: GPL-2.0-or-later
"""The programs on a stream's road: SRT caller, bonding sender, engine host, SRT listener."""

from .process import PATIENCE_S, Ended, JsonProcess, TimedOut
from .programs import BondSender, EngineHost, SrtReceiver, SrtSender

__all__ = ["PATIENCE_S", "BondSender", "Ended", "EngineHost", "JsonProcess", "SrtReceiver", "SrtSender", "TimedOut"]
