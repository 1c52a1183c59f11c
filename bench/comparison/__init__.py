# SPDX-License-Identifier: GPL-2.0-or-later
"""The receiver beside what a user might put in its place: what each costs, and how much later a payload arrives."""
