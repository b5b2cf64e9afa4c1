#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Fails on what the window's C++ offers to QML and no QML file uses: properties of view-models and commands.

A view-model counts as used where QML reads the property from a name of its type: a property of ConsoleModel (such as
`desk.session.isLive`), or a property or parameter that the file declares (such as `required property StripViewModel
entry`), or the name of its type, for a singleton. So does one whose signal an item in C++ follows
(`StripViewModel::minNoteChanged`). The opposite, a name that C++ does not offer, is found by qmllint.
"""

import argparse
import pathlib
import re
import sys

import source_tree

FOLDER = "src/console/window"

CLASS = re.compile(r"^class (\w+)\b.*\{\s*$")
SHOWN = re.compile(r"^\s*VREL_(?:SHOWN\(.*,\s*|TEXT\(|HINT\()(\w+)\)")
COMMAND = re.compile(r"\bQ_INVOKABLE\b[^(]*\b(\w+)\(")
MODEL_PROPERTY = re.compile(r"Q_PROPERTY\((?:\w+::)*(\w+)\*? (\w+) READ")
QML_PROPERTY = r"\bproperty\s+{type}\s+(\w+)"
QML_PARAMETER = r"\b(\w+):\s*{type}\b"


def offered(root: pathlib.Path) -> tuple[dict[str, dict[str, str]], dict[str, set[str]]]:
    """For each class its names with their places, and for each class the names that ConsoleModel has for it."""
    classes: dict[str, dict[str, str]] = {}
    accessors: dict[str, set[str]] = {}
    for path in source_tree.tree_files(root):
        if path.suffix != ".h" or not path.is_relative_to(FOLDER):
            continue
        current = ""
        for number, line in enumerate(source_tree.read_text(root / path).splitlines(), start=1):
            if match := CLASS.match(line):
                current = match.group(1)
            if match := SHOWN.match(line) or COMMAND.search(line):
                classes.setdefault(current, {})[match.group(1)] = f"{path}:{number}"
            if current == "ConsoleModel" and (match := MODEL_PROPERTY.search(line)):
                accessors.setdefault(match.group(1), set()).add(match.group(2))
    return classes, accessors


def without_comments(qml: str) -> str:
    return re.sub(r"//.*", "", qml)


def check_tree(root: pathlib.Path) -> list[str]:
    classes, accessors = offered(root)
    files = [without_comments(source_tree.read_text(root / path)) for path in source_tree.tree_files(root)
             if path.suffix == ".qml" and path.is_relative_to(FOLDER)]
    items = [without_comments(source_tree.read_text(root / path)) for path in source_tree.tree_files(root)
             if path.suffix == ".cpp" and path.is_relative_to(FOLDER)]
    problems = []
    for name, properties in classes.items():
        used: set[str] = set()
        for qml in files:
            names = {name} | accessors.get(name, set())
            for declaration in (QML_PROPERTY, QML_PARAMETER):
                names |= set(re.findall(declaration.format(type=name), qml))
            for holder in names:
                used |= set(re.findall(rf"\b{holder}\??\.(\w+)", qml))
        for item in items:
            used |= set(re.findall(rf"\b{name}::(\w+)Changed\b", item))
        problems += [f"{place}: {name}.{unused} is used by no QML file and no item"
                     for unused, place in properties.items() if unused not in used]
    return problems


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--root", type=pathlib.Path, default=pathlib.Path(__file__).resolve().parents[2])
    root = parser.parse_args().root.resolve()
    return source_tree.report("check_view_models", check_tree(root))


if __name__ == "__main__":
    sys.exit(main())
