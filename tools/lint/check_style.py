#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Fails on what the compiler and the formatter do not check: licence lines, sizes, words, flags, the glossary."""

import argparse
import pathlib
import re
import sys

import source_tree

LICENCE = "SPDX-License-Identifier: GPL-3.0-or-later"
# Reviewable sizes. The aim is about 100 lines for a header and 400 for a source; past these it fails.
MOST_HEADER_LINES = 220
MOST_SOURCE_LINES = 500

SCRIPT_SUFFIXES = {".py", ".sh", ".cmake"}
WORD_SUFFIXES = source_tree.CODE_SUFFIXES | SCRIPT_SUFFIXES | {".md", ".json", ".qml", ".txt", ".yml", ".ttl"}
WORD_LIST = "tools/lint/forbidden_words.txt"
GLOSSARY = "docs/glossary.md"
PLATFORM_NAME = re.compile(r"^(?:class|struct|enum class|using) (\w+)\b(?!;)", re.MULTILINE)

USING_NAMESPACE = re.compile(r"^\s*using\s+namespace\b")
# Split, or this file would fail its own check.
FAST_MATHS = re.compile("-f" + r"fast-math\b|-Of" + r"ast\b|-ffinite-math" + r"-only\b|funsafe-math" + "-optimizations")
FLAG_NAMES = {"CMakeLists.txt", "CMakePresets.json"}


def forbidden_words(root: pathlib.Path) -> list[re.Pattern[str]]:
    file = root / WORD_LIST
    if not file.is_file():
        return []
    lines = file.read_text(encoding="utf-8").splitlines()
    return [re.compile(line) for line in lines if line and not line.startswith("#")]


def check_head(path: pathlib.Path, lines: list[str]) -> list[str]:
    first = 1 if lines and lines[0].startswith("#!") else 0
    if len(lines) <= first or LICENCE not in lines[first]:
        return [f"{path}:{first + 1}: the licence line is missing: {LICENCE}"]
    return []


def check_code(path: pathlib.Path, lines: list[str]) -> list[str]:
    problems = []
    header = path.suffix == ".h"
    most = MOST_HEADER_LINES if header else MOST_SOURCE_LINES
    if len(lines) > most:
        problems.append(f"{path}: {len(lines)} lines, more than {most}; split it by what it does")
    if header:
        if "#pragma once" not in lines:
            problems.append(f"{path}: #pragma once is missing")
        problems += [f"{path}:{number}: using namespace in a header"
                     for number, line in enumerate(lines, start=1) if USING_NAMESPACE.match(line)]
    return problems


def check_glossary(root: pathlib.Path) -> list[str]:
    """Every name of src/platform must have a row in the glossary."""
    file = root / GLOSSARY
    explained = set(re.findall(r"`(\w+)`", file.read_text(encoding="utf-8"))) if file.is_file() else set()
    problems = []
    for header in sorted((root / "src/platform").glob("*.h")):
        for name in PLATFORM_NAME.findall(header.read_text(encoding="utf-8")):
            if name not in explained:
                problems.append(f"{header.relative_to(root)}: {name} has no row in {GLOSSARY}")
    return problems


def check_tree(root: pathlib.Path) -> list[str]:
    words = forbidden_words(root)
    problems = check_glossary(root)
    for path in source_tree.tree_files(root):
        content = (root / path).read_bytes()
        code = path.suffix in source_tree.CODE_SUFFIXES
        script = path.suffix in SCRIPT_SUFFIXES or (path.suffix == "" and content.startswith(b"#!"))
        has_flags = code or script or path.name in FLAG_NAMES
        if path.as_posix() == WORD_LIST or not (has_flags or path.suffix in WORD_SUFFIXES):
            continue
        lines = content.decode("utf-8", errors="replace").splitlines()
        if code or script:
            problems += check_head(path, lines)
        if code:
            problems += check_code(path, lines)
        for number, line in enumerate(lines, start=1):
            problems += [f"{path}:{number}: forbidden: {word.pattern}" for word in words if word.search(line)]
            if has_flags and FAST_MATHS.search(line):
                problems.append(f"{path}:{number}: fast-math flags change NaN and rounding")
    return problems


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--root", type=pathlib.Path, default=pathlib.Path(__file__).resolve().parents[2])
    root = parser.parse_args().root.resolve()
    return source_tree.report("check_style", check_tree(root))


if __name__ == "__main__":
    sys.exit(main())
