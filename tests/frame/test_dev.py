# SPDX-License-Identifier: GPL-2.0-or-later
"""Tests of ./dev on a machine with an existing build root: python3 tests/frame/test_dev.py

It checks for left-over processes and mounts, so it runs outside of the build root, as root, and is part of .ci/run instead of
./test.
"""

import fcntl
import os
import signal
import subprocess
import termios
import time
import unittest
from pathlib import Path

PROJECT = Path(__file__).resolve().parents[2]
DEV = str(PROJECT / "dev")
WITHOUT_MOUNTS = ["setpriv", "--bounding-set", "-sys_admin", "--inh-caps", "-sys_admin"]
TIMEOUT_S = 60
MARK = f"86{os.getpid()}"  # seconds of "sleep", a unique number by which left-over processes are found

REPORTER = f"""trap 'exit 41' INT
trap 'exit 42' TERM
sleep {MARK} &
echo ready
wait
"""

# Prints the end of the heap in the thread that has moved it and in the first thread.
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


def wait_until_running(mark, expected):
    end = time.monotonic() + TIMEOUT_S
    while running(mark) != expected and time.monotonic() < end:
        time.sleep(0.1)
    return running(mark) == expected


def wait_until_gone(mark):
    return wait_until_running(mark, False)


# A background process may ignore SIGINT, which child processes inherit. A handler is reset by execve(2).
signal.signal(signal.SIGINT, signal.default_int_handler)


class Dev:
    """Tests for every kind of machine; "prefix" is a command that removes privileges."""

    prefix = []

    def dev(self, *command, **options):
        return subprocess.run([*self.prefix, DEV, *command], stdin=subprocess.DEVNULL, capture_output=True, text=True,
                              timeout=TIMEOUT_S, check=False, **options)

    def test_passes_output_and_exit_code(self):
        done = self.dev("sh", "-c", "echo out; echo error >&2; exit 3")
        self.assertEqual((done.returncode, done.stdout, done.stderr), (3, "out\n", "error\n"))

    def test_keeps_arguments_apart(self):
        self.assertEqual(self.dev("printf", "<%s>", "a b", "", "$x", "*").stdout, "<a b><><$x><*>")

    def test_runs_in_the_build_root_and_the_project(self):
        done = self.dev("sh", "-c", "pkg-config --atleast-version=31.1 libobs && pwd && id -u")
        self.assertEqual(done.stdout.split(), [str(PROJECT), "0"])

    def test_standard_input_arrives(self):
        done = subprocess.run([*self.prefix, DEV, "cat"], input="hello", capture_output=True, text=True,
                              timeout=TIMEOUT_S, check=False)
        self.assertEqual(done.stdout, "hello")

    def test_project_files_are_those_of_the_machine(self):
        (PROJECT / "build").mkdir(exist_ok=True)
        name = f"build/frame-{os.getpid()}"
        self.assertEqual(self.dev("sh", "-c", f"echo x >{name} && stat -c %s {name}").stdout, "2\n")
        self.assertEqual((PROJECT / name).read_text(), "x\n")
        (PROJECT / name).unlink()

    def test_threads_share_one_heap(self):
        ends = self.dev("python3", "-c", HEAP_ENDS).stdout.split()
        self.assertEqual(len(ends), 2)
        self.assertEqual(*ends)

    def test_leaves_no_mounts(self):
        before = Path("/proc/mounts").read_text()
        self.dev("true")
        self.assertEqual(Path("/proc/mounts").read_text(), before)

    def interrupt(self, number):
        with subprocess.Popen([*self.prefix, DEV, "bash", "-c", REPORTER], stdin=subprocess.DEVNULL,
                              stdout=subprocess.PIPE, text=True) as started:
            try:
                self.assertEqual(started.stdout.readline(), "ready\n")
                # The background process may not have executed "sleep" yet.
                self.assertTrue(wait_until_running(MARK, True))
                started.send_signal(number)
                return started.wait(TIMEOUT_S)
            finally:
                started.kill()

    def test_interrupt_reaches_the_command_and_leaves_no_processes(self):
        self.assertEqual(self.interrupt(signal.SIGINT), 41)
        self.assertTrue(wait_until_gone(MARK))

    def test_interrupt_from_a_terminal_reaches_the_command_and_leaves_no_processes(self):
        controller, terminal = os.openpty()
        with os.fdopen(controller, "wb", buffering=0) as keyboard, subprocess.Popen(
                [*self.prefix, DEV, "bash", "-c", REPORTER], stdin=terminal, stdout=subprocess.PIPE, text=True,
                start_new_session=True, preexec_fn=lambda: fcntl.ioctl(0, termios.TIOCSCTTY)) as started:
            os.close(terminal)
            try:
                self.assertEqual(started.stdout.readline(), "ready\n")
                self.assertTrue(wait_until_running(MARK, True))
                keyboard.write(b"\x03")
                self.assertEqual(started.wait(TIMEOUT_S), 41)
            finally:
                started.kill()
        self.assertTrue(wait_until_gone(MARK))

    def test_terminate_reaches_the_command_and_leaves_no_processes(self):
        self.assertEqual(self.interrupt(signal.SIGTERM), 42)
        self.assertTrue(wait_until_gone(MARK))

    def test_kill_leaves_no_processes(self):
        self.assertEqual(self.interrupt(signal.SIGKILL), -signal.SIGKILL)
        self.assertTrue(wait_until_gone(MARK))


@unittest.skipUnless(subprocess.run(["unshare", "--mount", "true"], stderr=subprocess.DEVNULL, check=False).returncode == 0,
                     "mounts are not permitted")
class RootThatMayMountTest(Dev, unittest.TestCase):
    def test_has_its_own_process_namespace(self):
        self.assertLess(int(self.dev("sh", "-c", "ls -d /proc/[0-9]* | wc -l").stdout), 10)


class ContainerThatMayNotMountTest(Dev, unittest.TestCase):
    prefix = WITHOUT_MOUNTS

    def test_compiles_and_runs_a_program(self):
        done = self.dev("sh", "-c", "echo 'int main() { return 7; }' | c++ -x c++ - -o /tmp/seven && /tmp/seven")
        self.assertEqual(done.returncode, 7, done.stderr)


if __name__ == "__main__":
    unittest.main(verbosity=2)
