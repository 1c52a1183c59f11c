# SPDX-License-Identifier: GPL-2.0-or-later
"""Base of test cases whose clean-up prints logs only after a failure."""
import unittest


class ReportingCase(unittest.TestCase):
    """A test case with has_failed()."""

    def run(self, result=None):
        self._results = result if result is not None else self.defaultTestResult()
        return super().run(self._results)

    def has_failed(self) -> bool:
        """Whether the running test has failed; also in clean-up functions."""
        return any(test is self for test, _ in [*self._results.failures, *self._results.errors])
