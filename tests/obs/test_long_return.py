# SPDX-License-Identifier: GPL-2.0-or-later
"""As test_return.py, with gaps of 30 s and 3 min."""

import case
import test_return


class LongReturnTest(test_return.ReturnTest):
    gaps_s = (30, 180)


if __name__ == "__main__":
    case.main()
