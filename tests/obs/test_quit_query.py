# SPDX-License-Identifier: GPL-2.0-or-later
"""OBS is closed while a query for the public address is on its way, and the service says nothing: OBS's window and the
plug-in go at once, the process ends by itself when the query has ended."""

import json
import os
import socket

import case
from obs import wait_until

_UNLOADED = "[Tarvoline SRTLA] Plugin sicher entladen"
_LAST_LINE = "Number of memory leaks: 0"


def _control(**command):
    """Tells the stand-in for the service what to do; returns what it has seen so far."""
    ports = json.loads(os.environ["TARVOLINE_JSON_SERVICE"])
    with socket.create_connection(("127.0.0.1", ports["control"])) as control, control.makefile("rw") as stream:
        stream.write(json.dumps(command) + "\n")
        stream.flush()
        return json.loads(stream.readline())


class QuitQueryTest(case.ObsCase):
    def _quit_while_it_asks(self, path):
        """Quits OBS with a query that the service treats as `path` says."""
        session = self.session()
        panel = self.panel(session)
        panel.wait_for_status("Aktiv")
        asked = len(_control(probe={"path": path})["probes"])
        panel.press("IP ermitteln")
        wait_until(lambda: len(_control()["probes"]) > asked, "the service is asked")
        took_s = session.quit()
        print(f"OBS ended {took_s:.1f} s after File > Exit; the service's answer: {path}", flush=True)
        self.assertEqual(session.exit_code(), 0)
        self.assertIn(_UNLOADED, session.log())
        self.assertIn(_LAST_LINE, session.log())

    def test_the_service_says_nothing(self):
        self._quit_while_it_asks("/stall")

    def test_the_answer_breaks_off(self):
        self._quit_while_it_asks("/stall/middle")

    def test_the_answer_comes_in_pieces(self):
        self._quit_while_it_asks("/slow")


if __name__ == "__main__":
    case.main()
