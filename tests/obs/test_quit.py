# SPDX-License-Identifier: GPL-2.0-or-later
"""OBS ends, or hides the source, in the moments in which a waiting listener could hold it up."""

import case
import obs
from obs import wait_until

_UNLOADED = "[Tarvoline SRTLA] Plugin sicher entladen"
_CRASH_DIALOG = "OBS Studio Crash Detected"


class QuitTest(case.ObsCase):
    def _waiting_for_a_caller(self, home=None, **start):
        session = self.session(home, **start)
        panel = self.panel(session)
        panel.wait_for_status("Aktiv")
        panel.press("Quelle reparieren")
        panel.wait_for_log("OBS | Neue SRT-Quelle angelegt")
        wait_until(lambda: obs.listens(case.TARGET_PORT), "the media source listens")
        return session

    def test_quitting_while_the_source_waits_for_a_caller(self):
        session = self._waiting_for_a_caller()
        session.quit()
        self.assertEqual(session.exit_code(), 0)
        # Nothing is said about leaks: OBS loses some memory now and then when a source ends while it waits for a caller,
        # also without the plug-in.
        self.assertIn(_UNLOADED, session.log())

    def test_hiding_and_removing_the_source_while_it_waits_for_a_caller(self):
        session = self._waiting_for_a_caller()
        remote = session.remote
        scene = remote.current_scene()
        item = remote.call("GetSceneItemId", sceneName=scene, sourceName=case.SOURCE)["sceneItemId"]
        for visible in (False, True, False, True):
            remote.call("SetSceneItemEnabled", sceneName=scene, sceneItemId=item, sceneItemEnabled=visible)
            self.assertEqual(self.panel(session).status(), "Aktiv")
        remote.call("RemoveInput", inputName=case.SOURCE)
        wait_until(lambda: not obs.listens(case.TARGET_PORT), "the listener of a removed source is gone")
        session.quit()
        self.assertIn(_UNLOADED, session.log())

    def test_a_quiet_end_shows_no_crash_dialog_at_the_next_start(self):
        home = self.home()
        ended = self._waiting_for_a_caller(home, shutdown_check=True)
        ended.quit()
        self.assertEqual(ended.exit_code(), 0)
        # OBS forgets a run that ended well; builds without crash detection never noted it.
        self.assertEqual(list((home.config / ".sentinel").glob("*")), [])

        session = self.session(home, shutdown_check=True)
        self.panel(session).wait_for_status("Aktiv")
        self.assertNotIn(_CRASH_DIALOG, [window.name for window in session.screen.windows()])


if __name__ == "__main__":
    case.main()
