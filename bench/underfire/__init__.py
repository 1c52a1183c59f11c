# SPDX-License-Identifier: GPL-2.0-or-later
"""What happens to a receiver on the open Internet: faults, floods, and long hours."""

import os
import pathlib
import subprocess


def build_programs():
    """Brings what is measured up to date; a test, which names its build, has it."""
    if "TARVOLINE_BUILD" not in os.environ:
        project = pathlib.Path(__file__).resolve().parents[2]
        subprocess.run(["cmake", "--preset", "linux"], cwd=project, stdout=subprocess.DEVNULL, check=True)
        subprocess.run(["cmake", "--build", "--preset", "linux", "--target", "flood-programs"], cwd=project,
                       stdout=subprocess.DEVNULL, check=True)
