# SPDX-License-Identifier: GPL-2.0-or-later
"""A live stream while links, listener, receiver and sender break: one row of figures per fault."""

from .faults import FAULTS, Fault, chosen, rows, verdict
from .streampath import FULL, LINKS, QUICK, Pace

__all__ = ["FAULTS", "FULL", "LINKS", "QUICK", "Fault", "Pace", "chosen", "rows", "verdict"]
