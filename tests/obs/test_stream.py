# SPDX-License-Identifier: GPL-2.0-or-later
"""The complete path: encoder, libsrt, bonding sender, three links, plug-in, OBS's media source, picture."""

import re

import case
from obs import MobileSender, wait_until

_PASSPHRASE = "four words of secret"
_GUESS = "four words of guessing"
# libsrt's message in the log of the caller.
_REFUSED = "REJECT reported from HS processing: Incorrect passphrase"

# Longer than the receiver's time-out, so that the link is removed and registers again.
_CUT_FROM_S, _CUT_UNTIL_S = 6, 20

_REGISTERED = re.compile(r"REG3 \| Weg 127\.0\.0\.3:\d+ verbunden")


class StreamTest(case.ObsCase):
    def _ready(self, passphrase=None):
        session = self.session()
        panel = self.panel(session)
        panel.wait_for_status("Aktiv")
        if passphrase:
            panel.type("passphrase", passphrase)
        panel.press("Quelle reparieren")
        panel.wait_for_log("OBS | Neue SRT-Quelle angelegt")
        return session, panel

    def _sender(self, **options):
        sender = MobileSender(self.folder, case.LISTEN_PORT, **options)
        self.addCleanup(sender.stop)
        return sender

    def test_cut_link_and_receiver_restart(self):
        session, panel = self._ready()
        self._sender(cuts=[(1, _CUT_FROM_S, _CUT_UNTIL_S)]).start()
        case.wait_for_picture(session)

        panel.wait_for_log("TIMEOUT | Weg 127.0.0.3:")
        case.wait_for_picture(session)
        wait_until(lambda: any(_REGISTERED.search(line) for line in panel.log()), panel.log)
        case.wait_for_picture(session)

        panel.press("Stopp")
        panel.wait_for_status("Inaktiv")
        panel.wait_for_log("entfernt: Receiver gestoppt")
        case.wait_for_no_picture(session)
        self.assertFalse(panel.button("Stopp").has_state("enabled"))

        panel.press("Start")
        panel.wait_for_status("Aktiv")
        case.wait_for_picture(session)

        # OBS ends during the stream.
        session.quit()
        self.assertEqual(session.exit_code(), 0)
        self.assertIn("[Tarvoline SRTLA] Plugin sicher entladen", session.log())
        self.assertIn("Number of memory leaks: 0", session.log())

    def test_passphrase(self):
        session, _ = self._ready(_PASSPHRASE)
        rejected = self._sender(passphrase=_GUESS).start()
        wait_until(lambda: _REFUSED in rejected.encoder_log(), "the caller with another passphrase is rejected")
        self.assertIsNone(session.remote.picture(case.SOURCE))
        rejected.stop()

        self._sender(passphrase=_PASSPHRASE).start()
        case.wait_for_picture(session)

    def test_sender_restart(self):
        session, _ = self._ready()
        sender = self._sender().start()
        case.wait_for_picture(session)
        sender.stop()
        case.wait_for_no_picture(session)
        sender.start()
        case.wait_for_picture(session)

    def test_switching_scenes_and_hiding_the_source(self):
        session, panel = self._ready()
        remote = session.remote
        self._sender().start()
        case.wait_for_picture(session)

        scene = remote.current_scene()
        remote.call("CreateScene", sceneName="Pause")
        remote.call("SetCurrentProgramScene", sceneName="Pause")
        remote.call("SetCurrentProgramScene", sceneName=scene)
        case.wait_for_picture(session)

        item = remote.call("GetSceneItemId", sceneName=scene, sourceName=case.SOURCE)["sceneItemId"]
        for visible in (False, True):
            remote.call("SetSceneItemEnabled", sceneName=scene, sceneItemId=item, sceneItemEnabled=visible)
        case.wait_for_picture(session)
        self.assertEqual(panel.status(), "Aktiv")

    def test_switching_the_scene_collection_while_streaming(self):
        session, panel = self._ready()
        remote = session.remote
        self._sender().start()
        case.wait_for_picture(session)
        first = remote.call("GetSceneCollectionList")["currentSceneCollectionName"]

        remote.call("CreateSceneCollection", sceneCollectionName="Zweite")
        self.assertEqual(remote.inputs(), {})
        self.assertEqual(panel.status(), "Aktiv")
        panel.press("Quelle reparieren")
        wait_until(lambda: case.SOURCE in remote.items(), "the source is in the new collection")
        case.wait_for_picture(session)

        remote.call("SetCurrentSceneCollection", sceneCollectionName=first)
        self.assertEqual(list(remote.inputs()), [case.SOURCE])
        case.wait_for_picture(session)
        session.quit()
        self.assertIn("Number of memory leaks: 0", session.log())


if __name__ == "__main__":
    case.main()
