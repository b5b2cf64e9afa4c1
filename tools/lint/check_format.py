#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Fails on C and C++ files that clang-format would change; with --fix it changes them."""

import argparse
import pathlib
import subprocess
import sys

import source_tree


def check_tree(root: pathlib.Path, clang_format: str, fix: bool, only: list[pathlib.Path] = ()) -> list[str]:
    problems = []
    for path in only or source_tree.code_files(root):
        file = root / path
        # The name is given, not the file, so that the .clang-format above it is found either way.
        result = subprocess.run([clang_format, "--style=file", "--fallback-style=none", f"--assume-filename={file}"],
                                input=file.read_bytes(), capture_output=True, check=False)
        if result.returncode != 0:
            problems.append(f"{path}: {result.stderr.decode(errors='replace').strip()}")
        elif result.stdout != file.read_bytes():
            if fix:
                file.write_bytes(result.stdout)
                print(f"{path}: formatted")
            else:
                problems.append(f"{path}: is not formatted; run tools/lint/check_format.py --fix")
    return problems


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--root", type=pathlib.Path, default=pathlib.Path(__file__).resolve().parents[2])
    parser.add_argument("--clang-format", default="clang-format")
    parser.add_argument("--fix", action="store_true")
    parser.add_argument("files", nargs="*", type=pathlib.Path, help="instead of the whole tree")
    arguments = parser.parse_args()
    root = arguments.root.resolve()
    only = [file.resolve().relative_to(root) for file in arguments.files]
    problems = check_tree(root, arguments.clang_format, arguments.fix, only)
    return source_tree.report("check_format", problems)


if __name__ == "__main__":
    sys.exit(main())
