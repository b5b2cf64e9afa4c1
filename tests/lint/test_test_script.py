# SPDX-License-Identifier: GPL-3.0-or-later
"""What ./test leaves out where a program is missing: names of tests that there are."""

import pathlib
import re
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]


def needs() -> dict[str, str]:
    """By program, the pattern of the tests that need it."""
    block = re.search(r"^needs=\((.*?)^\)", (ROOT / "test").read_text(encoding="utf-8"), re.S | re.M).group(1)
    return dict(re.findall(r'^ +"(\S+) (\S+)"$', block, re.M))


def alternatives(pattern: str) -> list[str]:
    """The pattern without its groups: one for each choice."""
    group = re.search(r"\(([^()]*)\)", pattern)
    if group is None:
        return [pattern]
    return [each for choice in group.group(1).split("|")
            for each in alternatives(pattern[:group.start()] + choice + pattern[group.end():])]


def names_of_tests() -> set[str]:
    names = set()
    for file in [*ROOT.glob("tests/**/CMakeLists.txt"), *ROOT.glob("bench/**/CMakeLists.txt")]:
        text = file.read_text(encoding="utf-8")
        names |= {f"bench.{name}" for name in re.findall(r"vrel_benchmark\((\w+)", text)}
        names |= set(re.findall(r"add_test\(NAME (bench\.\w+)", text))
        for name, label in re.findall(r"vrel_test\((\w+) LABEL (\w+)", text):
            names.add(f"{label}.{name}")
            for source in file.parent.glob("*.cpp"):
                suites = re.findall(r"^TEST(?:_F|_P)?\((\w+), (\w+)\)", source.read_text(encoding="utf-8"), re.M)
                names |= {f"{label}.{suite}.{case}" for suite, case in suites}
    return names


class TestScript(unittest.TestCase):
    def test_every_pattern_is_of_a_test(self):
        names = names_of_tests()
        self.assertIn("bench.start_bench", names)
        self.assertGreaterEqual(len(needs()), 4)
        for program, pattern in needs().items():
            for choice in alternatives(pattern):
                self.assertTrue(any(re.match(choice, name) for name in names), f"{program}: no test is called {choice}")

    def test_the_window_on_a_sound_server_is_left_out_as_a_whole(self):
        self.assertIsNotNone(re.match(needs()["jackd"], "ui.ui_devices_test"))
        self.assertIsNone(re.match(needs()["jackd"], "ui.ui_test"))

    def test_groups_are_taken_apart(self):
        self.assertEqual(alternatives(r"^(a\.|b\.(c|d)_e)"), [r"^a\.", r"^b\.c_e", r"^a\.", r"^b\.d_e"])


if __name__ == "__main__":
    unittest.main()
