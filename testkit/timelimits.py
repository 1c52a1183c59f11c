# SPDX-License-Identifier: GPL-2.0-or-later
"""The time limits of the Python tests in seconds. A loaded machine with two cores needs ten times as long as an idle one."""

# Output or end of a program.
PROGRAM_TIMEOUT_S = 120.0

# A state of OBS, which renders in software.
OBS_TIMEOUT_S = 60.0

# A picture in OBS: after a broken connection SRT's time-out takes 5 s and OBS listens again after up to 10 s; several attempts
# may fail.
PICTURE_TIMEOUT_S = 180.0
