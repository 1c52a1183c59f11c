# SPDX-License-Identifier: GPL-2.0-or-later
"""As test_return.py, with silences as long as a tunnel and as a changed battery."""

import case
import test_return


class LongReturnTest(test_return.ReturnTest):
    gaps_s = (30, 180)


if __name__ == "__main__":
    case.main()
