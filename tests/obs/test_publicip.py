# SPDX-License-Identifier: GPL-2.0-or-later
"""Query for the public address in OBS, with withjsonservice.py in place of the vendor's service."""

import json

import case
from jsoncontrol import control
from obs import wait_until

_IP = "203.0.113.7"
_OBS_ADDRESS = "srt://127.0.0.1:5002?mode=listener&latency=2000&lossmaxttl=40"


def _set_response(status, body):
    """Sets the service's response."""
    control(probe={"status": status, "body": body})


class PublicIpTest(case.ObsCase):
    def _hints(self, panel):
        return [label.name for label in panel.group("Einstellungen").find_all("label")]

    def _addresses(self, panel):
        texts = panel.opened("Verbindungsadressen").find_all("text")
        return sorted(text.text for text in texts)

    def test_result_in_field_settings_address_and_log(self):
        home = self.home()
        session = self.session(home)
        panel = self.panel(session)
        panel.wait_for_status("Aktiv")
        self.assertEqual(self._addresses(panel), [_OBS_ADDRESS, "srtla://ÖFFENTLICHE-IP-EINTRAGEN:5000/live"])

        _set_response(200, json.dumps({"ok": True, "ip": f" {_IP}\n"}))
        panel.press("IP ermitteln")
        panel.wait_for_log(f"NETZWERK | Öffentliche IP: {_IP}")
        self.assertEqual(panel.values()["publicHost"], _IP)
        self.assertIn(f"Öffentliche IP erkannt: {_IP}", self._hints(panel))
        self.assertEqual(self._addresses(panel), [_OBS_ADDRESS, f"srtla://{_IP}:5000/live"])
        store = home.folder / ".config" / "Tarvoline" / "SRTLA OBS Plugin.conf"
        self.assertIn(f"publicHost={_IP}\n", store.read_text())

        _set_response(429, json.dumps({"ok": False, "message": "Zu viele Anfragen."}))
        panel.press("IP ermitteln")
        wait_until(lambda: "Zu viele Anfragen." in self._hints(panel), lambda: self._hints(panel))
        self.assertEqual(panel.values()["publicHost"], _IP)
        wait_until(lambda: panel.button("IP ermitteln").has_state("enabled"), "the button is enabled again")

        session.quit()
        self.assertIn("Number of memory leaks: 0", session.log())

    def test_keys_and_focus_during_the_query(self):
        panel = self.panel(self.session())
        panel.wait_for_status("Aktiv")
        before = panel.values()
        control(probe={"path": "/hold"})
        control(hold=True)
        self.addCleanup(control, release=True)
        panel.tab_from("IP / Domain", to="IP ermitteln")
        panel.press_keys("space")
        wait_until(lambda: not panel.button("IP ermitteln").has_state("enabled"), "the query runs")
        panel.press_keys("x", "space", "Delete")
        self.assertEqual(panel.values(), before)
        control(release=True)
        wait_until(lambda: panel.focused() == "IP ermitteln", lambda: f"the focus returns, it is at {panel.focused()}")
        self.assertEqual(panel.values(), before)


if __name__ == "__main__":
    case.main()
