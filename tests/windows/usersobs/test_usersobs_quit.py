# SPDX-License-Identifier: GPL-2.0-or-later
"""OBS is closed during a query for the public address without a response: the module is unloaded at once, the process ends
with the query."""

import time

import hostcase
from hostcase import UNLOADED
from jsoncontrol import control
from wait import wait_until


class QuitTest(hostcase.HostCase):
    def _quit_during_query(self, path):
        """Quits OBS during a query to `path` of the test service."""
        obs = self.obs(draws=False)
        obs.wait_for_status("Aktiv")
        before = len(control(probe={"path": path})["probes"])
        obs.press("IP ermitteln")
        wait_until(lambda: len(control()["probes"]) > before, "the query arrives")
        started = time.monotonic()
        obs.write("quit")
        wait_until(lambda: UNLOADED in obs.obs_log(), "the module is unloaded")
        unloaded_s = time.monotonic() - started
        self.assertEqual(obs.exit_code(), 0, obs.tail())
        self.assertEqual(obs.objects[-1]["event"], "ended")
        print(f"module unloaded {unloaded_s:.1f} s, OBS ended {time.monotonic() - started:.1f} s after quitting; "
              f"response: {path}", flush=True)

    def test_no_response(self):
        self._quit_during_query("/stall")

    def test_incomplete_response(self):
        self._quit_during_query("/stall/middle")

    def test_slow_response(self):
        self._quit_during_query("/slow")


if __name__ == "__main__":
    hostcase.main()
