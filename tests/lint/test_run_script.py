# SPDX-License-Identifier: GPL-3.0-or-later
"""What ./run does with a display and without one, with stubs for all that it starts."""

import json
import os
import pathlib
import shutil
import socket
import subprocess
import tempfile
import unittest

RUN = pathlib.Path(__file__).resolve().parents[2] / "run"

LIBRARY = 'build() { echo "build $*"; }\n'
STUB = '#!/bin/sh\necho "$(basename "$0") $*"\n'
X_SERVER = '#!/bin/sh\ntest "$DISPLAY" = :7\n'


class RunScript(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name).resolve()
        self.root = self.folder / "tree"
        self.write("tree/tools/shell_library.sh", LIBRARY)
        for program in ("tools/install_packages.sh", "build/release/apps/vrel/vrel",
                        "build/release/apps/vrel-render/vrel-render"):
            self.write("tree/" + program, STUB)
        self.write("bin/xdotool", X_SERVER)
        shutil.copy(RUN, self.root / "run")
        self.recent = self.folder / "home/.local/state/vrel/recent_setlists.json"

    def write(self, path, text):
        place = self.folder / path
        place.parent.mkdir(parents=True, exist_ok=True)
        place.write_text(text, encoding="utf-8")
        place.chmod(0o755)

    def run_with(self, **variables):
        environment = {"PATH": f"{self.folder / 'bin'}:{os.environ['PATH']}", "HOME": str(self.folder / "home")}
        done = subprocess.run([self.root / "run"], env=environment | variables, cwd=self.folder, check=True,
                              stdout=subprocess.PIPE, text=True)
        return done.stdout.splitlines()

    def assert_opens_console(self, lines):
        self.assertEqual(lines, ["install_packages.sh ", "build release vrel", "vrel "])

    def assert_renders_demo(self, lines):
        self.assertEqual(lines, [
            "install_packages.sh ", "build release vrel-render",
            "vrel-render --out out/demo.wav --events out/demo.jsonl demo/demo.vrel demo/demo.mid"])
        self.assertTrue((self.root / "out").is_dir())
        self.assertFalse(self.recent.exists())

    def test_without_a_display_the_demo_is_rendered(self):
        self.assert_renders_demo(self.run_with())
        self.assert_renders_demo(self.run_with(DISPLAY="", WAYLAND_DISPLAY=""))

    def test_a_display_that_no_server_answers_is_ignored(self):
        self.assert_renders_demo(self.run_with(DISPLAY=":99"))
        self.assert_renders_demo(self.run_with(WAYLAND_DISPLAY="wayland-0", XDG_RUNTIME_DIR=str(self.folder)))

    def test_with_an_x_server_the_console_opens(self):
        self.assert_opens_console(self.run_with(DISPLAY=":7"))
        self.assert_opens_console(self.run_with(DISPLAY=":7", WAYLAND_DISPLAY="wayland-0"))

    def test_with_a_compositor_the_console_opens(self):
        with socket.socket(socket.AF_UNIX) as compositor:
            compositor.bind(str(self.folder / "wayland-1"))
            self.assert_opens_console(self.run_with(WAYLAND_DISPLAY="wayland-1", XDG_RUNTIME_DIR=str(self.folder)))
            self.assert_opens_console(self.run_with(WAYLAND_DISPLAY=str(self.folder / "wayland-1")))

    def test_on_a_first_run_the_demo_is_the_recent_setlist(self):
        self.run_with(DISPLAY=":7")
        self.assertEqual(json.loads(self.recent.read_text(encoding="utf-8")), [str(self.root / "demo/demo.vrel")])
        self.recent.write_text("[]", encoding="utf-8")
        self.run_with(DISPLAY=":7")
        self.assertEqual(self.recent.read_text(encoding="utf-8"), "[]")

    def test_the_recent_setlists_are_where_the_program_looks(self):
        self.run_with(DISPLAY=":7", XDG_STATE_HOME=str(self.folder / "state"))
        self.assertTrue((self.folder / "state/vrel/recent_setlists.json").exists())
        self.assertFalse(self.recent.exists())
        # The program ignores a relative path.
        self.run_with(DISPLAY=":7", XDG_STATE_HOME="state")
        self.assertTrue(self.recent.exists())


if __name__ == "__main__":
    unittest.main()
