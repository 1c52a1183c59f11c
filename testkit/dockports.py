# SPDX-License-Identifier: GPL-2.0-or-later
"""The dock's default UDP ports."""

LISTEN_PORT = 5000
TARGET_PORT = 5002
