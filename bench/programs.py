# SPDX-License-Identifier: GPL-2.0-or-later
"""Builds the programs of the benchmark commands and isolates their network traffic."""

import os
import pathlib
import subprocess
import sys

_PROJECT = pathlib.Path(__file__).resolve().parents[1]


def build():
    """Builds the programs unless the environment names a build (as CTest does)."""
    if "TARVOLINE_BUILD" not in os.environ:
        subprocess.run(["cmake", "--preset", "linux", "-DTARVOLINE_BENCH=ON"], cwd=_PROJECT, stdout=subprocess.DEVNULL,
                       check=True)
        subprocess.run(["cmake", "--build", "--preset", "linux", "--target", "bench-programs"], cwd=_PROJECT,
                       stdout=subprocess.DEVNULL, check=True)


def isolate():
    """Restarts the command in a new network namespace if the system permits it, because of fixed ports and floods."""
    if "TARVOLINE_ISOLATED" not in os.environ:
        os.environ["TARVOLINE_ISOLATED"] = "1"
        launcher = _PROJECT / "testkit" / "isolate.sh"
        os.execv(launcher, [str(launcher), sys.executable, "-B", *sys.argv])
