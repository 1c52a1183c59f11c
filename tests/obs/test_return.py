# SPDX-License-Identifier: GPL-2.0-or-later
"""OBS records while the sender is interrupted: the picture returns and the recording continues."""

import subprocess
import time

import case
from obs import MobileSender

_SHORT_GAP_S = 3


class ReturnTest(case.ObsCase):
    gaps_s = (_SHORT_GAP_S,)

    def test_the_picture_returns_while_obs_records(self):
        session = self.session()
        panel = self.panel(session)
        panel.wait_for_status("Aktiv")
        panel.press("Quelle reparieren")
        panel.wait_for_log("OBS | Neue SRT-Quelle angelegt")
        sender = MobileSender(self.folder, case.LISTEN_PORT)
        self.addCleanup(sender.stop)
        sender.start()
        case.wait_for_picture(session)
        session.remote.call("StartRecord")

        for gap in self.gaps_s:
            with self.subTest(gap_s=gap):
                sender.stop()
                # The duration of the gap is the tested condition.
                time.sleep(gap)
                sender.start()
                # The source may still show the previous picture.
                case.wait_for_no_picture(session)
                case.wait_for_picture(session)
                self.assertTrue(session.remote.call("GetRecordStatus")["outputActive"])

        # The documented repair works while recording.
        panel.press("Quelle reparieren")
        case.wait_for_no_picture(session)
        case.wait_for_picture(session)
        self.assertTrue(session.remote.call("GetRecordStatus")["outputActive"])

        path = session.remote.call("StopRecord")["outputPath"]
        session.quit()
        self.assertIn("Number of memory leaks: 0", session.log())
        streams = subprocess.run(["ffprobe", "-v", "error", "-show_entries", "stream=codec_type", "-of", "csv=p=0", path],
                                 capture_output=True, text=True, check=True).stdout.split()
        self.assertEqual(sorted(streams), ["audio", "video"])


if __name__ == "__main__":
    case.main()
