# SPDX-License-Identifier: GPL-2.0-or-later
"""Start of OBS with the plug-in: first and later starts."""

import case
from obs import wait_until
from obs.panel import TITLE

_LOADED = "[Tarvoline SRTLA] Plugin 0.9.2 wird geladen"
_UNLOADED = "[Tarvoline SRTLA] Plugin sicher entladen"
_START_LINE = "START | SRTLA UDP 5000 → SRT 127.0.0.1:5002"

_DEFAULTS = {"listenPort": "5000", "targetPort": "5002", "publicHost": "", "streamId": "live", "passphrase": ""}


def _checks(*, start, repair, link):
    return {"OBS-Port = SRTLA + 2": link, "Receiver mit OBS starten": start, "Quelle bei OBS-Start reparieren": repair}


class StartTest(case.ObsCase):
    def test_first_start(self):
        session = self.session(self.home(dock_open=False))
        self.assertIn(_LOADED, session.log())

        panel = case.obs.Panel(session.screen)
        self.assertIsNone(panel.dock(), "the dock is closed by default")
        session.screen.menu_entry("Docks", TITLE).press()
        wait_until(panel.dock, "the dock opens from the Docks menu")

        panel.wait_for_status("Aktiv")
        self.assertEqual(panel.values(), _DEFAULTS)
        self.assertEqual(panel.checks(), _checks(start=True, repair=False, link=True))
        self.assertFalse(panel.button("Start").has_state("enabled"))
        self.assertTrue(panel.button("Stopp").has_state("enabled"))
        self.assertEqual(panel.log(), [_START_LINE])
        self.assertEqual(session.remote.inputs(), {}, "the first start creates no source")

        session.quit()
        self.assertIn(_UNLOADED, session.log())
        self.assertIn("Number of memory leaks: 0", session.log())

    def test_second_start_keeps_settings(self):
        home = self.home()
        session = self.session(home)
        panel = self.panel(session)
        panel.wait_for_status("Aktiv")
        panel.type("publicHost", "host.example")
        panel.type("streamId", "studio")
        session.quit()

        session = self.session(home)
        panel = self.panel(session)
        panel.wait_for_status("Aktiv")
        self.assertEqual(panel.values(), _DEFAULTS | {"publicHost": "host.example", "streamId": "studio"})
        self.assertEqual(panel.checks(), _checks(start=True, repair=False, link=True))
        session.quit()
        self.assertIn("Number of memory leaks: 0", session.log())

    def test_changed_listen_port_resets_other_settings(self):
        home = self.home()
        session = self.session(home)
        panel = self.panel(session)
        panel.wait_for_status("Aktiv")
        for edit, text in (("publicHost", "host.example"), ("streamId", "studio"), ("listenPort", "6000")):
            panel.type(edit, text)
        session.quit()

        # While loading, the changed port updates the linked OBS port, and that saves the panel's default values.
        session = self.session(home)
        panel = self.panel(session)
        self.assertEqual(panel.values(), _DEFAULTS | {"listenPort": "6000", "targetPort": "6002"})
        self.assertEqual(panel.checks(), _checks(start=False, repair=False, link=True))
        self.assertEqual(panel.status(), "Inaktiv")
        panel.press("Start")
        panel.wait_for_log("START | SRTLA UDP 6000 → SRT 127.0.0.1:6002")
        session.quit()
        self.assertIn("Number of memory leaks: 0", session.log())

    def test_automatic_repair_without_automatic_start(self):
        home = self.home()
        session = self.session(home)
        panel = self.panel(session)
        panel.wait_for_status("Aktiv")
        for words in ("Receiver mit OBS starten", "Quelle bei OBS-Start reparieren"):
            panel.dock().find("check box", words).press()
        wait_until(lambda: panel.checks() == _checks(start=False, repair=True, link=True), panel.checks)
        session.quit()

        session = self.session(home)
        panel = self.panel(session)
        self.assertEqual(panel.checks(), _checks(start=False, repair=True, link=True))
        wait_until(lambda: case.SOURCE in session.remote.items(), "the source is created at the start")
        self.assertEqual(panel.log(), ["OBS | Neue SRT-Quelle angelegt"])
        self.assertEqual(panel.status(), "Inaktiv")
        panel.press("Start")
        panel.wait_for_status("Aktiv")
        session.quit()

    def test_second_obs_reports_the_taken_port(self):
        first = self.session(self.home("first"))
        self.panel(first).wait_for_status("Aktiv")

        second = self.session(self.home("second"))
        box = second.screen.message_box()
        self.assertEqual(box.title, "Receiver konnte nicht starten")
        self.assertEqual(box.texts, [
            "UDP-Port 5000 konnte nicht geöffnet werden. Möglicherweise läuft bereits ein anderer Receiver."])
        self.assertEqual(len(box.buttons), 1)
        panel = self.panel(second)
        self.assertEqual(panel.status(), "Fehler")
        box.dismiss()
        wait_until(lambda: not second.screen.message_boxes(), "the message box is closed")
        self.assertTrue(panel.button("Start").has_state("enabled"))
        self.assertFalse(panel.button("Stopp").has_state("enabled"))
        self.assertEqual(self.panel(first).status(), "Aktiv")

        first.quit()
        panel.press("Start")
        panel.wait_for_status("Aktiv")
        second.quit()

    def test_quitting_during_the_message_box_of_the_start(self):
        first = self.session(self.home("first"))
        self.panel(first).wait_for_status("Aktiv")
        second = self.session(self.home("second"))
        second.screen.message_box()
        # The message box blocks the menu, so OBS is ended as at the end of a desktop session.
        second.interrupt()
        self.assertIn(_UNLOADED, second.log())
        self.assertEqual(second.exit_code(), 0)


if __name__ == "__main__":
    case.main()
