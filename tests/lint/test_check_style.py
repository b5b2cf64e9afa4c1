# SPDX-License-Identifier: GPL-3.0-or-later
"""Breaks each rule of check_style once, which must be reported."""

import unittest

import lint_case
import check_style

HEAD = "// " + check_style.LICENCE + "\n"


class CheckStyle(lint_case.LintCase):
    def setUp(self):
        super().setUp()
        words = lint_case.TOOLS / "forbidden_words.txt"
        self.write(check_style.WORD_LIST, words.read_text(encoding="utf-8"))
        self.write("src/thing.h", HEAD + "#pragma once\n")
        self.write("src/thing.cpp", HEAD + '#include "thing.h"\n')
        self.write("tool.py", "#!/usr/bin/env python3\n# " + check_style.LICENCE + "\n")

    def problems(self):
        return check_style.check_tree(self.root)

    def test_a_clean_tree_passes(self):
        self.assertEqual(self.problems(), [])

    def test_a_missing_licence_line_fails(self):
        self.write("src/thing.cpp", "\n" + HEAD)
        self.assert_reported(self.problems(), "src/thing.cpp:1", "licence")
        self.write("src/thing.cpp", HEAD)
        self.write("tool.py", "#!/usr/bin/env python3\n")
        self.assert_reported(self.problems(), "tool.py:2", "licence")

    def test_a_header_without_pragma_once_fails(self):
        self.write("src/thing.h", HEAD)
        self.assert_reported(self.problems(), "src/thing.h", "#pragma once")

    def test_using_namespace_in_a_header_fails(self):
        self.write("src/thing.h", HEAD + "#pragma once\nusing namespace std;\n")
        self.assert_reported(self.problems(), "src/thing.h:3", "using namespace")

    def test_too_long_a_file_fails(self):
        header = HEAD + "#pragma once\n"
        self.write("src/thing.h", header + "\n" * (check_style.MOST_HEADER_LINES - 2))
        self.write("src/thing.cpp", HEAD + "\n" * (check_style.MOST_SOURCE_LINES - 1))
        self.assertEqual(self.problems(), [])
        self.write("src/thing.h", header + "\n" * (check_style.MOST_HEADER_LINES - 1))
        self.assert_reported(self.problems(), "src/thing.h", "221 lines")
        self.write("src/thing.h", header)
        self.write("src/thing.cpp", HEAD + "\n" * check_style.MOST_SOURCE_LINES)
        self.assert_reported(self.problems(), "src/thing.cpp", "501 lines")

    def test_forbidden_words_fail(self):
        for word in ("TO" + "DO", "FIX" + "ME", "XX" + "X", "see Pa" + "rt 2.1", "in spec" + ".md",
                     "as the spec" + "ification says", "at /ho" + "me/someone"):
            for path, mark in (("src/thing.cpp", "// "), ("docs/thing.md", ""), ("CMakeLists.txt", "# ")):
                with self.subTest(word=word, path=path):
                    before = HEAD if path.endswith(".cpp") else "\n"
                    self.write(path, before + f"{mark}{word}\n")
                    self.assert_reported(self.problems(), f"{path}:2", "forbidden")
                    self.write(path, before)

    def test_fast_math_flags_fail_wherever_flags_are_set(self):
        for flag in ("-f" + "fast-math", "-Of" + "ast", "-ffinite-math" + "-only", "-funsafe-math" + "-optimizations"):
            for path in ("CMakeLists.txt", "CMakePresets.json", "src/foundation/CMakeLists.txt"):
                with self.subTest(flag=flag, path=path):
                    self.write(path, f"add_compile_options({flag})\n")
                    self.assert_reported(self.problems(), f"{path}:1", "fast-math")
                    self.write(path, "\n")

    def test_old_terms_fail_and_standard_ones_pass(self):
        # Each old term is broken by a bar, or this file would fail its own check.
        old = ("is to|ld", "IsTo|ldOnce", "te|lls", "Te|llsSo", "ane|w", "let g|o of it", "letting g|o", "WasLe|tGo",
               "it sta|nds", "QuestionSta|nds", "of its own acco|rd", "for e|ver", "can n|ot", "ThatCan|Not",
               "a text is n|o number", "AFileThatIsNo|Setlist", "the ro|ad of a note", "misfo|rtunes",
               "troub|led blocks", "hee|ded", "patie|nce", "by tu|rns", "sees t|o it", "in the order of bir|th",
               "depends on itself in a ci|rcle", "the left si|de", "two si|des", "is star|ved", "nobo|dy's",
               "misde|ed", "TwoSi|des sides", "wit|h_.state")
        for term in old:
            with self.subTest(term):
                self.write("src/thing.cpp", f"{HEAD}// {term.replace('|', '')}\n")
                self.assert_reported(self.problems(), "src/thing.cpp:2", "forbidden")
        standard = ("there is no file", "is no longer than that", "is no larger than a block", "cannot", "forever",
                    "understands", "a stand-in", "satellites", "on both sides of the queue", "side by side", "renewed",
                    "Move MIDI", "a circle is drawn", "broadcast", "by itself")
        self.write("src/thing.cpp", HEAD + "".join(f"// {term}\n" for term in standard))
        self.assertEqual(self.problems(), [])

    def test_a_platform_name_without_a_row_in_the_glossary_fails(self):
        for name, declaration in (("AVThing", "class AVThing {\n};"), ("NSThing", "struct NSThing final {\n};"),
                                  ("ThingKind", "enum class ThingKind { one };"), ("ThingRef", "using ThingRef = int;")):
            with self.subTest(name):
                self.write("src/platform/thing.h", f"{HEAD}#pragma once\nclass Forward;\n{declaration}\n")
                self.write("docs/glossary.md", "`Another`\n")
                self.assert_reported(self.problems(), "src/platform/thing.h", name, "glossary")
                self.write("docs/glossary.md", f"| `Another`, `{name}` | a thing |\n")
                self.assertEqual(self.problems(), [])

    def test_a_script_without_a_suffix_is_a_script(self):
        self.write("run", "#!/bin/sh\n# TO" + "DO\n")
        text = "\n".join(self.problems())
        self.assertIn("run:2: the licence line", text)
        self.assertIn("run:2: forbidden", text)

    def test_data_is_left_alone(self):
        self.write("fuzz/corpus/sample", "TO" + "DO\n")
        self.assertEqual(self.problems(), [])


if __name__ == "__main__":
    unittest.main()
