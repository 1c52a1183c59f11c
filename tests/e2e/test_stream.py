# SPDX-License-Identifier: GPL-2.0-or-later
"""Files over real SRT and several links through the receiver arrive unchanged."""

import filecmp
import random
import re

from case import ProgramCase, main
from ports import udp_drops

FILE_SIZE = 10 * 1024 * 1024 + 777  # not a multiple of a packet
LINKS = ["127.0.0.11", "127.0.0.12", "127.0.0.13"]
GROUP = "3fa07c1d22e9"
OTHER_GROUP = "a1b2c3d4e5f6"
# SRT drops late packets, and packets beyond its receive buffer of 8192. With a low rate, a high latency, and a product of both
# of about half the buffer, the result does not depend on the machine's load.
STREAM_OPTIONS = {"megabits_per_second": 8.0, "latency_ms": 6000}


def up(totals, counter):
    """A counter of each link in the direction to the receiver."""
    return [link["up"][counter] for link in totals["links"]]


def of_links(totals, counter):
    """A counter of each link."""
    return [link[counter] for link in totals["links"]]


class StreamTest(ProgramCase):
    """One or two streams from file to file."""

    def make_file(self, name="sent", seed=1):
        """A file of random bytes."""
        path = self.folder / name
        path.write_bytes(random.Random(seed).randbytes(FILE_SIZE))
        return path

    def send_file(self, links, *, passphrase=""):
        """Sends a file over `links`, checks the received file and the engine host's output, and returns the totals of the
        bonding sender and of the listener."""
        file = self.make_file()
        listener = self.listener(passphrase=passphrase)
        engine = self.engine(listener.port)
        bond = self.bond(engine, links, "--id", GROUP, "--seed", "1")
        caller = self.caller(bond, file, stream_id="one", passphrase=passphrase, **STREAM_OPTIONS)
        self.assertEqual(listener.exit_code(), 0, listener.tail())
        self.assertEqual(caller.exit_code(), 0, caller.tail())
        self.assert_same(file, "one")
        totals = bond.finish()
        self.check_output(engine, listener, bond, totals)
        return totals, listener.objects[-1]

    def assert_same(self, file, stream_id):
        """Compares the received stream with the sent file."""
        self.assertTrue(filecmp.cmp(file, self.folder / "received" / stream_id, shallow=False),
                        f"{stream_id} differs from {file.name}")

    def check_output(self, engine, listener, bond, totals):
        """Compares the engine host's output with the sent packets, and stops it."""
        delivered = sum(of_links(totals, "sent")) + sum(up(totals, "duplicated")) - sum(
            sum(up(totals, reason)) for reason in ("lost", "cut", "overflowed"))
        delivered -= udp_drops(engine.port)  # on a loaded machine; SRT retransmits them
        engine.wait_for(lambda line: line.get("packets") == delivered, f"{delivered} packets counted")
        self.assertEqual(engine.stop(), 0)

        log = engine.log()
        self.assertEqual(log[0], f"START | SRTLA UDP {engine.port} → SRT 127.0.0.1:{listener.port}")
        registered = self.check_registration(log, bond)
        self.assertEqual(log[registered], f"SRT | Gruppe {GROUP} → 127.0.0.1:{listener.port}")
        self.assertEqual(log[-1], f"GRUPPE | {GROUP} entfernt: Receiver gestoppt")

        statistics = engine.statistics()
        self.assertTrue(any(line["groups"] == 1 and line["paths"] == 3 for line in statistics))
        # After a stall a rate may be lower; the maximum is about the sent rate.
        self.assertGreater(max(line["megabitsPerSecond"] for line in statistics), 6)
        self.assertEqual(statistics[-1], {"signal": "statisticsChanged", "groups": 0, "paths": 0,
                                          "megabitsPerSecond": 0, "packets": delivered,
                                          "bytes": statistics[-2]["bytes"]})

    def check_registration(self, log, bond):
        """Checks that all links joined the last group; there are several if a REG1 was repeated. Returns the index of the next
        log line."""
        opened_at = [at for at, line in enumerate(log) if line.startswith("REG1 |")]
        self.assertEqual(opened_at[0], 1)
        self.assertLessEqual(len(opened_at), self.group_requests(bond), log)
        for line in log[1:opened_at[-1]]:
            self.assertRegex(line, r"^(REG1|REG3|GRUPPE) \|")
        for at in opened_at:
            self.assertRegex(log[at], rf"^REG1 \| Neue Gruppe {GROUP} von 127\.0\.0\.1[123]:\d+$")
        self.assertEqual(log.count(f"GRUPPE | {GROUP} entfernt: Neue Sitzung desselben Senders"), len(opened_at) - 1)
        joined_at = opened_at[-1] + 1
        registered = joined_at + len(LINKS)
        joined = {re.fullmatch(rf"REG3 \| Weg ([\d.]+):\d+ verbunden, Gruppe {GROUP}", line)[1]
                  for line in log[joined_at:registered]}
        self.assertEqual(joined, set(LINKS))
        return registered

    def assert_every_link_carried(self, totals):
        """Every link carried packets and received SRTLA ACKs for them."""
        for link in totals["links"]:
            self.assertGreater(link["streamSent"], 1000, link)
            self.assertGreater(link["acknowledged"], 500, link)

    def test_three_clean_links(self):
        """Every link is used, and no packet is lost."""
        totals, listener = self.send_file(LINKS)
        self.assert_every_link_carried(totals)
        self.assertEqual(up(totals, "lost"), [0, 0, 0])
        self.assertEqual(totals["caller"]["unsent"], 0)
        self.assertEqual(listener["dropped"], 0)

    def test_one_link_is_cut_and_restored(self):
        """The other links carry the stream during the cut; the link is used again afterwards."""
        totals, listener = self.send_file([LINKS[0], LINKS[1] + ",cut=2s-4s", LINKS[2]])
        self.assert_every_link_carried(totals)
        cut = up(totals, "cut")
        self.assertGreater(cut[1], 0)
        self.assertEqual([cut[0], cut[2]], [0, 0])
        self.assertGreater(listener["retransmitted"], 0)

    def test_loss_and_jitter_on_every_link(self):
        """2 % loss in both directions and up to 30 ms jitter with reordering."""
        totals, listener = self.send_file([link + ",loss=2%,jitter=30ms" for link in LINKS])
        self.assert_every_link_carried(totals)
        for link in totals["links"]:
            self.assertGreater(link["up"]["lost"], link["sent"] * 0.01, link)
            self.assertGreater(link["down"]["lost"], 0, link)
        self.assertGreater(listener["retransmitted"], 0)

    def test_passphrase(self):
        """An encrypted stream."""
        totals, _ = self.send_file(LINKS, passphrase="correct horse battery")
        self.assert_every_link_carried(totals)

    def test_two_senders_at_once(self):
        """Each sender is a separate SRT peer; both files arrive unchanged."""
        first = self.make_file("first", seed=1)
        second = self.make_file("second", seed=2)
        listener = self.listener(streams=2)
        engine = self.engine(listener.port)
        bonds = [self.bond(engine, LINKS, "--id", GROUP),
                 self.bond(engine, ["127.0.0.21", "127.0.0.22"], "--id", OTHER_GROUP)]
        callers = [self.caller(bond, file, stream_id=file.name, **STREAM_OPTIONS)
                   for bond, file in zip(bonds, (first, second))]
        engine.wait_for(lambda line: line.get("groups") == 2 and line["paths"] == 5, "two groups with five links")
        self.assertEqual(listener.exit_code(), 0, listener.tail())
        self.assertEqual([caller.exit_code() for caller in callers], [0, 0])
        self.assert_same(first, "first")
        self.assert_same(second, "second")
        for bond in bonds:
            self.assert_every_link_carried(bond.finish())
        self.assertEqual(engine.stop(), 0)
        forwarded = {line for line in engine.log() if line.startswith("SRT |")}
        self.assertEqual(forwarded, {f"SRT | Gruppe {group} → 127.0.0.1:{listener.port}"
                                     for group in (GROUP, OTHER_GROUP)})


if __name__ == "__main__":
    main()
