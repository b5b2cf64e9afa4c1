# SPDX-License-Identifier: GPL-3.0-or-later
"""The modules and their dependencies, from the link lines of src/**/CMakeLists.txt.

Dependencies are defined nowhere else: a new one is added to a DEPENDS list, where review sees it.
"""

import dataclasses
import pathlib
import re

# The logic depends on the platform's interfaces only, never on their implementations.
LOGIC_FOLDERS = ("document", "channel", "text", "engine", "midi", "performance", "playback", "visuals", "console", "shell")
BEHIND_THE_PLATFORM = ("system", "simulation")

LINK_CALL = re.compile(r"\btarget_link_libraries\s*\(([^)]*)\)", re.DOTALL)
MODULE_CALL = re.compile(r"\bvrel_module\s*\(([^)]*)\)", re.DOTALL)
COMMENT = re.compile(r"#[^\n]*")
KEYWORDS = {"SOURCES", "DEPENDS", "PRIVATE_DEPENDS"}


@dataclasses.dataclass(frozen=True)
class Module:
    name: str
    folder: str  # below src/, with forward slashes
    sources: frozenset[str]
    depends: frozenset[str]  # names that users of the module may use through it
    private_depends: frozenset[str]  # third-party targets, as a rule


def is_within(folder: str, parent: str) -> bool:
    return folder == parent or folder.startswith(parent + "/")


def parse_modules(text: str, folder: str) -> list[Module]:
    """The vrel_module calls of one CMakeLists.txt."""
    modules = []
    for call in MODULE_CALL.finditer(COMMENT.sub("", text)):
        words = call.group(1).replace('"', " ").split()
        if not words:
            continue
        lists: dict[str, set[str]] = {keyword: set() for keyword in KEYWORDS}
        keyword = None
        for word in words[1:]:
            if word in KEYWORDS:
                keyword = word
            elif keyword is not None:
                lists[keyword].add(word)
        modules.append(Module(words[0], folder, frozenset(lists["SOURCES"]),
                              frozenset(lists["DEPENDS"]), frozenset(lists["PRIVATE_DEPENDS"])))
    return modules


class Layers:
    """All modules of a tree, and what each may reach."""

    def __init__(self, modules: list[Module], stray_links: list[str] = ()):
        self.modules = {module.name: module for module in modules}
        self._stray_links = stray_links
        self._reach = {name: self._reachable_from(name, private_beyond=False) for name in self.modules}
        self._links = {name: self._reachable_from(name, private_beyond=True) for name in self.modules}

    @classmethod
    def of_tree(cls, root: pathlib.Path) -> "Layers":
        source = root / "src"
        modules = []
        stray_links = []
        for listing in sorted(source.rglob("CMakeLists.txt")):
            folder = listing.parent.relative_to(source).as_posix()
            text = listing.read_text(encoding="utf-8")
            modules += parse_modules(text, folder)
            for call in LINK_CALL.finditer(COMMENT.sub("", text)):
                target, *linked = call.group(1).split()
                stray_links += [f"src/{folder}/CMakeLists.txt: {target} is linked to {name} outside vrel_module"
                                for name in linked if name.startswith("vrel_")]
        return cls(modules, stray_links)

    def _direct(self, name: str, with_private: bool) -> list[str]:
        module = self.modules[name]
        linked = module.depends | module.private_depends if with_private else module.depends
        return sorted(other for other in linked if other in self.modules)

    def _reachable_from(self, name: str, private_beyond: bool) -> frozenset[str]:
        seen: set[str] = set()
        waiting = self._direct(name, with_private=True)
        while waiting:
            other = waiting.pop()
            if other not in seen:
                seen.add(other)
                waiting += self._direct(other, with_private=private_beyond)
        return frozenset(seen)

    def reach(self, name: str) -> frozenset[str]:
        """The modules this one may use: what it links, and what those pass on."""
        return self._reach[name]

    def folder_of(self, path: str) -> str | None:
        """The module folder that holds a file, given below src/: the nearest one above it."""
        folders = {module.folder for module in self.modules.values()}
        for parent in pathlib.PurePosixPath(path).parents:
            if parent.as_posix() in folders:
                return parent.as_posix()
        return None

    def owners(self, path: str) -> list[Module]:
        """The modules a file below src/ can belong to.

        A source belongs to the module that lists it, a header to the module that lists the source of
        its name. If neither applies, every module of the folder is possible.
        """
        folder = self.folder_of(path)
        if folder is None:
            return []
        here = [module for module in self.modules.values() if module.folder == folder]
        stem = pathlib.PurePosixPath(path).relative_to(folder).with_suffix("").as_posix()
        listed = [module for module in here
                  if any(pathlib.PurePosixPath(source).with_suffix("").as_posix() == stem
                         for source in module.sources)]
        return listed or here

    def is_built(self, path: str) -> bool:
        """Whether some module lists this source below src/."""
        folder = self.folder_of(path)
        return folder is not None and any(
            pathlib.PurePosixPath(folder, source).as_posix() == path
            for module in self.modules.values() if module.folder == folder for source in module.sources)

    def problems(self) -> list[str]:
        """Errors in the dependencies themselves: cycles, and logic that depends on an implementation."""
        found = list(self._stray_links)
        for name in sorted(self.modules):
            if name in self._links[name]:
                found.append(f"src/{self.modules[name].folder}: {name} depends on itself in a cycle")
        found += self._folder_cycles()
        for name, module in sorted(self.modules.items()):
            if not any(is_within(module.folder, logic) for logic in LOGIC_FOLDERS):
                continue
            for other in sorted(self._links[name]):
                folder = self.modules[other].folder
                if any(is_within(folder, behind) for behind in BEHIND_THE_PLATFORM):
                    found.append(f"src/{module.folder}: {name} is logic and must not depend on {other} "
                                 f"(src/{folder})")
        return found

    def _folder_cycles(self) -> list[str]:
        arrows: dict[str, set[str]] = {}
        for name, module in self.modules.items():
            arrows.setdefault(module.folder, set()).update(
                self.modules[other].folder for other in self._direct(name, with_private=True))
        found = []
        for start in sorted(arrows):
            seen: set[str] = set()
            waiting = sorted(arrows[start] - {start})
            while waiting:
                folder = waiting.pop()
                if folder not in seen:
                    seen.add(folder)
                    waiting += sorted(arrows.get(folder, set()))
            if start in seen:
                found.append(f"src/{start}: the folder depends on itself in a cycle")
        return found
