# SPDX-License-Identifier: GPL-2.0-or-later
"""The time limits, in seconds, of everything that the Python tests wait for. A loaded two-core machine needs ten times as
long as an idle one."""

# Output or end of a program.
PROGRAM_TIMEOUT_S = 120.0

# A state of OBS, which renders in software.
OBS_TIMEOUT_S = 60.0

# A picture in OBS: a connection that breaks costs the 5 s time-out of SRT and up to 10 s until OBS listens again, and several
# attempts may fail.
PICTURE_TIMEOUT_S = 180.0
