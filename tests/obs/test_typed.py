# SPDX-License-Identifier: GPL-2.0-or-later
"""A passphrase typed in an edit that still has the focus when OBS is closed. The edit loses the focus when the window is
closed, which saves the text."""

import case

_TYPED = "noch nicht fertig"


class TypedTest(case.ObsCase):
    def _check_saved(self, end, *, docked):
        home = self.home(dock_open=docked)
        session = self.session(home)
        panel = self.panel(session)
        panel.wait_for_status("Aktiv")
        panel.type_and_stay("passphrase", _TYPED)
        self.assertEqual(panel.focused(), "Passwort")
        store = home.folder / ".config" / "Tarvoline" / "SRTLA OBS Plugin.conf"
        self.assertIn("password=\n", store.read_text(), "not saved while typing")
        end(session)
        self.assertEqual(session.exit_code(), 0)
        self.assertIn(f"password={_TYPED}\n", store.read_text())

    def test_close_window(self):
        self._check_saved(lambda session: session.close_window(), docked=True)

    def test_file_exit(self):
        self._check_saved(lambda session: session.quit(), docked=True)

    def test_close_window_with_a_floating_dock(self):
        self._check_saved(lambda session: session.close_window(), docked=False)

    def test_file_exit_with_a_floating_dock(self):
        self._check_saved(lambda session: session.quit(), docked=False)

    def test_end_of_the_desktop_session(self):
        self._check_saved(lambda session: session.interrupt(), docked=True)


if __name__ == "__main__":
    case.main()
