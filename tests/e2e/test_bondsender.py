# SPDX-License-Identifier: GPL-2.0-or-later
"""The bonding sender against a real receiver: registration in good and bad times, links that come and go."""

import signal
import subprocess
import unittest

from case import TRACED, RoadCase, main, stream
from ports import free_udp_port

LINKS = ["127.0.0.11", "127.0.0.12", "127.0.0.13"]
GROUP = "3fa07c1d22e9"
NOBODY = 9  # a target port where no SRT listener is needed
USAGE_EXIT = 2
FAILED_EXIT = 1
TOTALS_OFTEN = ["--every", "250ms"]


def totals_show(line, link, counter, at_least):
    """Whether a line holds totals in which a link has come to a count."""
    return line["event"] == "totals" and line["links"][link][counter] >= at_least


def registrations(engine):
    """The receiver's log lines about new groups."""
    return [line for line in engine.log() if line.startswith("REG1 |")]


class RegistrationTest(RoadCase):
    """How it gets known to the receiver."""

    def wait_for_one_group(self, engine):
        """Waits until the receiver has all links in one group."""
        engine.wait_for(lambda line: line.get("paths") == 3 and line["groups"] == 1, "three links in one group")

    def test_receiver_comes_later(self):
        """It asks until a receiver is there."""
        port = free_udp_port()
        bond = self.keep(stream.BondSender(port, LINKS, *TOTALS_OFTEN))
        bond.wait_for(lambda line: totals_show(line, 1, "sent", 1), "a second REG1, on the next link")
        self.assertEqual(bond.totals_now()["groupsCreated"], 0)
        engine = self.engine(NOBODY, port)
        bond.wait_for_links()
        self.wait_for_one_group(engine)
        created = bond.finish()["groupsCreated"]
        self.assertEqual(engine.stop(), 0)
        self.assertIn(created, range(1, len(registrations(engine)) + 1))
        # The first was asked for before there was a receiver.
        self.assertLess(len(registrations(engine)), self.asked_for_groups(bond))

    @unittest.skipIf(TRACED, "this machine's tracer lets programs go on that are told to stop")
    def test_receiver_answers_late(self):
        """A REG1 that was repeated meanwhile makes a second group, which replaces the first: the links join that."""
        engine = self.engine(NOBODY)
        engine.send_signal(signal.SIGSTOP)
        bond = self.keep(stream.BondSender(engine.port, LINKS, "--id", GROUP))
        bond.wait_for(lambda _: len(bond.events("groupAsked")) >= 2, "the REG1 is repeated")
        engine.send_signal(signal.SIGCONT)
        bond.wait_for_links()
        self.wait_for_one_group(engine)
        self.assertIn(f"GRUPPE | {GROUP} entfernt: Neue Sitzung desselben Senders", engine.log())
        bond.finish()

    def test_receiver_restarts(self):
        """A receiver that has forgotten the sender gets a fresh registration; its log names the same sender."""
        engine = self.engine(NOBODY)
        bond = self.bond(engine, LINKS, "--id", GROUP)
        asked_before = self.asked_for_groups(bond)
        self.assertEqual(engine.stop(), 0)
        again = self.engine(NOBODY, engine.port)
        bond.wait_for(lambda line: line["event"] == "linkSilent", "the silence is noticed")
        bond.wait_for(lambda line: line["event"] == "groupGone", "the new receiver doesn't know the group")
        self.wait_for_one_group(again)
        self.assertGreaterEqual(bond.finish()["groupsCreated"], 2)
        self.assertEqual(again.stop(), 0)
        # Three links are told that the group is gone, and ask once together.
        self.assertIn(len(registrations(again)), range(1, self.asked_for_groups(bond) - asked_before + 1))
        for line in registrations(again):
            self.assertIn(GROUP, line)

    def test_sender_restarts_with_the_same_id(self):
        """The receiver takes the second one as a new session of the same sender."""
        engine = self.engine(NOBODY)
        self.bond(engine, LINKS, "--id", GROUP).finish()
        self.bond(engine, LINKS, "--id", GROUP).finish()
        engine.wait_for_log(lambda line: line == f"GRUPPE | {GROUP} entfernt: Neue Sitzung desselben Senders",
                            "the first session is replaced")

    def test_slow_links_register(self):
        """Each answer comes after the REG1 has been repeated, and names a group that the repetition replaces."""
        engine = self.engine(NOBODY)
        bond = self.bond(engine, [link + ",delay=600ms" for link in LINKS])
        self.wait_for_one_group(engine)
        self.assertEqual([link["state"] for link in bond.finish()["links"]], ["registered"] * 3)

    def test_lossy_links_register(self):
        """Lost registrations are repeated."""
        engine = self.engine(NOBODY)
        bond = self.bond(engine, [link + ",loss=40%" for link in LINKS])
        engine.wait_for(lambda line: line.get("paths") == 3, "three links")
        bond.finish()


class KeepaliveTest(RoadCase):
    """What happens without a stream."""

    def test_idle_links_stay(self):
        """Keepalives alone hold every link longer than the receiver waits, and measure the way there and back."""
        engine = self.engine(NOBODY)
        bond = self.bond(engine, [LINKS[0], LINKS[1] + ",delay=50ms"], *TOTALS_OFTEN)
        enough_answers = 14  # two to the registration, then one a second; the receiver waits for eight seconds
        bond.wait_for(lambda line: totals_show(line, 0, "received", enough_answers), "twelve seconds of answers")
        self.assertFalse([line for line in engine.log() if line.startswith("TIMEOUT |")])
        totals = bond.finish()
        self.assertGreaterEqual(totals["links"][1]["rttMs"], 100)
        self.assertEqual([link["state"] for link in totals["links"]], ["registered"] * 2)


class CommandLineTest(RoadCase):
    """What the program makes of its arguments."""

    def run_bondsender(self, *arguments):
        """Runs it to its end."""
        return subprocess.run(["bondsender", *arguments], capture_output=True, encoding="utf-8", check=False,
                              timeout=stream.PATIENCE_S)

    def test_bad_arguments(self):
        """It says what is wrong and how it is used."""
        result = self.run_bondsender("--listen", "0", "--to", "127.0.0.1:5000", "--link", "127.0.0.11,loss=2")
        self.assertEqual(result.returncode, USAGE_EXIT)
        self.assertIn("bad link setting: loss=2\nusage: bondsender ", result.stderr)
        self.assertEqual(result.stdout, "")

    def test_address_that_is_not_ours(self):
        """A link that can't be opened is named."""
        result = self.run_bondsender("--listen", "0", "--to", "127.0.0.1:5000", "--link", "192.0.2.1")
        self.assertEqual(result.returncode, FAILED_EXIT)
        self.assertIn("link 192.0.2.1 can't be opened: ", result.stderr)

    def test_help(self):
        """It explains itself."""
        result = self.run_bondsender("--help")
        self.assertEqual(result.returncode, 0)
        self.assertIn("jitter=30ms", result.stdout)


if __name__ == "__main__":
    main()
