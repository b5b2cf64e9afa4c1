# SPDX-License-Identifier: GPL-3.0-or-later
"""The compiler accepts code that keeps to its thread's role, and refuses each violation.

Files named good_* must compile. Files named bad_* must be refused with the words of their `fails:` line.
"""

import os
import pathlib
import subprocess
import unittest

HERE = pathlib.Path(__file__).resolve().parent
CASES = sorted((HERE / "thread_roles").glob("*.cpp"))
COMPILER = os.environ.get("VREL_CLANG", "clang++")
FLAGS = ["-std=c++20", "-fsyntax-only", "-Wall", "-Wextra", "-Wthread-safety", "-Werror"]


def compile_case(file: pathlib.Path, flags: list[str]) -> subprocess.CompletedProcess:
    return subprocess.run([COMPILER, *flags, f"-I{HERE.parents[1] / 'src'}", str(file)],
                          capture_output=True, text=True, check=False)


class ThreadRoles(unittest.TestCase):
    def test_both_kinds_of_case_are_there(self):
        self.assertTrue([file for file in CASES if file.name.startswith("good_")])
        self.assertTrue([file for file in CASES if file.name.startswith("bad_")])

    def test_good_code_compiles(self):
        for file in CASES:
            if file.name.startswith("good_"):
                with self.subTest(file=file.name):
                    result = compile_case(file, FLAGS)
                    self.assertEqual(result.returncode, 0, result.stderr)

    def test_bad_code_is_refused_for_the_stated_reason(self):
        for file in CASES:
            if file.name.startswith("bad_"):
                with self.subTest(file=file.name):
                    lines = file.read_text(encoding="utf-8").splitlines()
                    expected = [line.split("fails: ", 1)[1] for line in lines if line.startswith("// fails: ")]
                    self.assertEqual(len(expected), 1)
                    result = compile_case(file, FLAGS)
                    self.assertNotEqual(result.returncode, 0)
                    self.assertIn(expected[0], result.stderr)
                    self.assertEqual(result.stderr.count("error:"), 1, result.stderr)

    def test_only_the_roles_are_wrong_with_the_bad_code(self):
        without_roles = [flag for flag in FLAGS if flag != "-Wthread-safety"]
        for file in CASES:
            with self.subTest(file=file.name):
                result = compile_case(file, without_roles)
                self.assertEqual(result.returncode, 0, result.stderr)


if __name__ == "__main__":
    unittest.main()
