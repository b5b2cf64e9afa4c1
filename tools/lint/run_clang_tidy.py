#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""Runs clang-tidy over the translation units of what changed, in parallel, and remembers what was clean.

Of more than forty units forty are taken, others at each commit, and how many were left out is printed. With --tree, or
with VREL_LINT_TREE in the environment, it is every unit of the tree.

A unit is clean as long as nothing changes that its result depends on: clang-tidy itself, its settings,
the command line, the source, and every header of the tree that it includes. A hash over all of these is
kept in the cache folder, so a second run looks only at what changed. Findings are never kept.
"""

import argparse
import concurrent.futures
import dataclasses
import hashlib
import json
import os
import pathlib
import shlex
import subprocess
import sys

import changed_units
import source_tree

SETTINGS = ".clang-tidy"
MOST_UNITS = 40


@dataclasses.dataclass(frozen=True)
class Unit:
    file: pathlib.Path
    command: str


def units_of(build: pathlib.Path, root: pathlib.Path) -> list[Unit]:
    """The translation units of the tree that this build folder compiles; generated ones are left out."""
    entries = json.loads((build / "compile_commands.json").read_text(encoding="utf-8"))
    units = {}
    for entry in entries:
        file = pathlib.Path(entry["directory"], entry["file"]).resolve()
        inside = file.is_relative_to(root) and not file.is_relative_to(build)
        if inside and file.suffix in source_tree.CODE_SUFFIXES:
            units[file] = Unit(file, entry.get("command") or shlex.join(entry["arguments"]))
    return [units[file] for file in sorted(units)]


def include_folders(unit: Unit) -> list[pathlib.Path]:
    words = shlex.split(unit.command)
    return [pathlib.Path(word[2:]) for word in words if word.startswith("-I") and len(word) > 2]


def headers_of(unit: Unit, root: pathlib.Path) -> list[pathlib.Path]:
    """Every file of the tree that the unit includes, directly or through others."""
    folders = include_folders(unit)
    seen: set[pathlib.Path] = set()
    waiting = [unit.file]
    while waiting:
        file = waiting.pop()
        for include in source_tree.includes_of(file):
            for folder in [file.parent, *folders]:
                header = (folder / include.name).resolve()
                if header.is_file():
                    if header.is_relative_to(root) and header not in seen:
                        seen.add(header)
                        waiting.append(header)
                    break
    return sorted(seen)


def fingerprint(unit: Unit, root: pathlib.Path, version: str) -> str:
    digest = hashlib.sha256()
    for text in (version, unit.command):
        digest.update(text.encode() + b"\0")
    settings = [folder / SETTINGS for folder in unit.file.parents if (folder / SETTINGS).is_file()]
    for file in [*settings, unit.file, *headers_of(unit, root)]:
        digest.update(str(file).encode() + b"\0" + file.read_bytes() + b"\0")
    return digest.hexdigest()


def check_unit(unit: Unit, build: pathlib.Path, clang_tidy: str) -> str | None:
    """The findings of clang-tidy, or None when the unit is clean."""
    result = subprocess.run([clang_tidy, "-p", str(build), "--quiet", str(unit.file)],
                            capture_output=True, text=True, check=False)
    if result.returncode == 0:
        return None
    return result.stdout.strip() or result.stderr.strip() or f"{unit.file}: clang-tidy exited with {result.returncode}"


def chosen_units(root: pathlib.Path, build: pathlib.Path, is_whole: bool) -> tuple[list[Unit], int]:
    """The units to look at, and how many more the change touches."""
    units = units_of(build, root)
    if is_whole:
        return units, 0
    changed = changed_units.changed_files(root)
    if changed is not None:
        units = changed_units.units_of_change(units, changed, lambda unit: headers_of(unit, root))
    chosen = changed_units.some_of(units, MOST_UNITS, changed_units.git(root, "rev-parse", "HEAD") or "")
    return chosen, len(units) - len(chosen)


def check_units(units, root, build, clang_tidy, jobs, cache) -> tuple[list[str], int]:
    """The findings, and how many units were checked."""
    cache.mkdir(parents=True, exist_ok=True)
    version = subprocess.run([clang_tidy, "--version"], capture_output=True, text=True, check=True).stdout
    marks = {unit: fingerprint(unit, root, version) for unit in units}
    waiting = [unit for unit in units if not (cache / marks[unit]).is_file()]
    findings = []
    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        for unit, finding in zip(waiting, pool.map(lambda unit: check_unit(unit, build, clang_tidy), waiting)):
            if finding is None:
                (cache / marks[unit]).touch()
            else:
                findings.append(finding)
    return findings, len(waiting)


def main() -> int:
    parser = argparse.ArgumentParser(description=__doc__, formatter_class=argparse.RawDescriptionHelpFormatter)
    parser.add_argument("--root", type=pathlib.Path, default=pathlib.Path(__file__).resolve().parents[2])
    parser.add_argument("--build", type=pathlib.Path, required=True, help="holds compile_commands.json")
    parser.add_argument("--clang-tidy", default="clang-tidy")
    parser.add_argument("--jobs", type=int, default=len(os.sched_getaffinity(0)))
    parser.add_argument("--tree", action="store_true", default="VREL_LINT_TREE" in os.environ)
    arguments = parser.parse_args()
    root = arguments.root.resolve()
    build = arguments.build.resolve()
    units, left_out = chosen_units(root, build, arguments.tree)
    findings, checked = check_units(units, root, build, arguments.clang_tidy, arguments.jobs, build / "clang-tidy-cache")
    print(f"clang-tidy: {len(units)} unit(s), of which {checked} were not known to be clean; {left_out} of the change left out")
    return source_tree.report("run_clang_tidy", findings)


if __name__ == "__main__":
    sys.exit(main())
