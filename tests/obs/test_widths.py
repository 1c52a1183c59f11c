# SPDX-License-Identifier: GPL-2.0-or-later
"""The panel in OBS's theme and font at every font size: no text is truncated, nothing is outside the panel, long texts do
not widen the panel. panelmeter.cpp measures in OBS and saves the pictures for tools/pictures."""

import json

import case
import obs
from obs import plugin

_POINTS = (10, 11, 12)
_SCALES = ("1", "1.25", "2")

# The button "Ausblenden" has a fixed width of 74 pixels.
_TOO_LONG = 'QPushButton "Ausblenden"'
_TOO_LONG_FROM_POINTS = 11


class WidthsTest(case.ObsCase):
    def _measured(self, points, scale):
        folder = plugin.scratch(f"panelmeter/{points}pt-{scale}")
        home = obs.ObsHome(self.folder / f"home-{points}-{scale}", font_points=points)
        plugin.install(home)
        home.install_module(plugin.BUILD / "tests" / "obs" / "bin" / "panelmeter.so")
        session = self.session(home, environment={"TARVOLINE_PANELMETER": str(folder), "QT_SCALE_FACTOR": scale})
        report = folder / "report.json"
        obs.wait_until(report.exists, "the panel is measured")
        session.interrupt()
        return json.loads(report.read_text())

    def test_no_text_is_truncated(self):
        for points in _POINTS:
            for scale in _SCALES:
                with self.subTest(points=points, scale=scale):
                    self._check_report(self._measured(points, scale), points, scale)

    def _check_report(self, report, points, scale):
        self.assertEqual(report["font"], "Open Sans", "OBS's own font")
        self.assertAlmostEqual(report["points"], points, delta=0.5)
        self.assertEqual(report["scale"], float(scale))
        self.assertEqual(report["toolTipOfTheButton"], report["toolTipOfTheTheme"])
        self.assertEqual(len(report["rows"]), 36)
        for row in report["rows"]:
            self.assertEqual(row["width"], row["wantedWidth"])
            found = row["found"]
            if points >= _TOO_LONG_FROM_POINTS and row["words"] == "Ausblenden":
                self.assertEqual([entry for entry in found if entry.startswith(_TOO_LONG)], found, row)
                self.assertEqual(len(found), 1)
            else:
                self.assertEqual(found, [], row)


if __name__ == "__main__":
    case.main()
