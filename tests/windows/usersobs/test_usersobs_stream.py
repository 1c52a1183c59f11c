# SPDX-License-Identifier: GPL-2.0-or-later
"""A bonded stream to the Windows module in OBS 31.1's own libraries: the picture arrives and returns after interruptions."""

import re
import time

import hostcase
from hostcase import CREATED, UPDATED
from wait import wait_until

# The receiver drops a link after 8 to 10 s without datagrams; on a busy machine it reads earlier datagrams seconds late.
_CUT_FROM_S, _CUT_UNTIL_S = 4, 30
_GAP_S = 3
_LONG_GAP_S = 12
_LINKS = 3

_REGISTERED = re.compile(r"REG3 \| Weg 127\.0\.0\.3:\d+ verbunden")


class StreamTest(hostcase.HostCase):
    def test_picture_returns_after_repairs_and_obs_quits_during_the_stream(self):
        obs = self.ready_obs()
        self.sender().start()
        obs.wait_for_picture()

        obs.repair(UPDATED)
        obs.wait_for_no_picture()
        obs.wait_for_picture()

        self.assertTrue(obs.remove_source())
        obs.wait_for_no_picture()
        obs.repair(CREATED)
        obs.wait_for_picture()
        self.quit(obs)

    def test_picture_continues_while_a_link_is_lost_and_restored(self):
        obs = self.ready_obs()
        self.sender(cuts=[(1, _CUT_FROM_S, _CUT_UNTIL_S)]).start()
        obs.wait_for_picture()
        obs.wait_for_dock_log("TIMEOUT | Weg 127.0.0.3:")
        known = len(obs.dock_log())
        obs.wait_for_picture()
        wait_until(lambda: any(map(_REGISTERED.search, obs.dock_log()[known:])), obs.dock_log)
        obs.wait_for_picture()
        self.assertFalse([line for line in obs.dock_log() if line.startswith("GRUPPE")], "the sender's group is kept")

    def test_picture_continues_after_a_gap_of_all_links(self):
        obs = self.ready_obs()
        sender = self.sender(cuts=[(link, _CUT_FROM_S, _CUT_FROM_S + _GAP_S) for link in range(_LINKS)]).start()
        obs.wait_for_picture()
        wait_until(lambda: sender.sender_log().count("restored link") == _LINKS, sender.sender_log)
        obs.wait_for_picture()
        self.assertFalse([line for line in obs.dock_log() if line.startswith("GRUPPE")], "the sender's group is kept")

    def test_picture_of_a_new_sender_arrives(self):
        obs = self.ready_obs()
        first = self.sender().start()
        obs.wait_for_picture()
        first.stop()
        # The gap between the senders.
        time.sleep(_LONG_GAP_S)
        obs.wait_for_no_picture()
        self.sender().start()
        obs.wait_for_picture()
        self.quit(obs)


if __name__ == "__main__":
    hostcase.main()
