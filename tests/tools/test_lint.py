"""Tests of what `./dev lint` decides: what it prints of a check, and which commit counts as looked at.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import os
import pathlib
import subprocess
import tempfile
import unittest

from scripts import ROOT


class Lint(unittest.TestCase):
    """Runs functions of tools/lib/lint.sh in a repository of its own."""

    def setUp(self):
        owner = tempfile.TemporaryDirectory()
        self.addCleanup(owner.cleanup)
        self.root = pathlib.Path(owner.name)
        os.symlink(ROOT / "tools", self.root / "tools")
        (self.root / ".ci").mkdir()
        (self.root / ".gitignore").write_text("tools\nbuild\n.gitconfig\n")
        self.git("init", "-q")
        self.commit("first")

    def git(self, *arguments):
        identity = ("-c", "user.name=Test", "-c", "user.email=test@example.com")
        return subprocess.run(["git", *identity, *arguments], cwd=self.root, check=True, capture_output=True, text=True).stdout.strip()

    def commit(self, text):
        (self.root / "file").write_text(text)
        self.git("add", "-A")
        self.git("commit", "-q", "-m", text)
        return self.git("rev-parse", "HEAD")

    def bash(self, script):
        libraries = "".join(f'source "$ROOT/tools/lib/{name}.sh"\n' for name in ("common", "setup", "files", "host", "lint"))
        return subprocess.run(["bash", "-c", f"{libraries}CHANGED=0\n{script}"], capture_output=True, text=True, check=False,
                              stdin=subprocess.DEVNULL, env={**os.environ, "ROOT": str(self.root)})

    def test_a_check_without_findings_is_one_line_with_its_time(self):
        done = self.bash("Check_it() { echo noise; }; RunCheck it")
        self.assertRegex(done.stdout, r"^it           OK {5,}\d+\.\d s\n$")
        self.assertEqual(done.returncode, 0)

    def test_a_check_may_say_what_it_looked_at(self):
        self.assertRegex(self.bash("Check_it() { Remark '3 of 7 files'; }; RunCheck it").stdout, r" s; 3 of 7 files\n$")

    def test_findings_follow_the_line_of_a_check_that_fails(self):
        done = self.bash("Check_it() { echo 'a.cpp:1: wrong'; return 3; }; RunCheck it")
        self.assertRegex(done.stdout, r"^it           FAIL +\d+\.\d s\na\.cpp:1: wrong\n$")
        self.assertNotEqual(done.returncode, 0)

    def test_without_a_mark_no_commit_counts_as_looked_at(self):
        self.assertNotEqual(self.bash("MarkedCommit").returncode, 0)

    def test_the_marked_commit_counts_as_looked_at(self):
        commit = self.git("rev-parse", "HEAD")
        self.assertEqual(self.bash("Mark").returncode, 0)
        self.commit("second")
        self.assertEqual(self.bash("MarkedCommit").stdout.strip(), commit)
        self.assertIn("SPDX-License-Identifier", (self.root / ".ci/fully-linted").read_text())

    def test_a_commit_that_this_clone_does_not_have_does_not_count(self):
        (self.root / ".ci/fully-linted").write_text(40 * "a" + "\n")
        self.assertNotEqual(self.bash("MarkedCommit").returncode, 0)

    def test_what_is_not_committed_is_not_marked(self):
        (self.root / "file").write_text("changed")
        done = self.bash("Mark")
        self.assertEqual(done.returncode, 1)
        self.assertIn("commit first", done.stderr)
        self.assertFalse((self.root / ".ci/fully-linted").exists())

    def test_all_files_are_chosen_where_the_commit_is_not_known(self):
        choose = "CompiledFiles() { echo all: \"$@\"; }; ConfigureHost() { :; }; CHANGED=1; ChooseFiles tidy; echo \"${CHOSEN[@]}\""
        self.assertEqual(self.bash(choose).stdout, "all: tidy\n")

    def test_what_differs_from_the_marked_commit_is_chosen(self):
        self.bash("Mark")
        choose = ("CompiledFiles() { echo \"$@\"; }; ConfigureHost() { cat \"$ROOT/file\"; }; CHANGED=1; ChooseFiles tidy; "
                  "echo \"${CHOSEN[@]}\"")
        self.assertEqual(self.bash(choose).stdout, f"tidy --unlike {self.root}/build/linted\n")
        # The copy is of the marked commit.
        self.commit("second")
        self.bash(choose)
        self.assertEqual((self.root / "build/log/linted-tidy-configure.log").read_text(), "first")
        self.assertEqual((self.root / "build/log/host-tidy-configure.log").read_text(), "second")

    def test_a_list_of_files_that_cannot_be_made_is_no_list_without_files(self):
        choose = "CompiledFiles() { return 3; }; ConfigureHost() { :; }; ChooseFiles tidy"
        self.assertNotEqual(self.bash(choose).returncode, 0)


class Arguments(unittest.TestCase):
    def lint(self, *arguments):
        done = subprocess.run([ROOT / "dev", "lint", *arguments], capture_output=True, text=True, check=False, stdin=subprocess.DEVNULL)
        return done.returncode, done.stderr

    def test_an_unknown_check_is_a_message(self):
        status, message = self.lint("frobnicate")
        self.assertEqual(status, 2)
        self.assertIn("there is no check 'frobnicate'; the checks are: format", message)

    def test_a_mark_takes_everything(self):
        for arguments in (("--mark", "--changed"), ("--mark", "tidy")):
            self.assertEqual(self.lint(*arguments), (2, "dev: lint: --mark takes all checks of all files\n"))


if __name__ == "__main__":
    unittest.main()
