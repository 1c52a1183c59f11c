# SPDX-License-Identifier: GPL-2.0-or-later
"""The panel operated with real key events."""

import case
from obs import wait_until


class KeyboardTest(case.ObsCase):
    def _press_and_check(self, panel, status, focused):
        panel.press_keys("space")
        panel.wait_for_status(status)
        wait_until(lambda: panel.focused() == focused, lambda: f"{focused} has the focus, not {panel.focused()}")

    def test_repeated_space_starts_and_stops(self):
        session = self.session()
        panel = self.panel(session)
        panel.wait_for_status("Aktiv")
        panel.tab_from("Passwort", to="Stopp")
        self._press_and_check(panel, "Inaktiv", "Start")
        self._press_and_check(panel, "Aktiv", "Stopp")
        self._press_and_check(panel, "Inaktiv", "Start")
        self.assertEqual(session.remote.inputs(), {})

    def test_tab_order(self):
        session = self.session()
        panel = self.panel(session)
        panel.wait_for_status("Aktiv")
        panel.opened("Verbindungsadressen")
        panel.opened("Protokoll")
        # Without "Start", which is disabled while the receiver runs.
        expected = ["Ports: SRTLA", "Ports: OBS", "OBS-Port = SRTLA + 2", "IP / Domain", "IP ermitteln", "Stream-ID",
                    "Passwort", "Passwort: Zeigen", "Passwort: Kopieren", "Receiver mit OBS starten",
                    "Quelle bei OBS-Start reparieren", "Verbindungsadressen", "IRL-App", "IRL-App: Kopieren",
                    "OBS", "Stopp", "Quelle reparieren", "Protokoll", "Protokoll"]
        self.assertEqual(panel.tab_from(expected[0], steps=len(expected) - 1), expected)


if __name__ == "__main__":
    case.main()
