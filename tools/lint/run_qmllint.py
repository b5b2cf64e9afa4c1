#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Runs qmllint over the QML files of the tree; each warning fails.

The .qmllint.ini beside the files says which kinds of warnings there are. With --target, that target is built first: it
describes the C++ types to qmllint (and compiles nothing).
"""

import argparse
import pathlib
import subprocess
import sys

import source_tree

FOLDER = "src/console/window/qml"


def check_tree(root: pathlib.Path, qmllint: str, modules: pathlib.Path) -> list[str]:
    files = [str(root / path) for path in source_tree.tree_files(root)
             if path.suffix == ".qml" and path.is_relative_to(FOLDER)]
    if not files:
        return [f"{FOLDER}: no QML files"]
    run = subprocess.run([qmllint, "-I", str(modules), *files], capture_output=True, text=True, check=False)
    output = (run.stdout + run.stderr).replace(f"{root}/", "").strip()
    return [output or f"qmllint ended with {run.returncode}"] if run.returncode != 0 or output else []


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--root", type=pathlib.Path, default=pathlib.Path(__file__).resolve().parents[2])
    parser.add_argument("--qmllint", default="/usr/lib/qt6/bin/qmllint")
    parser.add_argument("--build", type=pathlib.Path, required=True)
    parser.add_argument("--target")
    arguments = parser.parse_args()
    if arguments.target:
        built = subprocess.run(["cmake", "--build", str(arguments.build), "--target", arguments.target],
                               capture_output=True, text=True, check=False)
        if built.returncode != 0:
            return source_tree.report("run_qmllint", [built.stdout + built.stderr])
    return source_tree.report("run_qmllint",
                              check_tree(arguments.root.resolve(), arguments.qmllint, arguments.build / "qml"))


if __name__ == "__main__":
    sys.exit(main())
