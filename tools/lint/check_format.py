#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Fails on C and C++ files that clang-format would change; with --fix it changes them."""

import argparse
import pathlib
import subprocess
import sys

import source_tree


def is_formatted(root: pathlib.Path, clang_format: str, paths: list[pathlib.Path]) -> bool:
    """Many files at a time, since most of the time for one is the program's start."""
    command = [clang_format, "--style=file", "--fallback-style=none", "--dry-run", "--Werror", *map(str, paths)]
    return subprocess.run(command, cwd=root, capture_output=True, check=False).returncode == 0


def check_file(file: pathlib.Path, path: pathlib.Path, clang_format: str, fix: bool) -> list[str]:
    # The name is given, not the file, so that the .clang-format above it is found either way.
    result = subprocess.run([clang_format, "--style=file", "--fallback-style=none", f"--assume-filename={file}"],
                            input=file.read_bytes(), capture_output=True, check=False)
    if result.returncode != 0:
        return [f"{path}: {result.stderr.decode(errors='replace').strip()}"]
    if result.stdout == file.read_bytes():
        return []
    if not fix:
        return [f"{path}: is not formatted; run tools/lint/check_format.py --fix"]
    file.write_bytes(result.stdout)
    print(f"{path}: formatted")
    return []


def check_tree(root: pathlib.Path, clang_format: str, fix: bool, only: list[pathlib.Path] = ()) -> list[str]:
    paths = list(only or source_tree.code_files(root))
    problems = []
    for begin in range(0, len(paths), 64):
        batch = paths[begin:begin + 64]
        if not is_formatted(root, clang_format, batch):
            for path in batch:
                problems += check_file(root / path, path, clang_format, fix)
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
