# SPDX-License-Identifier: GPL-2.0-or-later
"""What happens to a receiver on the open Internet: faults, floods, and long hours."""
