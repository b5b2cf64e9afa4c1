#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Fails on an include that leaves the layers, and on a third-party header outside its folder.

Which module may include which is read from the link lines (see layers.py). Third-party headers are
declared in third_party.py; one that is declared nowhere fails too, so that a new library is a decision.
"""

import argparse
import pathlib
import sys

import layers as layers_module
import source_tree
import third_party

# Trees above src/, which may use all of it.
UPPER_TREES = ("apps", "tests", "bench", "fuzz")


def check_project_include(root, layers, path: str, name: str) -> str | None:
    """Why a file may not include this quoted name, or None."""
    if ".." in pathlib.PurePosixPath(name).parts:
        return "climbs out of its folder; write includes from src/"
    inside_source = path.startswith("src/")
    if not (root / "src" / name).is_file():
        if inside_source:
            return "is not a file of src/; write includes from src/, and a library's header in angle brackets"
        beside = (root / path).parent / name
        if beside.is_file() or any((root / tree / name).is_file() for tree in UPPER_TREES):
            return None
        return "is neither a file of src/ nor one of the tests and apps"
    if not inside_source:
        return None
    users = layers.owners(path.removeprefix("src/"))
    targets = layers.owners(name)
    if not users:
        return "comes from a file that belongs to no module"
    if not targets:
        return "belongs to no module"
    if any(layers_allow(layers, user, targets) for user in users):
        return None
    return (f"is out of reach: {' or '.join(user.name for user in users)} does not depend on "
            f"{' or '.join(target.name for target in targets)} (src/{targets[0].folder})")


def layers_allow(layers, user, targets) -> bool:
    return any(target.name == user.name or target.name in layers.reach(user.name) for target in targets)


def check_tree(root: pathlib.Path) -> list[str]:
    layers = layers_module.Layers.of_tree(root)
    problems = layers.problems()
    for path in source_tree.code_files(root):
        text_path = path.as_posix()
        if text_path.startswith("src/") and path.suffix != ".h" and not layers.is_built(text_path[len("src/"):]):
            problems.append(f"{text_path}: no module lists this source")
        for include in source_tree.includes_of(root / path):
            reason = None
            if include.quoted:
                reason = check_project_include(root, layers, text_path, include.name)
            # A library's header may be quoted or in angle brackets.
            reason = third_party.refusal(text_path, include.name, include.quoted) or reason
            if reason:
                problems.append(f"{text_path}:{include.line}: \"{include.name}\" {reason}")
    return problems


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--root", type=pathlib.Path, default=pathlib.Path(__file__).resolve().parents[2])
    root = parser.parse_args().root.resolve()
    return source_tree.report("check_includes", check_tree(root))


if __name__ == "__main__":
    sys.exit(main())
