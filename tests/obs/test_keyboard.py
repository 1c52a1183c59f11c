# SPDX-License-Identifier: GPL-2.0-or-later
"""The panel without the mouse, with real keys."""

import case
from obs import wait_until


class KeyboardTest(case.ObsCase):
    def _press_and_expect(self, panel, status, focused):
        panel.press_keys("space")
        panel.wait_for_status(status)
        wait_until(lambda: panel.focused() == focused, lambda: f"{focused} has the keyboard, not {panel.focused()}")

    def test_space_pressed_again_undoes_what_it_did_and_repairs_nothing(self):
        session = self.session()
        panel = self.panel(session)
        panel.wait_for_status("Aktiv")
        panel.tab_from("Passwort", to="Stopp")
        self._press_and_expect(panel, "Inaktiv", "Start")
        self._press_and_expect(panel, "Aktiv", "Stopp")
        self._press_and_expect(panel, "Inaktiv", "Start")
        self.assertEqual(session.remote.inputs(), {})

    def test_tab_passes_every_control_in_the_order_of_the_screen(self):
        session = self.session()
        panel = self.panel(session)
        panel.wait_for_status("Aktiv")
        panel.opened("Verbindungsadressen")
        panel.opened("Protokoll")
        # Without "Start", which cannot be pressed while the receiver runs.
        expected = ["Ports: SRTLA", "Ports: OBS", "OBS-Port = SRTLA + 2", "IP / Domain", "IP ermitteln", "Stream-ID", "Passwort",
                    "Passwort: Zeigen", "Passwort: Kopieren", "Receiver mit OBS starten", "Quelle bei OBS-Start reparieren",
                    "Verbindungsadressen", "IRL-App", "IRL-App: Kopieren", "OBS", "Stopp", "Quelle reparieren", "Protokoll",
                    "Protokoll"]
        self.assertEqual(panel.tab_from(expected[0], steps=len(expected) - 1), expected)


if __name__ == "__main__":
    case.main()
