# SPDX-License-Identifier: GPL-3.0-or-later
"""What a change touches: on a branch, on main, in the working tree, through headers, and in a clone without a past."""

import dataclasses
import pathlib
import subprocess
import unittest

import lint_case
import changed_units


@dataclasses.dataclass(frozen=True)
class Unit:
    file: pathlib.Path


class ChangedUnits(lint_case.LintCase):
    def setUp(self):
        super().setUp()
        self.root = self.root.resolve()
        self.git("init", "--quiet", "--initial-branch=main")
        for name in ("one", "two", "three"):
            self.write(f"src/{name}.cpp", "")
        self.commit("begin")

    def git(self, *arguments: str) -> None:
        subprocess.run(["git", "-C", str(self.root), "-c", "user.name=n", "-c", "user.email=e", *arguments],
                       check=True, capture_output=True)

    def commit(self, text: str) -> None:
        self.git("add", "--all")
        self.git("commit", "--quiet", "--allow-empty", "--message", text)

    def changed(self) -> list[str]:
        return sorted(file.relative_to(self.root).as_posix() for file in changed_units.changed_files(self.root))

    def test_a_branch_is_compared_with_the_place_where_it_left_main(self):
        self.git("checkout", "--quiet", "-b", "work")
        self.write("src/two.cpp", "int two;\n")
        self.commit("change")
        self.git("checkout", "--quiet", "main")
        self.write("src/one.cpp", "int one;\n")
        self.commit("another's")
        self.git("checkout", "--quiet", "work")
        self.assertEqual(self.changed(), ["src/two.cpp"])

    def test_uncommitted_and_new_files_count_and_removed_ones_do_not(self):
        self.commit("an empty one")
        self.write("src/two.cpp", "int two;\n")
        self.write("src/new.cpp", "")
        (self.root / "src/three.cpp").unlink()
        self.assertEqual(self.changed(), ["src/new.cpp", "src/two.cpp"])

    def test_on_main_the_last_ten_commits_count(self):
        self.write("src/one.cpp", "int one;\n")
        self.commit("old")
        for number in range(9):
            self.commit(f"empty {number}")
        self.write("src/two.cpp", "int two;\n")
        self.commit("new")
        self.assertEqual(self.changed(), ["src/two.cpp"])

    def test_a_clone_without_a_past_knows_nothing(self):
        self.assertIsNone(changed_units.changed_files(self.root))

    def units(self, *names: str) -> list[Unit]:
        return [Unit(self.root / "src" / f"{name}.cpp") for name in names]

    def test_a_header_counts_through_the_source_of_its_name_or_the_first_that_includes_it(self):
        units = self.units("one", "three", "two")
        headers = {"one": ["three.h"], "two": ["bare.h"], "three": ["bare.h"]}
        chosen = changed_units.units_of_change(
            units, {self.root / "src/three.h", self.root / "src/bare.h", self.root / "README.md"},
            lambda unit: [self.root / "src" / name for name in headers[unit.file.stem]])
        self.assertEqual(chosen, self.units("three"))

    def test_of_too_many_others_are_taken_each_time(self):
        units = self.units(*(f"unit{number}" for number in range(100)))
        first = changed_units.some_of(units, 10, "a")
        self.assertEqual(len(first), 10)
        self.assertEqual(first, changed_units.some_of(units, 10, "a"))
        self.assertNotEqual(first, changed_units.some_of(units, 10, "b"))
        self.assertEqual(changed_units.some_of(units, 100, "a"), sorted(units, key=lambda unit: unit.file))


if __name__ == "__main__":
    unittest.main()
