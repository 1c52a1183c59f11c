# SPDX-License-Identifier: GPL-2.0-or-later
"""The real OBS under test."""

from .desktop import Desktop
from .home import MODULE, ObsHome, write_ini
from .panel import Panel
from .picture import BARS, Picture
from .remote import Remote, RequestFailed
from .sender import BondSender, Encoder, MobileSender
from .screen import Element, MessageBox, Screen
from .session import ObsSession
from .wait import TimedOut, wait_until
