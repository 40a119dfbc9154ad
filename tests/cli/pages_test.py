"""The man page is one that readers of man pages accept, and the completions complete.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import pathlib
import re
import shlex
import shutil
import subprocess
import sys
import tempfile
import unittest

import tables

TVQ = None  # the program, from the command line
PLAIN = {"PATH": "/usr/bin:/bin", "LC_ALL": "C.UTF-8", "MANWIDTH": "80"}


def output(*command, cwd=None):
    done = subprocess.run([str(word) for word in command], capture_output=True, text=True, check=False, env=PLAIN, cwd=cwd)
    return done.stdout, done.stderr, done.returncode


def commands():
    """The commands, as --help lists them."""
    listed = tables.run(TVQ, "--help").decode()
    return re.findall(r"(?m)^  ([a-z]+) ", listed.partition("Subcommands:")[2])


def options(command):
    """The long options of a command, as its --help lists them."""
    return re.findall(r"(?m)^  (?:-\w,)?(--[a-z-]+)", tables.run(TVQ, command, "--help").decode())


class Pages(unittest.TestCase):
    def setUp(self):
        owner = tempfile.TemporaryDirectory()
        self.addCleanup(owner.cleanup)
        self.folder = pathlib.Path(owner.name)

    def page(self, name, *arguments):
        file = self.folder / name
        file.write_bytes(tables.run(TVQ, *arguments))
        return file

    def check(self, program, *command):
        """The program has nothing to say about a page."""
        if shutil.which(program) is None:
            self.skipTest(f"there is no {program}")
        out, complaints, status = output(program, *command)
        self.assertEqual((complaints, status), ("", 0))
        return out


class ManPage(Pages):
    def setUp(self):
        super().setUp()
        self.file = self.page("tvq.1", "man")

    def test_man_and_groff_have_nothing_to_warn_of(self):
        self.check("man", "--warnings", "-E", "UTF-8", "-l", "-Tutf8", "-Z", self.file)
        self.check("groff", "-man", "-ww", "-z", self.file)

    def test_mandoc_warns_of_nothing_but_that_there_is_no_date(self):
        if shutil.which("mandoc") is None:
            self.skipTest("there is no mandoc")
        complaints, _, _ = output("mandoc", "-Tlint", "-Wwarning", self.file)
        self.assertEqual([line for line in complaints.splitlines() if "missing date" not in line], [])

    def test_it_shows_every_option_of_every_command(self):
        text = self.check("man", "-l", "-P", "cat", self.file)
        for command in commands():
            section = text.partition(f"\n   tvq {command}\n")[2].partition("\n   tvq ")[0]
            for option in options(command):
                if option != "--help":
                    self.assertRegex(section, rf"(?m)^ +(-\w, )?{option}\b", f"{command} {option}")
            self.assertRegex(section, r"Exit +status: +0 ")


class Completion(Pages):
    """What a shell offers for `tvq ...`, of which the last word is completed."""

    def setUp(self):
        super().setUp()
        self.bash = self.page("tvq.bash", "completion", "bash")
        self.fish = self.page("tvq.fish", "completion", "fish")
        self.zsh = self.page("_tvq", "completion", "zsh")
        (self.folder / "tables").mkdir()
        (self.folder / "dump.bin").touch()

    def in_bash(self, *words):
        line = " ".join(shlex.quote(word) for word in ("tvq", *words))
        script = f"source {self.bash}; COMP_WORDS=({line}); COMP_CWORD={len(words)}; _tvq; printf '%s\\n' \"${{COMPREPLY[@]}}\""
        out, complaints, status = output("bash", "--norc", "-c", script, cwd=self.folder)
        self.assertEqual((complaints, status), ("", 0))
        return out.split()

    def in_fish(self, *words):
        if shutil.which("fish") is None:
            self.skipTest("there is no fish")
        line = " ".join(("tvq", *words))
        out, complaints, _ = output("fish", "--no-config", "-c", f"source {self.fish}; complete -C {shlex.quote(line)}", cwd=self.folder)
        self.assertEqual(complaints, "")
        return [offer.split("\t")[0].rstrip("/") for offer in out.splitlines()]

    def in_zsh(self, *words):
        """What the script hands to zsh's own functions."""
        if shutil.which("zsh") is None:
            self.skipTest("there is no zsh")
        line = " ".join(shlex.quote(word) for word in ("tvq", *words))
        script = (f"fpath=({self.folder}); autoload -Uz _tvq; _arguments() {{ print -rl -- \"$@\" }}; "
                  f"_describe() {{ print -rl -- \"${{(@P)2}}\" }}; words=({line}); CURRENT={len(words) + 1}; _tvq")
        out, complaints, status = output("zsh", "-f", "-c", script)
        self.assertEqual((complaints, status), ("", 0))
        return out.splitlines()

    def test_scripts_are_sound(self):
        self.check("bash", "-n", self.bash)
        self.check("zsh", "-n", self.zsh)
        self.check("fish", "-n", self.fish)

    def test_commands(self):
        self.assertEqual(self.in_bash("s"), ["show", "slot", "save"])
        self.assertLessEqual(set(commands()), set(self.in_bash("")))
        self.assertEqual(set(self.in_fish("s")), {"show", "slot", "save"})
        self.assertEqual([offer.partition(":")[0] for offer in self.in_zsh("")], commands())

    def test_options_of_every_command(self):
        for command in commands():
            with self.subTest(command=command):
                wanted = set(options(command))
                self.assertEqual({word for word in self.in_bash(command, "--")}, wanted)
                self.assertEqual({word for word in self.in_fish(command, "--") if word.startswith("--")}, wanted)
                specifications = "\n".join(self.in_zsh(command, "--"))
                self.assertEqual(set(re.findall(r"(?m)^(?:\(.*?\)|\*)(--[a-z-]+)\[", specifications)), wanted)

    def test_files_and_folders(self):
        self.assertEqual(self.in_bash("show", "--from-dump", "d"), ["dump.bin"])
        self.assertEqual(self.in_bash("show", "d"), ["dump.bin"])
        self.assertEqual(self.in_bash("save", ""), ["tables"])
        self.assertEqual(self.in_bash("slot", ""), [])
        self.assertEqual(self.in_fish("show", "--from-dump", "d"), ["dump.bin"])
        self.assertEqual(self.in_fish("save", ""), ["tables"])
        self.assertIn(":DIR:_files -/", self.in_zsh("save", ""))

    def test_words(self):
        self.assertEqual(self.in_bash("lint", "--profile", ""), ["all", "driver", "table"])
        self.assertEqual(self.in_bash("lint", "--disable", "locator-c"), ["locator-clash"])
        self.assertEqual(self.in_bash("completion", "z"), ["zsh"])
        self.assertEqual(self.in_fish("lint", "--disable", "locator-c"), ["locator-clash"])
        self.assertEqual(set(self.in_fish("completion", "")), {"bash", "zsh", "fish"})
        self.assertIn(":bash|zsh|fish:(bash zsh fish)", self.in_zsh("completion", ""))

    def test_a_value_behind_an_equals_sign(self):
        # Readline hands it over as a word of its own.
        self.assertEqual(self.in_bash("lint", "--profile", "=", "d"), ["driver"])
        self.assertEqual(self.in_bash("lint", "--profile", "="), ["all", "driver", "table"])

    def test_a_value_that_nobody_can_guess(self):
        self.assertEqual(self.in_bash("show", "--redact-key", ""), [])
        self.assertEqual(self.in_fish("show", "--redact-key", ""), [])


if __name__ == "__main__":
    TVQ = pathlib.Path(sys.argv[1])
    unittest.main(argv=sys.argv[:1])
