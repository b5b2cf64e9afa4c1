# SPDX-License-Identifier: GPL-3.0-or-later
"""A small source tree in a temporary folder, on which a checker must pass or fail."""

import pathlib
import sys
import tempfile
import unittest

TOOLS = pathlib.Path(__file__).resolve().parents[2] / "tools" / "lint"
sys.path.insert(0, str(TOOLS))
sys.dont_write_bytecode = True


class LintCase(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory(prefix="vrel-lint-")
        self.addCleanup(folder.cleanup)
        self.root = pathlib.Path(folder.name)

    def write(self, path: str, text: str) -> None:
        file = self.root / path
        file.parent.mkdir(parents=True, exist_ok=True)
        file.write_text(text, encoding="utf-8")

    def assert_reported(self, problems: list[str], *words: str) -> None:
        """Exactly one problem, and it has all the words."""
        self.assertEqual(len(problems), 1, problems)
        for word in words:
            self.assertIn(word, problems[0])
