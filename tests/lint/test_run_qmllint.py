# SPDX-License-Identifier: GPL-3.0-or-later
"""Each kind of fault that qmllint finds under the tree's settings fails, with its file and line."""

import os
import pathlib
import unittest

import lint_case
import run_qmllint

SETTINGS = pathlib.Path(__file__).resolve().parents[2] / run_qmllint.FOLDER / ".qmllint.ini"
CLEAN = """import QtQuick

Item {
    id: item

    property string name
    readonly property string shown: item.name

    Text {
        text: item.shown
    }
}
"""


class RunQmllint(lint_case.LintCase):
    def setUp(self):
        super().setUp()
        self.write(f"{run_qmllint.FOLDER}/.qmllint.ini", SETTINGS.read_text(encoding="utf-8"))

    def problems(self, qml: str):
        self.write(f"{run_qmllint.FOLDER}/View.qml", qml)
        qmllint = os.environ.get("VREL_QMLLINT", "/usr/lib/qt6/bin/qmllint")
        return run_qmllint.check_tree(self.root, qmllint, self.root / "modules")

    def test_a_clean_file_passes(self):
        self.assertEqual(self.problems(CLEAN), [])

    def test_a_misspelt_property_fails(self):
        self.assert_reported(self.problems(CLEAN.replace("text: item.shown", "text: item.shwon")), "View.qml:10", "shwon")

    def test_a_property_that_the_type_has_not_fails(self):
        self.assert_reported(self.problems(CLEAN.replace("text:", "txet:")), "View.qml:10", "txet")

    def test_an_unqualified_name_fails(self):
        self.assert_reported(self.problems(CLEAN.replace("text: item.shown", "text: shown")), "View.qml:10", "nqualified")

    def test_an_unused_import_fails(self):
        self.assert_reported(self.problems("import QtQuick.Layouts\n" + CLEAN), "View.qml:1", "nused import")

    def test_an_unknown_type_fails(self):
        self.assert_reported(self.problems(CLEAN.replace("Text {", "Txet {")), "View.qml:9", "Txet")

    def test_a_value_of_the_wrong_type_fails(self):
        self.assert_reported(self.problems(CLEAN.replace("property string name", "property Item name")),
                         "View.qml:7", "Cannot assign")

    def test_a_tree_without_qml_fails(self):
        self.assertEqual(len(run_qmllint.check_tree(self.root, "qmllint", self.root)), 1)


if __name__ == "__main__":
    unittest.main()
