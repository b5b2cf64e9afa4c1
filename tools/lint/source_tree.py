# SPDX-License-Identifier: GPL-3.0-or-later
"""The files of the source tree and their includes, for every checker."""

import dataclasses
import os
import pathlib
import re
import subprocess

CODE_SUFFIXES = {".h", ".cpp", ".c"}

INCLUDE = re.compile(r'^\s*#\s*include\s*(?:"([^"]+)"|<([^>]+)>)')


@dataclasses.dataclass(frozen=True)
class Include:
    line: int
    name: str
    quoted: bool


def tree_files(root: pathlib.Path) -> list[pathlib.Path]:
    """All files of the tree, relative to root: tracked ones and new ones that git does not ignore.

    Without git (a source archive) every file counts that is not in a build or output folder.
    """
    listing = subprocess.run(
        ["git", "-C", str(root), "ls-files", "-z", "--cached", "--others", "--exclude-standard"],
        capture_output=True, check=False)
    if listing.returncode == 0:
        names = {name for name in listing.stdout.decode().split("\0") if name}
        paths = [pathlib.Path(name) for name in names]
    else:
        paths = []
        for folder, folders, names in os.walk(root):
            folders[:] = [name for name in folders if name not in {".git", "build", "out", "__pycache__"}]
            paths += [pathlib.Path(folder, name).relative_to(root) for name in names]
    return sorted(path for path in paths if (root / path).is_file())


def code_files(root: pathlib.Path) -> list[pathlib.Path]:
    """The C and C++ files of the tree, relative to root."""
    return [path for path in tree_files(root) if path.suffix in CODE_SUFFIXES]


def read_text(path: pathlib.Path) -> str:
    return path.read_text(encoding="utf-8", errors="replace")


def includes_of(path: pathlib.Path) -> list[Include]:
    """The #include lines of one file, in order."""
    found = []
    for number, line in enumerate(read_text(path).splitlines(), start=1):
        match = INCLUDE.match(line)
        if match:
            found.append(Include(number, match.group(1) or match.group(2), match.group(1) is not None))
    return found


def report(checker: str, problems: list[str]) -> int:
    """Prints the problems, one per line, and returns the exit status."""
    for problem in problems:
        print(problem)
    if problems:
        print(f"{checker}: {len(problems)} problem(s)")
        return 1
    return 0
