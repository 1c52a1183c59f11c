# SPDX-License-Identifier: GPL-2.0-or-later
"""OBS is closed during a query for the public address without a response: the window and the plug-in are closed at once,
the process ends with the query."""

import case
from jsoncontrol import control
from obs import wait_until

_UNLOADED = "[Tarvoline SRTLA] Plugin sicher entladen"
_LAST_LINE = "Number of memory leaks: 0"


class QuitQueryTest(case.ObsCase):
    def _quit_during_query(self, path):
        """Quits OBS during a query to `path` of the test service."""
        session = self.session()
        panel = self.panel(session)
        panel.wait_for_status("Aktiv")
        before = len(control(probe={"path": path})["probes"])
        panel.press("IP ermitteln")
        wait_until(lambda: len(control()["probes"]) > before, "the query arrives")
        took_s = session.quit()
        print(f"OBS ended {took_s:.1f} s after File > Exit; response: {path}", flush=True)
        self.assertEqual(session.exit_code(), 0)
        self.assertIn(_UNLOADED, session.log())
        self.assertIn(_LAST_LINE, session.log())

    def test_no_response(self):
        self._quit_during_query("/stall")

    def test_incomplete_response(self):
        self._quit_during_query("/stall/middle")

    def test_slow_response(self):
        self._quit_during_query("/slow")


if __name__ == "__main__":
    case.main()
