# SPDX-License-Identifier: GPL-2.0-or-later
"""On air: OBS records while the sender vanishes and comes back. The picture returns by itself and the recording goes on."""

import subprocess
import time

import case
from obs import Road

_SHORT_GAP_S = 3


class ReturnTest(case.ObsCase):
    gaps_s = (_SHORT_GAP_S,)

    def test_the_picture_returns_while_obs_records(self):
        session = self.session()
        panel = self.panel(session)
        panel.wait_for_status("Aktiv")
        panel.press("Quelle reparieren")
        panel.wait_for_log("OBS | Neue SRT-Quelle angelegt")
        road = Road(self.folder, case.LISTEN_PORT)
        self.addCleanup(road.stop)
        road.start()
        case.wait_for_picture(session)
        session.remote.call("StartRecord")

        for gap in self.gaps_s:
            with self.subTest(gap_s=gap):
                road.stop()
                # The silence is what this is about; nothing else is waited for.
                time.sleep(gap)
                road.start()
                # What the source still shows may be the picture from before.
                case.wait_for_no_picture(session)
                case.wait_for_picture(session)
                self.assertTrue(session.remote.call("GetRecordStatus")["outputActive"])

        # The way out that the documentation names works on air, too.
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
