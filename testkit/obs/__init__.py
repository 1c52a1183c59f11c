# SPDX-License-Identifier: GPL-2.0-or-later
"""The real OBS under test."""

from teststream import BARS, BondSender, Encoder, MobileSender, Picture
from wait import TimedOut, wait_until

from .desktop import Desktop
from .home import MODULE, ObsHome, write_ini
from .panel import Panel
from .remote import Remote, RequestFailed
from .screen import Element, MessageBox, Screen
from .session import ObsSession
