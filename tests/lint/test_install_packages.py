# SPDX-License-Identifier: GPL-3.0-or-later
"""What is installed for running and for testing, with stand-ins for the package manager: never at the cost of a package
that is there, and never a sound server for running."""

import os
import pathlib
import shutil
import subprocess
import tempfile
import unittest

SCRIPT = pathlib.Path(__file__).resolve().parents[2] / "tools" / "install_packages.sh"
SOUND_SERVERS = {"jackd", "jackd1", "jackd2", "pulseaudio", "pipewire", "pipewire-pulse", "pipewire-jack"}

DPKG_QUERY = """#!/bin/sh
for package; do :; done
grep --quiet --line-regexp --fixed-strings -- "$package" "$FOLDER/installed" && echo installed
"""
# Refuses, with all that is asked for beside it, what would have to remove something.
APT_GET = """#!/bin/sh
echo "$*" >>"$FOLDER/asked"
[ "$1" = update ] && exit 0
shift
for word; do
  case "$word" in
    --*) continue ;;
  esac
  grep --quiet --line-regexp --fixed-strings -- "$word" "$FOLDER/refused" && exit 100
done
for word; do
  case "$word" in
    --*) continue ;;
  esac
  echo "$word" >>"$FOLDER/installed"
done
"""


class InstallPackages(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = pathlib.Path(folder.name).resolve()
        (self.folder / "tree/tools").mkdir(parents=True)
        shutil.copy(SCRIPT, self.folder / "tree/tools")
        for name, text in (("dpkg-query", DPKG_QUERY), ("apt-get", APT_GET), ("sudo", '#!/bin/sh\nexec "$@"\n')):
            program = self.folder / "bin" / name
            program.parent.mkdir(exist_ok=True)
            program.write_text(text, encoding="utf-8")
            program.chmod(0o755)
        self.refuse()
        (self.folder / "installed").touch()

    def refuse(self, *packages: str) -> None:
        (self.folder / "refused").write_text("".join(package + "\n" for package in packages), encoding="utf-8")

    def lines_of(self, name: str) -> list[str]:
        file = self.folder / name
        return file.read_text(encoding="utf-8").splitlines() if file.exists() else []

    def install(self, *arguments: str) -> subprocess.CompletedProcess:
        (self.folder / "asked").unlink(missing_ok=True)
        environment = {"PATH": f"{self.folder / 'bin'}:{os.environ['PATH']}", "FOLDER": str(self.folder)}
        return subprocess.run([self.folder / "tree/tools/install_packages.sh", *arguments], env=environment,
                              cwd=self.folder / "tree", capture_output=True, text=True, check=False)

    def test_every_installation_forbids_removing(self):
        self.refuse("pulseaudio")
        self.install("--testing")
        installations = [line for line in self.lines_of("asked") if line.startswith("install ")]
        self.assertGreater(len(installations), 2)
        for line in installations:
            self.assertIn(" --no-remove ", line)

    def test_running_needs_no_sound_server_and_no_test_tool(self):
        self.assertEqual(self.install().returncode, 0)
        installed = set(self.lines_of("installed"))
        self.assertIn("liblilv-dev", installed)
        self.assertFalse(installed & SOUND_SERVERS)
        self.assertFalse(installed & {"clang", "libgtest-dev", "xvfb", "jalv"})

    def test_nothing_is_asked_for_when_everything_is_there(self):
        for arguments in ([], ["--testing"]):
            self.install(*arguments)
            again = self.install(*arguments)
            self.assertEqual((again.returncode, again.stdout, self.lines_of("asked")), (0, "", []))

    def test_the_tests_do_without_what_would_remove_something_and_name_it(self):
        self.refuse("pulseaudio")
        done = self.install("--testing")
        self.assertEqual(done.returncode, 0, done.stderr)
        self.assertIn("cannot be installed without removing something: pulseaudio\n", done.stdout)
        self.assertEqual(done.stdout.count("cannot be installed"), 1)
        self.assertNotIn("pulseaudio", self.lines_of("installed"))
        self.assertIn("jackd2", self.lines_of("installed"))

    def test_what_running_needs_and_cannot_be_had_fails_with_its_name(self):
        self.refuse("liblilv-dev")
        done = self.install()
        self.assertEqual(done.returncode, 1)
        self.assertIn("liblilv-dev", done.stderr)

    def test_what_was_refused_is_not_asked_for_at_each_run(self):
        self.refuse("pulseaudio")
        self.install("--testing")
        self.install("--testing")
        self.assertEqual(self.lines_of("asked"), [])


if __name__ == "__main__":
    unittest.main()
