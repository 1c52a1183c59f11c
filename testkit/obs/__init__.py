# SPDX-License-Identifier: GPL-2.0-or-later
"""The real OBS as a test's subject."""

from .desk import Desk
from .home import MODULE, ObsHome, write_ini
from .panel import Panel
from .picture import BARS, Picture
from .remote import Remote, RequestFailed
from .road import BondSender, Encoder, Road
from .screen import Element, MessageBox, Screen
from .session import ObsSession
from .wait import PATIENCE_S, TimedOut, wait_until
