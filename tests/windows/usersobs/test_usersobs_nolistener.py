# SPDX-License-Identifier: GPL-2.0-or-later
"""A stream without a listener on the target port, in OBS 31.1's own libraries; then the media source is created."""

import re
import socket
import struct
import time

import hostcase
import stream
from dockports import LISTEN_PORT
from hostcase import CREATED

_MEGABITS_PER_SECOND = 8.0
_SECONDS = 5
_PAYLOAD_BYTES = 1316
_HEADER = struct.Struct("!IIII")  # SRT data packet: sequence number, message number, time stamp, socket id
_SINGLE_MESSAGE = 0xC0000000
_CREATED = re.compile(r"SRT \| Gruppe [0-9a-f]{12} → 127\.0\.0\.1:5002$")
_ERROR = re.compile(r"SRT \| Gruppe [0-9a-f]{12}: .")
_LINKS = ("127.0.0.12", "127.0.0.13", "127.0.0.14")


def _send_data(port, seconds):
    """Sends SRT data packets without a connection to a bonding sender for `seconds`; returns their number."""
    interval = (_HEADER.size + _PAYLOAD_BYTES) * 8 / (_MEGABITS_PER_SECOND * 1e6)
    count = int(seconds / interval)
    with socket.socket(socket.AF_INET, socket.SOCK_DGRAM) as caller:
        start = time.monotonic()
        for number in range(count):
            time.sleep(max(0.0, start + number * interval - time.monotonic()))
            header = _HEADER.pack(number, _SINGLE_MESSAGE | number, int(number * interval * 1e6), 1)
            caller.sendto(header + bytes(_PAYLOAD_BYTES), ("127.0.0.1", port))
    return count


class NoListenerTest(hostcase.HostCase):
    def test_new_group_is_logged_and_the_picture_arrives_with_the_source(self):
        obs = self.obs()
        obs.wait_for_status("Aktiv")
        sender = self.sender().start()
        obs.wait_for_dock_log("SRT | Gruppe")

        bond = stream.BondSender(LISTEN_PORT, _LINKS)
        self.addCleanup(bond.kill)
        bond.wait_for_links()
        begin = time.monotonic()
        packets = _send_data(bond.port, _SECONDS)
        duration = time.monotonic() - begin
        obs.state()  # its response follows the events that the packets have caused
        lines = [event["line"] for event, at in zip(obs.objects, obs.times) if event["event"] == "dockLog" and at >= begin]
        errors = [line for line in lines if _ERROR.match(line)]
        print(f"{packets} packets in {duration:.1f} s ({_MEGABITS_PER_SECOND:g} Mbit/s): {len(errors)} error lines")
        self.assertEqual([line for line in lines if line not in errors], [line for line in lines if _CREATED.match(line)])
        self.assertEqual(len(lines) - len(errors), 1, "the socket of the new group is logged once")
        self.assertLessEqual(len(errors), packets)
        self.assertEqual(obs.status(), "Aktiv")

        obs.repair(CREATED)
        obs.wait_for_picture()
        sender.stop()
        self.quit(obs)


if __name__ == "__main__":
    hostcase.main()
