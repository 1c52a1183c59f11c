#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-2.0-or-later
"""Shows what ./dev promises, on a machine whose build root exists: python3 tests/frame/test_dev.py

It runs on the machine itself, as root, because it looks at what is left there; so it is no part of ./test, but of
.ci/run.
"""

import os
import signal
import subprocess
import time
import unittest
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]
DEV = str(PROJECT / "dev")
WITHOUT_MOUNTS = ["setpriv", "--bounding-set", "-sys_admin", "--inh-caps", "-sys_admin"]
PATIENCE_S = 60
MARK = f"86{os.getpid()}"  # seconds that a left-over "sleep" would be recognised by

REPORTER = f"""trap 'exit 41' INT
trap 'exit 42' TERM
sleep {MARK} &
echo ready
wait
"""

# Where the heap ends, as the thread sees it that has just moved the end, and as the first thread sees it.
HEAP_ENDS = """
import ctypes, threading
BRK = 12
libc = ctypes.CDLL(None)
libc.syscall.restype = ctypes.c_void_p
def grow():
    libc.sbrk(1 << 20)
    print(libc.syscall(BRK, 0))
thread = threading.Thread(target=grow)
thread.start()
thread.join()
print(libc.syscall(BRK, 0))
"""


def running(mark):
    return subprocess.run(["pgrep", "-f", f"^sleep {mark}$"], stdout=subprocess.DEVNULL, check=False).returncode == 0


def waitUntilRunning(mark, expected):
    end = time.monotonic() + PATIENCE_S
    while running(mark) != expected and time.monotonic() < end:
        time.sleep(0.1)
    return running(mark) == expected


def waitUntilGone(mark):
    return waitUntilRunning(mark, False)


# A caller that runs this in the background may ignore interrupts, and what it starts would do so, too. Python's own
# handler does not outlive the start of another program.
signal.signal(signal.SIGINT, signal.default_int_handler)


class Dev:
    """What holds on every kind of machine; "prefix" makes the machine poorer."""

    prefix = []

    def dev(self, *command, **options):
        return subprocess.run([*self.prefix, DEV, *command], stdin=subprocess.DEVNULL, capture_output=True, text=True,
                              timeout=PATIENCE_S, check=False, **options)

    def testPassesOutputAndExitCode(self):
        done = self.dev("sh", "-c", "echo out; echo error >&2; exit 3")
        self.assertEqual((done.returncode, done.stdout, done.stderr), (3, "out\n", "error\n"))

    def testKeepsArgumentsApart(self):
        self.assertEqual(self.dev("printf", "<%s>", "a b", "", "$x", "*").stdout, "<a b><><$x><*>")

    def testRunsInTheBuildRootAndTheProject(self):
        done = self.dev("sh", "-c", "pkg-config --atleast-version=31.1 libobs && pwd && id -u")
        self.assertEqual(done.stdout.split(), [str(PROJECT), "0"])

    def testStandardInputArrives(self):
        done = subprocess.run([*self.prefix, DEV, "cat"], input="hello", capture_output=True, text=True,
                              timeout=PATIENCE_S, check=False)
        self.assertEqual(done.stdout, "hello")

    def testFilesOfTheProjectAreTheMachinesOwn(self):
        (PROJECT / "build").mkdir(exist_ok=True)
        name = f"build/frame-{os.getpid()}"
        self.assertEqual(self.dev("sh", "-c", f"echo x >{name} && stat -c %s {name}").stdout, "2\n")
        self.assertEqual((PROJECT / name).read_text(), "x\n")
        (PROJECT / name).unlink()

    def testThreadsShareOneHeap(self):
        ends = self.dev("python3", "-c", HEAP_ENDS).stdout.split()
        self.assertEqual(len(ends), 2)
        self.assertEqual(*ends)

    def testLeavesNoMounts(self):
        before = Path("/proc/mounts").read_text()
        self.dev("true")
        self.assertEqual(Path("/proc/mounts").read_text(), before)

    def interrupt(self, number):
        with subprocess.Popen([*self.prefix, DEV, "bash", "-c", REPORTER], stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, text=True) as started:
            try:
                self.assertEqual(started.stdout.readline(), "ready\n")
                # The shell may be ready before what it started in the background has become "sleep".
                self.assertTrue(waitUntilRunning(MARK, True))
                started.send_signal(number)
                return started.wait(PATIENCE_S)
            finally:
                started.kill()

    def testInterruptReachesTheCommandAndLeavesNoProcesses(self):
        self.assertEqual(self.interrupt(signal.SIGINT), 41)
        self.assertTrue(waitUntilGone(MARK))

    def testTerminateReachesTheCommandAndLeavesNoProcesses(self):
        self.assertEqual(self.interrupt(signal.SIGTERM), 42)
        self.assertTrue(waitUntilGone(MARK))

    def testKillLeavesNoProcesses(self):
        self.assertEqual(self.interrupt(signal.SIGKILL), -signal.SIGKILL)
        self.assertTrue(waitUntilGone(MARK))


@unittest.skipUnless(subprocess.run(["unshare", "--mount", "true"], stderr=subprocess.DEVNULL, check=False).returncode == 0,
                     "this machine may not mount")
class RootThatMayMount(Dev, unittest.TestCase):
    def testSeesOnlyProcessesOfItsOwn(self):
        self.assertLess(int(self.dev("sh", "-c", "ls -d /proc/[0-9]* | wc -l").stdout), 10)


class ContainerThatMayNotMount(Dev, unittest.TestCase):
    prefix = WITHOUT_MOUNTS

    def testCompilesAndRunsAProgram(self):
        done = self.dev("sh", "-c", "echo 'int main() { return 7; }' | c++ -x c++ - -o /tmp/seven && /tmp/seven")
        self.assertEqual(done.returncode, 7, done.stderr)


if __name__ == "__main__":
    unittest.main(verbosity=2)
