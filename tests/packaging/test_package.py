#!/usr/bin/env python3
# SPDX-License-Identifier: GPL-3.0-or-later
"""The Debian package as it is made of a build, and the files in it. One test case an argument.

Where a checker is not installed, what it would check is skipped, which the exit status says (77) once all else holds.
"""

import array
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parents[2]
PACKAGING = ROOT / "packaging"
BUILD = pathlib.Path(os.environ["VREL_BUILD"])
PREPARED = BUILD / "packaging"


def run(*command: str | pathlib.Path, **options) -> subprocess.CompletedProcess:
    return subprocess.run([str(part) for part in command], capture_output=True, text=True, check=False, **options)


def needs(program: str) -> None:
    if shutil.which(program) is None:
        raise unittest.SkipTest(f"there is no {program}")


class Case(unittest.TestCase):
    def expect_success(self, done: subprocess.CompletedProcess) -> None:
        self.assertEqual(done.returncode, 0, done.stdout + done.stderr)


class DesktopEntry(Case):
    def test_is_valid(self):
        needs("desktop-file-validate")
        done = run("desktop-file-validate", PACKAGING / "vrel.desktop")
        self.expect_success(done)
        self.assertEqual(done.stdout + done.stderr, "")

    def test_opens_what_the_mime_type_names(self):
        entry = (PACKAGING / "vrel.desktop").read_text(encoding="utf-8")
        types = re.findall(r'<mime-type type="([^"]+)">', (PACKAGING / "vrel-mime.xml").read_text(encoding="utf-8"))
        self.assertEqual(len(types), 1)
        self.assertIn(f"MimeType={types[0]};", entry)
        self.assertIn("Exec=vrel %f", entry)
        self.assertTrue((PACKAGING / (types[0].replace("/", "-") + ".svg")).is_file())


class Metainfo(Case):
    def test_is_valid(self):
        needs("appstreamcli")
        self.expect_success(run("appstreamcli", "validate", "--no-net", PREPARED / "vrel.metainfo.xml"))

    def test_names_the_version_of_the_project(self):
        version = re.search(r"project\(vrel VERSION ([\d.]+)", (ROOT / "CMakeLists.txt").read_text(encoding="utf-8"))
        text = (PREPARED / "vrel.metainfo.xml").read_text(encoding="utf-8")
        self.assertIn(f'<release version="{version.group(1)}"', text)


class ManualPages(Case):
    def test_have_no_faults(self):
        needs("groff")
        for page in ("vrel.1", "vrel-render.1", "vrel.5"):
            done = run("groff", "-man", "-Tutf8", "-ww", "-z", PREPARED / "man" / page)
            self.expect_success(done)
            self.assertEqual(done.stderr, "", page)

    def test_and_the_completion_name_every_option_of_the_program(self):
        usage = run(BUILD / "apps" / "vrel-render" / "vrel-render", "--help").stdout
        options = set(re.findall(r"--[a-z-]+", usage))
        self.assertGreater(len(options), 8)
        page = (PREPARED / "man" / "vrel-render.1").read_text(encoding="utf-8").replace("\\-", "-")
        completion = (PACKAGING / "vrel-render.bash-completion").read_text(encoding="utf-8")
        for option in options:
            self.assertIn(option, page)
            self.assertIn(option, completion)


class Completion(Case):
    def complete(self, *words: str, folder: str | None = None) -> list[str]:
        line = " ".join(f"'{word}'" for word in words)
        script = (f"shopt -s extglob; source '{PACKAGING / 'vrel-render.bash-completion'}'; COMP_WORDS=({line}); "
                  f"COMP_CWORD={len(words) - 1}; _vrel_render; printf '%s\\n' \"${{COMPREPLY[@]}}\"")
        done = run("bash", "--norc", "-c", script, cwd=folder)
        self.expect_success(done)
        return sorted(done.stdout.split("\n")[:-1])

    def test_offers_options_and_their_values(self):
        self.assertEqual(self.complete("vrel-render", "--s"), ["--sandbox", "--save", "--song"])
        self.assertEqual(self.complete("vrel-render", "--sandbox", "o"), ["off", "on"])
        self.assertEqual(self.complete("vrel-render", "--block", "1"), ["1024", "128"])

    def test_offers_files_of_the_right_kind(self):
        with tempfile.TemporaryDirectory() as folder:
            for name in ("my gig.vrel", "show.mid", "notes.txt", "mix.wav"):
                pathlib.Path(folder, name).touch()
            self.assertEqual(self.complete("vrel-render", "", folder=folder), ["my gig.vrel", "show.mid"])
            self.assertEqual(self.complete("vrel-render", "--out", "", folder=folder), ["mix.wav"])


class Package(Case):
    """Made once, and unpacked into an empty root."""

    @classmethod
    def setUpClass(cls):
        needs("dpkg-deb")
        needs("dpkg-shlibdeps")
        cls.scratch = tempfile.TemporaryDirectory()
        cls.addClassCleanup(cls.scratch.cleanup)
        folder = pathlib.Path(cls.scratch.name)
        made = run(os.environ["VREL_CPACK"], "-G", "DEB", "-B", folder / "made", cwd=BUILD)
        packages = list((folder / "made").glob("*.deb"))
        assert made.returncode == 0 and len(packages) == 1, made.stdout + made.stderr
        cls.package = packages[0]
        cls.root = folder / "root"
        subprocess.run(["dpkg-deb", "--extract", str(cls.package), str(cls.root)], check=True)

    def field(self, name: str) -> str:
        return run("dpkg-deb", "--field", self.package, name).stdout.strip()

    def outside(self, **more: str) -> dict[str, str]:
        """An environment that knows nothing of the tree."""
        return {"PATH": "/usr/bin:/bin", "HOME": self.scratch.name, "LANG": "C.UTF-8", **more}

    def test_holds_the_programs_and_what_belongs_to_them(self):
        files = {str(path.relative_to(self.root)) for path in self.root.rglob("*") if path.is_file()}
        for file in ("bin/vrel", "bin/vrel-render", "libexec/vrel/vrel-plugin-host", "share/applications/vrel.desktop",
                     "share/mime/packages/vrel.xml", "share/metainfo/vrel.metainfo.xml",
                     "share/icons/hicolor/scalable/apps/vrel.svg",
                     "share/icons/hicolor/scalable/mimetypes/application-x-vrel-setlist.svg",
                     "share/man/man1/vrel.1.gz", "share/man/man1/vrel-render.1.gz", "share/man/man5/vrel.5.gz",
                     "share/bash-completion/completions/vrel-render", "share/vrel/demo/demo.vrel",
                     "share/vrel/demo/demo.mid", "share/doc/vrel/copyright", "share/doc/vrel/changelog.gz"):
            self.assertIn("usr/" + file, files)

    def test_depends_on_the_libraries_and_on_every_qml_module_that_is_imported(self):
        depends = {re.split(r"[ (]", part.strip())[0] for part in self.field("Depends").split(",")}
        self.assertIn("libc6", depends)
        self.assertIn("liblilv-0-0", depends)
        imports = set()
        for file in (ROOT / "src" / "console" / "window" / "qml").rglob("*.qml"):
            imports |= set(re.findall(r"^import (Qt[\w.]+)", file.read_text(encoding="utf-8"), re.M))
        self.assertIn("QtQuick", imports)
        for name in imports:
            self.assertIn("qml6-module-" + name.lower().removesuffix(".basic").replace(".", "-"), depends)

    def test_recommends_a_sound_server_and_the_instruments_of_the_demo(self):
        self.assertIn("jackd2", self.field("Recommends"))
        self.assertIn("mda-lv2", self.field("Recommends"))

    def test_its_programs_know_their_version(self):
        for program in ("vrel", "vrel-render"):
            done = run(self.root / "usr" / "bin" / program, "--version", env=self.outside())
            self.expect_success(done)
            self.assertEqual(done.stdout, f"{program} {self.field('Version')}\n")

    def test_plays_the_demo_from_there_with_its_own_plug_in_host(self):
        listed = run(self.root / "usr" / "bin" / "vrel-render", "--list-plugins", env=self.outside()).stdout
        if "setBfree" not in listed or "MDA" not in listed:
            raise unittest.SkipTest("the plug-ins of the demo are not installed")
        demo = self.root / "usr" / "share" / "vrel" / "demo"
        sound, events = pathlib.Path(self.scratch.name, "demo.wav"), pathlib.Path(self.scratch.name, "demo.jsonl")
        done = run(self.root / "usr" / "bin" / "vrel-render", "--out", sound, "--events", events,
                   demo / "demo.vrel", demo / "demo.mid", env=self.outside())
        self.expect_success(done)
        lines = [json.loads(line) for line in events.read_text(encoding="utf-8").splitlines()]
        kinds = [line["kind"] for line in lines]
        self.assertIn("sandbox", kinds, "a plug-in ran in a process of its own")
        self.assertNotIn("crash", kinds)
        self.assertEqual(kinds.count("song"), 3)
        recorded = sound.read_bytes()
        begin = recorded.index(b"data") + 8
        samples = array.array("f", recorded[begin : begin + 4 * 2 * 48000 * 20])
        self.assertGreater(max(samples), 0.01)

    def test_is_clean(self):
        needs("lintian")
        as_root = ["--allow-root"] if os.geteuid() == 0 else []
        done = run("lintian", *as_root, "--fail-on", "error,warning", "--tag-display-limit", "0", self.package)
        self.expect_success(done)


if __name__ == "__main__":
    program = unittest.main(exit=False, verbosity=2)
    if not program.result.wasSuccessful():
        sys.exit(1)
    sys.exit(77 if program.result.skipped else 0)
