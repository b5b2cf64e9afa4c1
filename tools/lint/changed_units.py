# SPDX-License-Identifier: GPL-3.0-or-later
"""Which translation units a change touches, for a check that is too slow for the whole tree.

What changed is what differs from the commit where the branch left main, uncommitted work included; on main itself, the
last ten commits, as far as the clone holds them. A changed header counts through one unit: the source of its name, or
else the first that includes it.
"""

import hashlib
import pathlib
import subprocess

import source_tree

COMMITS_ON_MAIN = 10


def git(root: pathlib.Path, *arguments: str) -> str | None:
    """What git prints, or None when it fails."""
    done = subprocess.run(["git", "-C", str(root), *arguments], capture_output=True, text=True, check=False)
    return done.stdout.strip() if done.returncode == 0 else None


def base_of(root: pathlib.Path) -> str | None:
    """The commit that the tree is compared with; None where there is none, as in a clone without a history."""
    head = git(root, "rev-parse", "HEAD")
    for main in ("origin/main", "main"):
        base = git(root, "merge-base", "HEAD", main)
        if base and base != head:
            return base
    commits = (git(root, "rev-list", "--first-parent", f"--max-count={COMMITS_ON_MAIN + 1}", "HEAD") or "").split()
    return commits[-1] if len(commits) > 1 else None


def changed_files(root: pathlib.Path) -> set[pathlib.Path] | None:
    """The files that changed and are still there; None when nothing is known of the past."""
    base = base_of(root)
    if base is None:
        return None
    listed = git(root, "diff", "--name-only", "--diff-filter=d", base) or ""
    new = git(root, "ls-files", "--others", "--exclude-standard") or ""
    return {(root / name).resolve() for name in [*listed.splitlines(), *new.splitlines()]}


def units_of_change(units: list, changed: set[pathlib.Path], headers_of) -> list:
    """The units that are changed themselves, and one for each changed header. `headers_of` lists what a unit includes."""
    chosen = {unit.file: unit for unit in units if unit.file in changed}
    headers = {file for file in changed if file.suffix == ".h" and file.suffix in source_tree.CODE_SUFFIXES}
    by_file = {unit.file: unit for unit in units}
    for header in sorted(headers):
        namesake = by_file.get(header.with_suffix(".cpp"))
        if namesake is not None:
            chosen[namesake.file] = namesake
            headers.discard(header)
    for unit in units:
        if not headers:
            break
        included = headers.intersection(headers_of(unit))
        if included:
            chosen[unit.file] = unit
            headers -= included
    return [chosen[file] for file in sorted(chosen)]


def some_of(units: list, most: int, seed: str) -> list:
    """At most so many of them, others for each seed."""
    def place(unit) -> str:
        return hashlib.sha256(f"{seed} {unit.file.name}".encode()).hexdigest()
    return sorted(sorted(units, key=place)[:most], key=lambda unit: unit.file)
