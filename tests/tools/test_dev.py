"""Tests of ./dev and of the shell functions behind it that decide something.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import json
import os
import pathlib
import re
import shlex
import subprocess
import tempfile
import unittest

from scripts import ROOT


def run(*command, **variables):
    return subprocess.run(
        [str(part) for part in command],
        capture_output=True,
        text=True,
        check=False,
        stdin=subprocess.DEVNULL,
        env={**os.environ, **variables},
    )


class FrontDoor(unittest.TestCase):
    def test_without_a_command_it_lists_every_command(self):
        result = run(ROOT / "dev")
        self.assertEqual(result.returncode, 0)
        for command in (ROOT / "tools" / "commands").glob("*.sh"):
            self.assertRegex(result.stdout, rf"(?m)^  {command.stem} +[A-Z].{{10,}}$")

    def test_help_is_the_same(self):
        self.assertEqual(run(ROOT / "dev", "help").stdout, run(ROOT / "dev").stdout)

    def test_help_of_a_command_shows_its_usage(self):
        for arguments in (("help", "build"), ("build", "--help")):
            result = run(ROOT / "dev", *arguments)
            self.assertEqual(result.returncode, 0)
            self.assertIn("usage: ./dev build [firmware|host|tables|all]", result.stdout)

    def test_an_unknown_command_is_a_message(self):
        for name in ("frobnicate", "../lib/common", "help frobnicate"):
            with self.subTest(name=name):
                result = run(ROOT / "dev", *name.split())
                self.assertEqual((result.returncode, result.stdout), (2, ""))
                self.assertIn("there is no command", result.stderr)

    def test_an_unknown_argument_is_a_message(self):
        for command in ("setup", "build", "run", "demo", "test", "format", "lint"):
            with self.subTest(command=command):
                result = run(ROOT / "dev", command, "--frobnicate")
                self.assertEqual((result.returncode, result.stdout), (2, ""))
                self.assertIn("--frobnicate", result.stderr)

    def test_a_tool_chain_that_is_not_known_is_a_message(self):
        for option, wanted in (("--arch", "X64 AARCH64 RISCV64"), ("--toolchain", "GCC5 CLANG38 CLANGPDB GCC49 GCC5_RISCV64"), ("--target", "DEBUG RELEASE")):
            for value in (("RISCV",), ("GCC5 CLANG38",), ("",), ()):
                with self.subTest(option=option, value=value):
                    result = run(ROOT / "dev", "build", "firmware", option, *value)
                    self.assertEqual((result.returncode, result.stdout), (2, ""))
                    self.assertIn(f"{option} takes one of {wanted}", result.stderr)

    def test_a_machine_that_is_not_known_is_a_message(self):
        result = run(ROOT / "dev", "run", "--arch", "riscv")
        self.assertEqual((result.returncode, result.stdout), (2, ""))
        self.assertIn("choose from 'X64', 'AARCH64'", result.stderr)

    def test_a_table_that_cannot_be_read_is_a_message(self):
        result = run(ROOT / "dev", "run", "--table", "/no/such/table.bin")
        self.assertEqual((result.returncode, result.stdout), (2, ""))
        self.assertIn("cannot read /no/such/table.bin: No such file or directory", result.stderr)

    def test_a_folder_in_place_of_a_table_is_a_message(self):
        result = run(ROOT / "dev", "run", "--table", ROOT)
        self.assertEqual(result.returncode, 2)
        self.assertIn("Is a directory", result.stderr)

    def test_trees_of_the_wrong_kind_are_a_message(self):
        with tempfile.TemporaryDirectory() as folder:
            for variable, kind in (("EDK2_DIR", "EDK II"), ("EXPAT_DIR", "expat")):
                with self.subTest(variable=variable):
                    result = run(ROOT / "dev", "setup", **{variable: folder})
                    self.assertEqual(result.returncode, 1)
                    self.assertRegex(result.stderr, f"{variable}={folder} is no {kind}")


    def test_a_tree_without_its_submodules_is_a_message(self):
        with tempfile.TemporaryDirectory() as folder:
            tree = pathlib.Path(folder)
            for name in ("edksetup.sh", "MdePkg/MdePkg.dec", "BaseTools/x", ".git/x", "MdePkg/there/x"):
                (tree / name).parent.mkdir(parents=True, exist_ok=True)
                (tree / name).touch()
            paths = ("MdePkg/there", "MdePkg/away", "CryptoPkg/away", "BaseTools/away")
            (tree / ".gitmodules").write_text("".join(f'[submodule "x"]\n\tpath = {path}\n' for path in paths), encoding="utf-8")
            result = run(ROOT / "dev", "setup", EDK2_DIR=folder)
        self.assertEqual(result.returncode, 1)
        self.assertIn(f"lacks submodules: git -C {folder} submodule update --init MdePkg/away BaseTools/away", result.stderr)


class ShellFunctions(unittest.TestCase):
    """Runs functions of tools/lib in a folder that stands for the repository."""

    def setUp(self):
        owner = tempfile.TemporaryDirectory()
        self.addCleanup(owner.cleanup)
        self.root = pathlib.Path(owner.name)
        os.symlink(ROOT / "tools", self.root / "tools")
        for package in ("TvqSmbiosPkg", "TvqPlatformPkg"):
            (self.root / package).mkdir()

    def bash(self, script, **variables):
        libraries = "".join(f'source "$ROOT/tools/lib/{name}.sh"\n' for name in ("common", "setup", "firmware", "host"))
        return run("bash", "-c", libraries + script, ROOT=str(self.root), **variables)

    def answer(self, condition, **variables):
        result = self.bash(f"if {condition}; then echo yes; else echo no; fi", **variables)
        self.assertEqual(result.returncode, 0, result.stderr)
        return result.stdout.strip()

    def set_age(self, path, seconds):
        path.touch()
        moment = 1_900_000_000 - seconds
        os.utime(path, (moment, moment))

    def test_sources_newer_than_the_last_build_are_noticed(self):
        stamp, source = self.root / "stamp", self.root / "TvqSmbiosPkg" / "entry.cpp"
        changed = f"SourcesChanged {stamp}"
        trees = {"EDK2_DIR": str(self.root), "EXPAT_DIR": str(self.root)}
        self.assertEqual(self.answer(changed, **trees), "yes")
        self.set_age(stamp, 10)
        self.set_age(source, 20)
        self.set_age(source.parent, 20)
        self.assertEqual(self.answer(changed, **trees), "no")
        self.set_age(source, 5)
        self.assertEqual(self.answer(changed, **trees), "yes")

    def test_a_source_that_was_removed_is_noticed(self):
        stamp, source = self.root / "stamp", self.root / "TvqPlatformPkg" / "gone.cpp"
        source.touch()
        source.unlink()
        self.set_age(stamp, 1_900_000_000 - 1_000_000_000)
        self.assertEqual(self.answer(f"SourcesChanged {stamp}", EDK2_DIR="/nowhere", EXPAT_DIR="/nowhere"), "yes")

    def tools_def(self, *toolchains):
        """A tree that defines tool chains, each with its architecture."""
        definitions = self.root / "BaseTools" / "Conf" / "tools_def.template"
        definitions.parent.mkdir(parents=True, exist_ok=True)
        definitions.write_text("".join(f"RELEASE_{name}_CC_FLAGS = -Os\n" for name in toolchains), encoding="utf-8")
        return {"EDK2_DIR": str(self.root)}

    OLD = ("GCC5_X64", "CLANG38_X64", "CLANGDWARF_X64", "CLANGPDB_X64", "GCC49_AARCH64", "GCC49_X64", "GCC5_RISCV64")
    NEW = ("GCC_X64", "GCC5_X64", "GCCNOLTO_AARCH64", "GCC49_AARCH64", "CLANGDWARF_X64", "CLANGPDB_X64", "GCC_RISCV64")

    def test_the_first_tool_chain_of_an_architecture_makes_the_images_that_boot(self):
        for names, wanted in ((self.OLD, ["GCC5", "GCC49"]), (self.NEW, ["GCC", "GCCNOLTO"])):
            tree = self.tools_def(*names)
            self.assertEqual(self.bash("BootingToolchains", **tree).stdout.split(), wanted)
            named = [f"X64 {wanted[0]}", f"AARCH64 {wanted[1]}", f"RISCV64 {wanted[0]}"]
            self.assertEqual(self.bash("NameBootingImages", **tree).stdout.splitlines(), named)

    def test_every_tool_chain_belongs_to_one_architecture(self):
        script = 'for t in $(AllToolchains); do echo "$t $(ArchitectureOf $t)"; done'
        for names, wanted in (
            (self.OLD, ["GCC5 X64", "CLANG38 X64", "CLANGPDB X64", "GCC49 AARCH64", "GCC5_RISCV64 RISCV64"]),
            (self.NEW, ["GCC X64", "CLANGDWARF X64", "CLANGPDB X64", "GCCNOLTO AARCH64", "GCC_RISCV64 RISCV64"]),
        ):
            tree = self.tools_def(*names)
            self.assertEqual(self.bash(script, **tree).stdout.splitlines(), wanted)
            self.assertEqual(self.bash("ArchitectureOf GCC4", **tree).stdout, "")

    def test_a_step_keeps_its_output_and_says_how_long_it_took(self):
        result = self.bash("Step 'Doing it' it echo the output")
        self.assertEqual((result.returncode, result.stdout), (0, ""))
        self.assertRegex(result.stderr, r"^== Doing it \.\.\. \d+\.\d s\n$")
        self.assertEqual((self.root / "build" / "log" / "it.log").read_text(), "the output\n")

    def failure(self, script):
        """What a step prints whose command runs the script and fails."""
        result = self.bash(f"Step 'Doing it' it bash -c {shlex.quote(script + '; exit 3')}")
        self.assertEqual(result.returncode, 3)
        return result.stderr

    def test_a_step_that_fails_shows_the_end_of_its_output(self):
        shown = self.failure("seq 100")
        self.assertRegex(shown, r"(?s)failed after .*\n81\n82\n.*100\ndev: the whole output is in .*/it\.log\n")
        self.assertNotIn("\n80\n", shown)

    def test_only_the_errors_are_shown_when_there_are_any(self):
        for error in ("one.cpp:3:1: error: no such thing", "build.py... : error F002: Failed", "x.o: undefined reference to y"):
            with self.subTest(error=error):
                shown = self.failure(f"seq 30; echo '{error}'; seq 30; echo two.cpp:1: warning: odd")
                self.assertRegex(shown, rf" s\n{re.escape(error)}\ntwo\.cpp:1: warning: odd\ndev: the whole output")

    def test_of_many_errors_the_first_are_shown(self):
        shown = self.failure("for i in $(seq 50); do echo $i.cpp:1:1: error: wrong; done")
        self.assertIn("\n20.cpp:", shown)
        self.assertNotIn("\n21.cpp:", shown)

    def test_what_the_linker_says_of_every_image_is_no_warning(self):
        self.assertNotIn("RWX", self.failure("echo ld: warning: a.dll has a LOAD segment with RWX permissions; echo a.c: error: b"))

    def test_the_command_lines_of_compilers_are_not_shown(self):
        commands = ('"gcc" -MMD -c a.c', "/usr/bin/ccache /usr/bin/c++ -O2 -c b.cpp", "[3/7] /usr/bin/cc -c c.c")
        shown = self.failure("".join(f"echo {shlex.quote(command)}; " for command in commands) + "echo killed")
        self.assertRegex(shown, r" s\nkilled\ndev: the whole output")

    def test_a_verbose_step_shows_its_output_at_once(self):
        result = self.bash("Step 'Doing it' it echo the output", VERBOSE="1")
        self.assertRegex(result.stderr, r"^== Doing it \.\.\.\nthe output\n== Doing it: \d")

    def test_a_step_that_is_only_announced_when_slow_stays_silent_when_fast(self):
        result = self.bash("StepIfSlow 'Doing it' it true")
        self.assertEqual((result.returncode, result.stderr), (0, ""))

    def test_a_step_that_turns_out_slow_is_announced(self):
        result = self.bash("StepIfSlow 'Doing it' it sleep 1.5")
        self.assertRegex(result.stderr, r"^== Doing it \.\.\. 1\.\d s\n$")

    def test_a_fast_failure_is_announced_with_its_output(self):
        result = self.bash("StepIfSlow 'Doing it' it bash -c 'echo why; exit 3'")
        self.assertEqual(result.returncode, 3)
        self.assertRegex(result.stderr, r"(?s)^== Doing it \.\.\. failed after .*\nwhy\ndev: the whole output")

    def test_who_waits_for_another_run_says_so(self):
        lock = self.root / "build" / "host.lock"
        other = "exec 9>$ROOT/build/host.lock; flock 9; touch $ROOT/held; sleep 1"
        result = self.bash(
            f"mkdir -p $ROOT/build; ({other}) & until [[ -f $ROOT/held ]]; do sleep 0.1; done; Lock {lock}; echo mine; Unlock"
        )
        self.assertEqual((result.returncode, result.stdout), (0, "mine\n"))
        self.assertEqual(result.stderr, f"dev: waiting for another ./dev that works on {lock.with_suffix('')}\n")

    def test_a_lock_that_is_free_is_taken_without_a_word(self):
        result = self.bash(f"Lock {self.root}/build/host.lock; Unlock; Lock {self.root}/build/host.lock; echo mine")
        self.assertEqual((result.returncode, result.stdout, result.stderr), (0, "mine\n", ""))

    def test_a_missing_package_is_named(self):
        result = self.bash("MissingPackages bash no-such-package-anywhere")
        self.assertEqual(result.stdout, "no-such-package-anywhere\n")

    def test_the_package_list_holds_names_only(self):
        result = self.bash("WantedPackages")
        self.assertGreater(len(result.stdout.splitlines()), 10)
        for name in result.stdout.splitlines():
            self.assertRegex(name, r"^[a-z0-9][a-z0-9.+-]+$")

    def test_without_root_and_sudo_it_says_what_to_run(self):
        result = self.bash("id() { echo 1000; }\nsudo() { return 1; }\nRequireRoot mtools ovmf")
        self.assertEqual(result.returncode, 1)
        self.assertIn("apt-get install --no-install-recommends mtools ovmf", result.stderr)

    def test_a_path_with_a_blank_is_refused(self):
        result = self.bash("RequirePlainPath 'This clone' '/home/my clone'")
        self.assertEqual(result.returncode, 1)
        self.assertIn("has a blank in its path", result.stderr)

    def configured(self, trees):
        """Whether build/host, configured for the trees /e and /x, serves for these."""
        keep = "export EDK2_DIR=/e EXPAT_DIR=/x; mkdir -p $ROOT/build/host; touch $ROOT/build/host/build.ninja\n"
        if not (self.root / "CMakePresets.json").exists():
            (self.root / "CMakePresets.json").write_text("{}")
            self.bash(keep + "Configuration host >$ROOT/build/host/.configuration")
        return self.answer("Configured host", **trees)

    def test_a_build_for_other_source_trees_is_configured_anew(self):
        self.assertEqual(self.configured({"EDK2_DIR": "/e", "EXPAT_DIR": "/x"}), "yes")
        self.assertEqual(self.configured({"EDK2_DIR": "/other", "EXPAT_DIR": "/x"}), "no")

    def test_a_build_by_other_presets_is_configured_anew(self):
        trees = {"EDK2_DIR": "/e", "EXPAT_DIR": "/x"}
        self.assertEqual(self.configured(trees), "yes")
        (self.root / "CMakePresets.json").write_text('{ "version": 6 }')
        self.assertEqual(self.configured(trees), "no")


class WithEverythingSetUp(unittest.TestCase):
    """Runs ./dev in a folder that stands for the repository, where all that setup would fetch or build is there."""

    PACKAGES = "bash\n"
    SOURCES = (
        "edk2/edksetup.sh",
        "edk2/MdePkg/MdePkg.dec",
        *(f"edk2/BaseTools/Source/C/bin/{tool}" for tool in ("EfiRom", "GenCrc32", "GenFfs", "GenFv")),
        *(f"edk2/BaseTools/Source/C/bin/{tool}" for tool in ("GenFw", "GenSec", "VfrCompile", "VolInfo")),
        "expat/expat/lib/xmlparse.c",
        "expat/expat/lib/expat.h",
    )

    def setUp(self):
        owner = tempfile.TemporaryDirectory()
        self.addCleanup(owner.cleanup)
        self.root = pathlib.Path(owner.name)
        self.cache = self.root / "cache"
        for name in self.SOURCES:
            self.write(self.cache / name, "#!/bin/sh\n")
        (self.root / "tools").mkdir()
        for path in (ROOT / "tools").iterdir():
            os.symlink(path, self.root / "tools" / path.name)
        os.symlink(ROOT / "dev", self.root / "dev")
        self.write(self.root / "tools" / "packages.txt", self.PACKAGES)
        self.write(self.root / "CMakePresets.json", "{}")

    def write(self, path, text):
        """A file that can be run."""
        path.parent.mkdir(parents=True, exist_ok=True)
        path.unlink(missing_ok=True)
        path.write_text(text, encoding="utf-8")
        path.chmod(0o755)
        return path

    def environment(self):
        return {"ROOT": str(self.root), "TVQ_CACHE_DIR": str(self.cache), "EDK2_DIR": "", "EXPAT_DIR": ""}

    def dev(self, *arguments):
        return run(self.root / "dev", *arguments, **self.environment())


class Slots(WithEverythingSetUp):
    # Has a record for each module whose locator begins with DIMM_.
    TVQ = """#!/usr/bin/env python3
import json, pathlib, sys
command, form, option, table = sys.argv[1:]
assert (command, form, option) == ("show", "--json", "--table"), sys.argv
count = pathlib.Path(table).read_bytes().count(b"DIMM_")
print(json.dumps({"devices": [{"handle": 0x1100 + i, "nameRule": "slot"} for i in range(count)]}))
"""

    def setUp(self):
        super().setUp()
        self.write(self.root / "build" / "host" / "bin" / "tvq", self.TVQ)
        self.write(self.root / "build" / "host" / "build.ninja", "build all: phony\n")
        libraries = "".join(f'source "$ROOT/tools/lib/{name}.sh"\n' for name in ("common", "setup", "host"))
        configure = libraries + 'LocateSources; Configuration host >"$BUILD/host/.configuration"'
        self.assertEqual(run("bash", "-c", configure, **self.environment()).stderr, "")

    def slots(self, *machines):
        """What the command says of machines with so many slots that a rule names, and that none does."""
        lines = [
            {"sockets": [["CPU1", True]], "slots": [["DIMM_A", "", True]] * named + [["X", "", False]] * others}
            for named, others in machines
        ]
        file = self.write(self.root / "machines.jsonl", "".join(json.dumps(line) + "\n" for line in lines))
        return self.dev("slots", file)

    def test_where_nineteen_of_twenty_are_named_it_is_enough(self):
        result = self.slots((10, 0), (9, 1))
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        wanted = ["     19 slot", "      1 no record", "19 of 20 slots are named by a rule: 95.00%"]
        self.assertEqual(result.stdout.splitlines(), wanted)

    def test_where_fewer_are_named_it_fails(self):
        result = self.slots((18, 2))
        self.assertEqual((result.returncode, result.stderr), (1, ""))
        self.assertIn("18 of 20 slots are named by a rule: 90.00%", result.stdout)

    def test_it_wants_one_file(self):
        for arguments in ((), ("/no/such/file",), (ROOT / "dev", ROOT / "dev"), (ROOT,)):
            with self.subTest(arguments=arguments):
                result = self.dev("slots", *arguments)
                self.assertEqual((result.returncode, result.stdout), (2, ""))
                self.assertEqual(result.stderr, "dev: slots: name one file; ./dev help slots tells more\n")


class SetupOfACurrentEdk2(WithEverythingSetUp):
    FETCH = """#!/usr/bin/env bash
echo "$@" >>"$TVQ_CACHE_DIR/fetched"
mkdir "$TVQ_CACHE_DIR/edk2-sid"
echo 2026.08 >"$TVQ_CACHE_DIR/edk2-sid/.tvq-version"
"""

    def setUp(self):
        super().setUp()
        self.write(self.root / "tools" / "fetch_sources.sh", self.FETCH)

    def test_fetches_the_one_of_sid_once_and_says_how_to_build_with_it(self):
        for _ in range(2):
            result = self.dev("setup", "--edk2", "current")
            self.assertEqual((result.returncode, result.stdout), (0, ""), result.stderr)
            self.assertIn(f"dev: EDK II 2026.08: EDK2_DIR={self.cache}/edk2-sid ./dev build\n", result.stderr)
        self.assertEqual((self.cache / "fetched").read_text(encoding="utf-8"), "edk2=sid\n")

    def test_is_fetched_for_whoever_asks_for_it_alone(self):
        self.assertEqual(self.dev("setup").returncode, 0)
        self.assertFalse((self.cache / "fetched").exists())

    def test_no_other_one_can_be_asked_for(self):
        for value in (("newest",), ()):
            with self.subTest(value=value):
                result = self.dev("setup", "--edk2", *value)
                self.assertEqual((result.returncode, result.stderr), (2, "dev: setup: --edk2 takes one of current\n"))


if __name__ == "__main__":
    unittest.main()
