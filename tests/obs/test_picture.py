# SPDX-License-Identifier: GPL-2.0-or-later
"""Detection of the test pattern, which the other tests rely on."""

import unittest

import case
from obs import BARS, Picture

_WIDTH, _HEIGHT = 70, 50


def _picture(bars):
    row = b"".join(bytes(colour) * (_WIDTH // len(bars)) for colour in bars)
    return Picture.from_ppm(b"P6\n%d %d\n255\n" % (_WIDTH, _HEIGHT) + row * _HEIGHT)


class PictureTest(unittest.TestCase):
    def test_the_pattern_is_recognised(self):
        self.assertTrue(_picture(BARS).shows_pattern())

    def test_one_wrong_bar_is_detected(self):
        for place in range(len(BARS)):
            wrong = list(BARS)
            wrong[place] = (128, 128, 128)
            with self.subTest(bar=place):
                self.assertFalse(_picture(wrong).shows_pattern())

    def test_black_is_not_the_pattern(self):
        self.assertFalse(_picture([(0, 0, 0)] * len(BARS)).shows_pattern())

    def test_invalid_data_is_rejected(self):
        with self.assertRaises(ValueError):
            Picture.from_ppm(b"P6\n4 4\n255\nshort")


if __name__ == "__main__":
    case.main()
