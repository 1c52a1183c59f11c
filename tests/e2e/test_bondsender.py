# SPDX-License-Identifier: GPL-2.0-or-later
"""The bonding sender with a real receiver: registration, impaired links, restarts."""

import signal
import subprocess
import unittest

from case import TRACED, ProgramCase, main, stream
from ports import free_udp_port
from timelimits import PROGRAM_TIMEOUT_S

LINKS = ["127.0.0.11", "127.0.0.12", "127.0.0.13"]
GROUP = "3fa07c1d22e9"
UNUSED_PORT = 9  # target port of tests without an SRT listener
USAGE_EXIT = 2
FAILED_EXIT = 1
FREQUENT_TOTALS = ["--every", "250ms"]


def totals_show(line, link, counter, at_least):
    """Whether a line has totals in which a link's counter is at least `at_least`."""
    return line["event"] == "totals" and line["links"][link][counter] >= at_least


def registrations(engine):
    """The receiver's log lines about new groups."""
    return [line for line in engine.log() if line.startswith("REG1 |")]


class RegistrationTest(ProgramCase):
    """Registration at the receiver."""

    def wait_for_one_group(self, engine):
        """Waits until all links are in one group of the receiver."""
        engine.wait_for(lambda line: line.get("paths") == 3 and line["groups"] == 1, "three links in one group")

    def test_receiver_starts_later(self):
        """REG1 is repeated until a receiver responds."""
        port = free_udp_port()
        bond = self.keep(stream.BondSender(port, LINKS, *FREQUENT_TOTALS))
        bond.wait_for(lambda line: totals_show(line, 1, "sent", 1), "a second REG1, on the next link")
        self.assertEqual(bond.totals_now()["groupsCreated"], 0)
        engine = self.engine(UNUSED_PORT, port)
        bond.wait_for_links()
        self.wait_for_one_group(engine)
        created = bond.finish()["groupsCreated"]
        self.assertEqual(engine.stop(), 0)
        self.assertIn(created, range(1, len(registrations(engine)) + 1))
        # The first REG1 was sent before the receiver's start.
        self.assertLess(len(registrations(engine)), self.group_requests(bond))

    @unittest.skipIf(TRACED, "proot continues stopped programs")
    def test_late_response(self):
        """A repeated REG1 creates a second group, which replaces the first: the links join the second."""
        engine = self.engine(UNUSED_PORT)
        engine.send_signal(signal.SIGSTOP)
        bond = self.keep(stream.BondSender(engine.port, LINKS, "--id", GROUP))
        bond.wait_for(lambda _: len(bond.events("groupRequested")) >= 2, "a repeated REG1")
        engine.send_signal(signal.SIGCONT)
        bond.wait_for_links()
        self.wait_for_one_group(engine)
        self.assertIn(f"GRUPPE | {GROUP} entfernt: Neue Sitzung desselben Senders", engine.log())
        bond.finish()

    def test_receiver_restarts(self):
        """The sender registers again at a restarted receiver, with the same sender id."""
        engine = self.engine(UNUSED_PORT)
        bond = self.bond(engine, LINKS, "--id", GROUP)
        requests_before = self.group_requests(bond)
        self.assertEqual(engine.stop(), 0)
        again = self.engine(UNUSED_PORT, engine.port)
        bond.wait_for(lambda line: line["event"] == "linkSilent", "a silent link")
        bond.wait_for(lambda line: line["event"] == "groupGone", "the group is unknown to the new receiver")
        self.wait_for_one_group(again)
        self.assertGreaterEqual(bond.finish()["groupsCreated"], 2)
        self.assertEqual(again.stop(), 0)
        # Three links receive REG_NGP; one REG1 is sent for all of them.
        self.assertIn(len(registrations(again)), range(1, self.group_requests(bond) - requests_before + 1))
        for line in registrations(again):
            self.assertIn(GROUP, line)

    def test_sender_restarts_with_the_same_id(self):
        """The second registration is a new session of the same sender."""
        engine = self.engine(UNUSED_PORT)
        self.bond(engine, LINKS, "--id", GROUP).finish()
        self.bond(engine, LINKS, "--id", GROUP).finish()
        engine.wait_for_log(lambda line: line == f"GRUPPE | {GROUP} entfernt: Neue Sitzung desselben Senders",
                            "the first session is replaced")

    def test_slow_links_register(self):
        """Each response arrives after the repeated REG1 and has the id of a replaced group."""
        engine = self.engine(UNUSED_PORT)
        bond = self.bond(engine, [link + ",delay=600ms" for link in LINKS])
        self.wait_for_one_group(engine)
        self.assertEqual([link["state"] for link in bond.finish()["links"]], ["registered"] * 3)

    def test_lossy_links_register(self):
        """Lost registrations are repeated."""
        engine = self.engine(UNUSED_PORT)
        bond = self.bond(engine, [link + ",loss=40%" for link in LINKS])
        engine.wait_for(lambda line: line.get("paths") == 3, "three links")
        bond.finish()


class KeepaliveTest(ProgramCase):
    """Links without a stream."""

    def test_idle_links_stay(self):
        """Keepalives prevent the receiver's time-out and measure the round-trip time."""
        engine = self.engine(UNUSED_PORT)
        bond = self.bond(engine, [LINKS[0], LINKS[1] + ",delay=50ms"], *FREQUENT_TOTALS)
        enough_received = 14  # two of the registration, then one per second; the time-out is 8 s
        bond.wait_for(lambda line: totals_show(line, 0, "received", enough_received), "twelve seconds of keepalives")
        self.assertFalse([line for line in engine.log() if line.startswith("TIMEOUT |")])
        totals = bond.finish()
        self.assertGreaterEqual(totals["links"][1]["rttMs"], 100)
        self.assertEqual([link["state"] for link in totals["links"]], ["registered"] * 2)


class CommandLineTest(ProgramCase):
    """The command line."""

    def run_bondsender(self, *arguments):
        """Runs the program."""
        return subprocess.run(["bondsender", *arguments], capture_output=True, encoding="utf-8", check=False,
                              timeout=PROGRAM_TIMEOUT_S)

    def test_bad_arguments(self):
        """The error and the usage are printed."""
        result = self.run_bondsender("--listen", "0", "--to", "127.0.0.1:5000", "--link", "127.0.0.11,loss=2")
        self.assertEqual(result.returncode, USAGE_EXIT)
        self.assertIn("invalid link setting: loss=2\nusage: bondsender ", result.stderr)
        self.assertEqual(result.stdout, "")

    def test_foreign_address(self):
        """The error names the link that can't be opened."""
        result = self.run_bondsender("--listen", "0", "--to", "127.0.0.1:5000", "--link", "192.0.2.1")
        self.assertEqual(result.returncode, FAILED_EXIT)
        self.assertIn("link 192.0.2.1 can't be opened: ", result.stderr)

    def test_help(self):
        """The help has examples."""
        result = self.run_bondsender("--help")
        self.assertEqual(result.returncode, 0)
        self.assertIn("jitter=30ms", result.stdout)


if __name__ == "__main__":
    main()
