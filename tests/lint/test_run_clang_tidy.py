# SPDX-License-Identifier: GPL-3.0-or-later
"""The clang-tidy driver reports findings in sources and headers, and caches nothing that has changed."""

import json
import os
import shutil
import unittest

import lint_case
import run_clang_tidy

CLANG_TIDY = os.environ.get("VREL_CLANG_TIDY", "clang-tidy")
GOOD = "int main() {\n  return 0;\n}\n"


class RunClangTidy(lint_case.LintCase):
    def setUp(self):
        super().setUp()
        self.root = self.root.resolve()
        self.build = self.root / "build"
        shutil.copy(lint_case.TOOLS.parents[1] / ".clang-tidy", self.root)
        self.write("src/thing.h", "#pragma once\nint twice(int value);\n")
        self.write("src/thing.cpp", '#include "thing.h"\n\nint twice(int value) {\n  return value * 2;\n}\n')
        self.write("src/main.cpp", GOOD)
        self.write_commands("-std=c++20")

    def write_commands(self, flags: str) -> None:
        self.write("build/compile_commands.json", json.dumps(
            [{"directory": str(self.build), "file": str(self.root / "src" / name),
              "command": f"clang++ {flags} -I{self.root / 'src'} -c {self.root / 'src' / name}"}
             for name in ("thing.cpp", "main.cpp")]))

    def run_driver(self):
        units = run_clang_tidy.units_of(self.build, self.root)
        return run_clang_tidy.check_units(units, self.root, self.build, CLANG_TIDY, 2, self.build / "cache")

    def test_clean_units_pass_and_are_not_checked_again(self):
        self.assertEqual(self.run_driver(), ([], 2))
        self.assertEqual(self.run_driver(), ([], 0))

    def test_a_finding_in_a_source_fails_every_time(self):
        self.write("src/main.cpp", "int main() {\n  bool yes = 1;\n  return yes ? 0 : 1;\n}\n")
        for _ in range(2):
            findings, _ = self.run_driver()
            self.assert_reported(findings, "main.cpp:2", "modernize-use-bool-literals")

    def test_a_badly_chosen_name_fails(self):
        for name, code in (("Bad_Type", "class Bad_Type {};"), ("BadFunction", "void BadFunction() {}"),
                           ("member", "class Thing {\n  int member = 0;\n};"), ("bad_local", "int bad_local = 0;")):
            with self.subTest(name=name):
                self.write("src/main.cpp", code + "\n" + GOOD)
                self.assert_reported(self.run_driver()[0], f"'{name}'", "readability-identifier-naming")

    def test_a_broken_thread_role_fails(self):
        self.write_commands(f"-std=c++20 -Wthread-safety -Werror -I{lint_case.TOOLS.parents[1] / 'src'}")
        self.write("src/main.cpp", '#include "foundation/thread_roles.h"\n\nvoid process() noexcept VREL_AUDIO_THREAD;\n\n'
                                   "int main() {\n  process();\n  return 0;\n}\n")
        self.assert_reported(self.run_driver()[0], "main.cpp:6", "requires holding role 'audioThreadRole'")

    def test_a_compiler_warning_fails(self):
        self.write_commands("-std=c++20 -Wshadow -Werror")
        self.write("src/main.cpp", "int main() {\n  const int one = 1;\n  {\n    const int one = 2;\n    return one;\n"
                                   "  }\n  return one;\n}\n")
        self.assert_reported(self.run_driver()[0], "main.cpp:4", "shadows a local variable")

    def test_a_change_in_a_header_is_noticed(self):
        self.assertEqual(self.run_driver(), ([], 2))
        self.write("src/thing.h", "#pragma once\nint twice(int value);\ntypedef int Number;\n")
        findings, looked_at = self.run_driver()
        self.assertEqual(looked_at, 1)
        self.assert_reported(findings, "thing.h:3", "modernize-use-using")

    def test_a_change_of_flags_or_settings_is_noticed(self):
        self.assertEqual(self.run_driver(), ([], 2))
        self.write_commands("-std=c++20 -DOTHER")
        self.assertEqual(self.run_driver(), ([], 2))
        with (self.root / ".clang-tidy").open("a", encoding="utf-8") as settings:
            settings.write("# changed\n")
        self.assertEqual(self.run_driver(), ([], 2))

    def test_code_that_does_not_compile_fails(self):
        self.write("src/main.cpp", "int main() { return no_such_thing; }\n")
        self.assert_reported(self.run_driver()[0], "main.cpp:1", "no_such_thing")


if __name__ == "__main__":
    unittest.main()
