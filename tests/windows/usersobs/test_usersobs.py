# SPDX-License-Identifier: GPL-2.0-or-later
"""The Windows module in OBS 31.1's own libraries: loading, defaults, media source, port in use, unloading."""

import hostcase
from hostcase import BUILD, CREATED, STARTED, UPDATED
from machinecase import SETTINGS_KEY
from windowsobs import SOURCE

_URL = "srt://127.0.0.1:5002?mode=listener&latency=2000&lossmaxttl=40"
_SOURCE_SETTINGS = {"input": _URL, "is_local_file": False, "restart_on_activate": True, "close_when_inactive": False}

_FRESH_EDITS = {"Ports: SRTLA": "5000", "Ports: OBS": "5002", "IP / Domain": "", "Stream-ID": "live", "Passwort": "",
                "IRL-App": "srtla://ÖFFENTLICHE-IP-EINTRAGEN:5000/live", "OBS": _URL}
_FRESH_CHECKS = {"OBS-Port = SRTLA + 2": True, "Receiver mit OBS starten": True, "Quelle bei OBS-Start reparieren": False}
_FRESH_REGISTRY = {"listenPort": "5000", "targetPort": "5002", "publicHost": "", "streamId": "live", "password": "",
                   "autoStart": "true", "autoSource": "false", "linkPorts": "true"}

_DOCK_PICTURE = BUILD / "pictures" / "dock-windows.png"
_MINIMUM_PICTURE_BYTES = 5000  # an empty picture has a tenth of this


class UsersObsTest(hostcase.HostCase):
    def test_first_start_shows_the_defaults_and_receives(self):
        obs = self.obs(draws=False)
        self.assertEqual(obs.events("versions")[0]["qt"], "6.8.3")
        self.assertIn("[Tarvoline SRTLA] Plugin 0.9.2 wird geladen", obs.obs_log())
        dock = obs.events("dock")
        self.assertEqual([(dock["id"], dock["title"]) for dock in dock],
                         [("tarvoline-srtla-dock", "Tarvoline SRTLA Receiver")])
        obs.wait_for_status("Aktiv")
        state = obs.state()
        self.assertEqual(state["edits"], _FRESH_EDITS)
        self.assertEqual(state["checks"], _FRESH_CHECKS)
        self.assertFalse(state["buttons"]["Start"])
        self.assertTrue(state["buttons"]["Stopp"])
        self.assertEqual(obs.dock_log(), [STARTED])
        self.assertEqual(state["items"], [], "the first start creates no source")
        self.assertNotIn("source", state)

        _DOCK_PICTURE.parent.mkdir(parents=True, exist_ok=True)
        _DOCK_PICTURE.unlink(missing_ok=True)
        self.assertTrue(obs.save_dock(_DOCK_PICTURE))
        self.assertGreater(_DOCK_PICTURE.stat().st_size, _MINIMUM_PICTURE_BYTES)

        self.quit(obs)
        self.assertEqual(self.machine.registry(SETTINGS_KEY), _FRESH_REGISTRY)

    def test_source_is_created_once_then_updated(self):
        obs = self.obs(draws=False)
        obs.wait_for_status("Aktiv")
        for line in (CREATED, UPDATED):
            obs.repair(line)
            state = obs.state()
            self.assertEqual(state["items"], [SOURCE])
            self.assertEqual(state["source"]["kind"], "ffmpeg_source")
            self.assertEqual(state["source"]["settings"], _SOURCE_SETTINGS)

        self.assertTrue(obs.remove_source())
        self.assertEqual(obs.state()["items"], [])
        obs.repair(CREATED)
        self.assertEqual(obs.state()["items"], [SOURCE])
        self.quit(obs)

    def test_second_obs_reports_the_port_in_use(self):
        first = self.obs(draws=False)
        first.wait_for_status("Aktiv")
        second = self.obs(draws=False)
        self.assertEqual(second.message_box(), {
            "title": "Receiver konnte nicht starten",
            "text": "UDP-Port 5000 konnte nicht geöffnet werden. Möglicherweise läuft bereits ein anderer Receiver."})
        self.assertEqual(second.status(), "Fehler")
        second.answer()
        self.assertEqual(first.status(), "Aktiv")

        self.quit(first)
        second.press("Start")
        second.wait_for_status("Aktiv")
        self.quit(second)


if __name__ == "__main__":
    hostcase.main()
