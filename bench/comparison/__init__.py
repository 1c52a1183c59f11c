# SPDX-License-Identifier: GPL-2.0-or-later
"""Comparison of the receiver with other relays: CPU time and delay."""
