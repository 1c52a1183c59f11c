# SPDX-License-Identifier: GPL-2.0-or-later
"""The engine host: command line, output, signals, exit codes."""

import errno
import re
import signal
import socket
import subprocess

from case import ProgramCase, main, stream
from ports import free_udp_port
from timelimits import PROGRAM_TIMEOUT_S

USAGE_EXIT = 2
FAILED_EXIT = 1


class CommandLineTest(ProgramCase):
    """The command line."""

    def assert_usage(self, *arguments):
        """Only the usage is printed, to standard error; the exit code is that of a usage error."""
        result = subprocess.run(["enginehost", *arguments], capture_output=True, encoding="utf-8", check=False,
                                timeout=PROGRAM_TIMEOUT_S)
        self.assertEqual(result.returncode, USAGE_EXIT, arguments)
        self.assertTrue(result.stderr.startswith(
            "usage: enginehost --listen PORT --target-port PORT [--target ADDRESS]\n"), result.stderr)
        self.assertEqual(result.stdout, "")

    def test_missing_arguments(self):
        """Both ports are required, and each option requires a value."""
        for arguments in ([], ["--listen", "5000"], ["--target-port", "5002"],
                          ["--listen", "5000", "--target-port"]):
            self.assert_usage(*arguments)

    def test_unknown_arguments(self):
        """Unknown arguments are errors."""
        for more in (["--verbose", "1"], ["5000", "5002"], ["--help"]):
            self.assert_usage("--listen", "5000", "--target-port", "5002", *more)

    def test_bad_values(self):
        """Ports are from 1 to 65535; the target is an IPv4 address."""
        self.assert_usage("--listen", "0", "--target-port", "5002")
        self.assert_usage("--listen", "5000", "--target-port", "http")
        self.assert_usage("--listen", "5000", "--target-port", "5002", "--target", "localhost")

    def test_target_address(self):
        """The target address can be set."""
        port = free_udp_port()
        host = self.keep(stream.JsonProcess(["enginehost", "--target", "127.0.0.9", "--target-port", "5002",
                                             "--listen", port]))
        host.wait_for(lambda line: line.get("line") == f"START | SRTLA UDP {port} → SRT 127.0.0.9:5002", "the start")
        self.assertEqual(host.stop(), 0)


class RunTest(ProgramCase):
    """Complete runs."""

    def assert_orderly_run(self, number):
        """Start and end by a signal."""
        host = self.engine(5002)
        host.wait_for(lambda line: line["signal"] == "statisticsChanged", "first statistics")
        self.assertEqual(host.stop(number), 0)
        empty = '"groups":0,"paths":0,"megabitsPerSecond":0,"packets":0,"bytes":0}'
        self.assertEqual(host.lines[:3], [
            '{"signal":"runningChanged","running":true}',
            f'{{"signal":"statusChanged","text":"Läuft auf UDP {host.port} → 127.0.0.1:5002"}}',
            f'{{"signal":"logMessage","line":"START | SRTLA UDP {host.port} → SRT 127.0.0.1:5002"}}'])
        self.assertEqual(set(host.lines[3:-3]), {'{"signal":"statisticsChanged",' + empty})
        self.assertEqual(host.lines[-3:], [
            '{"signal":"runningChanged","running":false}',
            '{"signal":"statusChanged","text":"Gestoppt"}',
            '{"signal":"statisticsChanged",' + empty])

    def test_interrupt(self):
        """SIGINT stops the engine."""
        self.assert_orderly_run(signal.SIGINT)

    def test_terminate(self):
        """SIGTERM stops the engine."""
        self.assert_orderly_run(signal.SIGTERM)

    def test_statistics_count_every_datagram(self):
        """All datagrams are counted; rates are printed with full precision."""
        host = self.engine(5002)
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as sender:
            # A prime number of bytes in total results in rates with many digits.
            for size in (0, 100, 1500, 2000, 60001, 60001, 60009):
                sender.sendto(bytes(size), ("127.0.0.1", host.port))
        host.wait_for(lambda line: line.get("packets") == 7, "seven packets counted")
        self.assertEqual(host.stop(), 0)
        self.assertEqual(host.lines[-1], '{"signal":"statisticsChanged","groups":0,"paths":0,"megabitsPerSecond":0,'
                                         '"packets":7,"bytes":183611}')
        before, rates = 0, []
        for line in host.statistics()[:-1]:
            bits = (line["bytes"] - before) * 8.0
            before = line["bytes"]
            if bits:
                rates.append(line["megabitsPerSecond"])
                milliseconds = round(bits / (rates[-1] * 1000.0))
                self.assertEqual(rates[-1], bits * 1000.0 / (milliseconds * 1000000.0))
        self.assertTrue(rates)

    def test_port_in_use(self):
        """The reason is reported, and the program ends."""
        with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as holder:
            holder.bind(("0.0.0.0", 0))
            port = holder.getsockname()[1]
            host = self.keep(stream.EngineHost(5002, port, wait=False))
            self.assertEqual(host.exit_code(), FAILED_EXIT)
        self.assertEqual(len(host.lines), 2, host.lines)
        status = re.fullmatch(rf'{{"signal":"statusChanged","text":"UDP {port} konnte nicht geöffnet werden: (.+)"}}',
                              host.lines[0])
        self.assertTrue(status, host.lines)
        self.assertEqual(host.lines[1], f'{{"signal":"logMessage","line":"FEHLER | SRTLA-Port {port}: {status[1]}"}}')

    def test_port_is_not_shared(self):
        """The port is bound exclusively, also against sockets with SO_REUSEADDR or SO_REUSEPORT."""
        for options in ((), (socket.SO_REUSEADDR,), (socket.SO_REUSEPORT,), (socket.SO_REUSEADDR, socket.SO_REUSEPORT)):
            for address in ("0.0.0.0", "127.0.0.1"):
                with self.subTest(options=options, address=address):
                    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as earlier:
                        for option in options:
                            earlier.setsockopt(socket.SOL_SOCKET, option, 1)
                        earlier.bind((address, 0))
                        port = earlier.getsockname()[1]
                        refused = self.keep(stream.EngineHost(5002, port, wait=False))
                        self.assertEqual(refused.exit_code(), FAILED_EXIT)
                    host = self.engine(5002, port)
                    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as later:
                        for option in options:
                            later.setsockopt(socket.SOL_SOCKET, option, 1)
                        with self.assertRaises(OSError) as error:
                            later.bind((address, port))
                    self.assertEqual(error.exception.errno, errno.EADDRINUSE)
                    self.assertEqual(host.stop(), 0)

    def test_second_host_on_the_port(self):
        """A second host on the port fails and does not disturb the first one."""
        first = self.engine(5002)
        second = self.keep(stream.EngineHost(5002, first.port, wait=False))
        self.assertEqual(second.exit_code(), FAILED_EXIT)
        bond = self.bond(first, ["127.0.0.11"])
        bond.finish()
        self.assertEqual(first.stop(), 0)

    def test_restart_on_the_port(self):
        """The port is free immediately after the end, also after a session."""
        port = None
        for _ in range(3):
            host = self.engine(5002, port)
            port = host.port
            self.bond(host, ["127.0.0.11"]).finish()
            self.assertEqual(host.stop(), 0)


if __name__ == "__main__":
    main()
