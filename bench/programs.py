# SPDX-License-Identifier: GPL-2.0-or-later
"""Builds the programs that the commands of this folder run, and keeps their traffic apart from the machine's."""

import os
import pathlib
import subprocess
import sys

_PROJECT = pathlib.Path(__file__).resolve().parents[1]


def build():
    """Brings them up to date, unless the environment names a build that has them (as CTest does)."""
    if "TARVOLINE_BUILD" not in os.environ:
        subprocess.run(["cmake", "--preset", "linux", "-DTARVOLINE_BENCH=ON"], cwd=_PROJECT, stdout=subprocess.DEVNULL,
                       check=True)
        subprocess.run(["cmake", "--build", "--preset", "linux", "--target", "bench-programs"], cwd=_PROJECT,
                       stdout=subprocess.DEVNULL, check=True)


def isolate():
    """Starts the running command over in a network namespace of its own, where the system grants one: fixed ports must not
    meet those of another program, and a flood must not leave it."""
    if "TARVOLINE_ISOLATED" not in os.environ:
        os.environ["TARVOLINE_ISOLATED"] = "1"
        launcher = _PROJECT / "testkit" / "isolate.sh"
        os.execv(launcher, [str(launcher), sys.executable, "-B", *sys.argv])
