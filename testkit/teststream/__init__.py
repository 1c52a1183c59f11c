# SPDX-License-Identifier: GPL-2.0-or-later
"""A bonded test stream with a picture that a program can recognise."""

from .picture import BARS, Picture
from .sender import BondSender, Encoder, MobileSender, path_with_silent_encoder

__all__ = ["BARS", "BondSender", "Encoder", "MobileSender", "Picture", "path_with_silent_encoder"]
