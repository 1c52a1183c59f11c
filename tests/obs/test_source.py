# SPDX-License-Identifier: GPL-2.0-or-later
""""Quelle reparieren": creation and update of the media source."""

import case
from obs import wait_until

_URL = "srt://127.0.0.1:5002?mode=listener&latency=2000&lossmaxttl=40"
_CREATED = "OBS | Neue SRT-Quelle angelegt"
_UPDATED = "OBS | Vorhandene SRT-Quelle aktualisiert"


def _settings(url):
    return {"input": url, "is_local_file": False, "restart_on_activate": True, "close_when_inactive": False}


class SourceTest(case.ObsCase):
    def setUp(self):
        super().setUp()
        self.obs = self.session()
        self.dock = self.panel(self.obs)
        self.dock.wait_for_status("Aktiv")

    def _check_sources_are_destroyed(self):
        names = list(self.obs.remote.inputs())
        self.obs.quit()
        # OBS's leak count is not checked: OBS sometimes leaks when a source ends while it waits for a caller, also without
        # the plug-in.
        self.assert_destroyed(self.obs, names)

    def _repair(self, log_end):
        before = self.dock.log()
        self.dock.press("Quelle reparieren")
        wait_until(lambda: self.dock.log() != before, "the repair is logged")
        self.assertEqual(self.dock.log()[-1], log_end)

    def test_creation_and_updates(self):
        remote = self.obs.remote
        self._repair(_CREATED)
        self.assertEqual(remote.inputs(), {case.SOURCE: "ffmpeg_source"})
        self.assertEqual(remote.items(), [case.SOURCE])
        self.assertEqual(remote.settings(case.SOURCE), _settings(_URL))

        self._repair(_UPDATED)
        self.assertEqual(remote.items(), [case.SOURCE], "no second scene item")

        # Other settings of the source are kept.
        remote.call("SetInputSettings", inputName=case.SOURCE, inputSettings={"reconnect_delay_sec": 2}, overlay=True)
        self.dock.type("passphrase", "correct horse")
        self.assertEqual(remote.settings(case.SOURCE)["input"], _URL, "unchanged until the next repair")
        self._repair(_UPDATED)
        with_passphrase = _URL + "&passphrase=correct horse"
        self.assertEqual(remote.settings(case.SOURCE), _settings(with_passphrase) | {"reconnect_delay_sec": 2})

        self.dock.type("passphrase", "")
        self.dock.type("listenPort", "6000")
        self.assertEqual(self.dock.values()["targetPort"], "6002")
        self.assertEqual(remote.settings(case.SOURCE)["input"], with_passphrase)
        self._repair(_UPDATED)
        self.assertEqual(remote.settings(case.SOURCE)["input"], _URL.replace("5002", "6002"))
        self.assertEqual(remote.items(), [case.SOURCE])
        self._check_sources_are_destroyed()

    def test_source_of_another_scene_is_updated(self):
        remote = self.obs.remote
        self._repair(_CREATED)
        home = remote.current_scene()
        remote.call("CreateScene", sceneName="Other")
        remote.call("SetCurrentProgramScene", sceneName="Other")
        self._repair(_UPDATED)
        self.assertEqual(remote.items("Other"), [])
        self.assertEqual(remote.items(home), [case.SOURCE])
        self._check_sources_are_destroyed()

    def test_renamed_source_is_kept_and_a_new_one_is_created(self):
        remote = self.obs.remote
        self._repair(_CREATED)
        remote.call("SetInputName", inputName=case.SOURCE, newInputName="Mine")
        self._repair(_CREATED)
        self.assertEqual(sorted(remote.inputs()), ["Mine", case.SOURCE])
        self.assertEqual(sorted(remote.items()), ["Mine", case.SOURCE])
        self._check_sources_are_destroyed()


if __name__ == "__main__":
    case.main()
