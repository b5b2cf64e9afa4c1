# SPDX-License-Identifier: GPL-3.0-or-later
"""check_format reports an unformatted file, and can fix it."""

import contextlib
import io
import os
import unittest

import lint_case
import check_format

CLANG_FORMAT = os.environ.get("VREL_CLANG_FORMAT", "clang-format")


class CheckFormat(lint_case.LintCase):
    def setUp(self):
        super().setUp()
        style = lint_case.TOOLS.parents[1] / ".clang-format"
        self.write(".clang-format", style.read_text(encoding="utf-8"))
        self.write("src/good.cpp", "int main() {\n  return 0;\n}\n")

    def problems(self, fix=False):
        with contextlib.redirect_stdout(io.StringIO()):
            return check_format.check_tree(self.root, CLANG_FORMAT, fix)

    def test_formatted_files_pass(self):
        self.assertEqual(self.problems(), [])

    def test_an_unformatted_file_fails_until_it_is_fixed(self):
        self.write("src/bad.h", "int  twice( int value );\n")
        self.assert_reported(self.problems(), "src/bad.h", "not formatted")
        self.assertEqual(self.problems(fix=True), [])
        self.assertEqual(self.problems(), [])
        self.assertEqual((self.root / "src/bad.h").read_text(), "int twice(int value);\n")

    def test_a_broken_style_file_fails(self):
        self.write(".clang-format", "NoSuchOption: 1\n")
        self.assert_reported(self.problems(), "src/good.cpp")


if __name__ == "__main__":
    unittest.main()
