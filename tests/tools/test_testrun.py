#!/usr/bin/env python3
"""The scripts that run tests, on programs that crash, hang and fail.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import io
import json
import os
import pathlib
import stat
import subprocess
import sys
import tempfile
import unittest

ROOT = pathlib.Path(__file__).resolve().parent.parent.parent
sys.path.insert(0, str(ROOT / "tools" / "testrun"))
import changed  # noqa: E402
import gtest_program  # noqa: E402
import progress  # noqa: E402
import run_tests  # noqa: E402

# Plays a GoogleTest program: each test does what its name says.
PROGRAM = """#!/usr/bin/env python3
import os, signal, sys, time
NAMES = {names!r}
if "--gtest_list_tests" in sys.argv:
    print("Running main() of the program")
    print("Suite.")
    for name in NAMES:
        print(f"  {{name}}  # GetParam() = 7")
    sys.exit(0)
flags = open(sys.argv[1].split("=")[1], encoding="utf-8").read()
wanted = flags.splitlines()[0].split("=")[1].split(":")
failed = False
for name in NAMES:
    if "Suite." + name not in wanted:
        continue
    print(f"[ RUN      ] Suite.{{name}}", flush=True)
    if name.startswith("Crashes"):
        print("last words", flush=True)
        os.kill(os.getpid(), signal.SIGSEGV)
    if name.startswith("Hangs"):
        time.sleep(60)
    if name.startswith("Fails"):
        failed = True
        print("expected: this")
        print(f"[  FAILED  ] Suite.{{name}}, where GetParam() = 7 (3 ms)", flush=True)
    else:
        print(f"noise of {{name}}")
        print(f"[       OK ] Suite.{{name}} (2 ms)", flush=True)
if {leaks!r}:
    print("ERROR: 7 bytes leaked")
    sys.exit(1)
sys.exit(1 if failed else 0)
"""


class WithProgram(unittest.TestCase):
    def setUp(self):
        self._folder = tempfile.TemporaryDirectory()
        self.folder = pathlib.Path(self._folder.name)
        self.addCleanup(self._folder.cleanup)

    def program(self, *names, leaks=False):
        path = self.folder / "program"
        path.write_text(PROGRAM.format(names=names, leaks=leaks), encoding="utf-8")
        path.chmod(path.stat().st_mode | stat.S_IXUSR)
        return str(path)


class ProgramTest(WithProgram):
    def run_script(self, program, *options, environment=None):
        # What selects the tests of this run selects none of the program's.
        environment = environment or {name: value for name, value in os.environ.items() if name != gtest_program.REGEX}
        results = self.folder / "results.json"
        result = subprocess.run(
            [sys.executable, "-B", gtest_program.__file__, "--results", str(results), *options, program],
            capture_output=True, text=True, check=False, env=environment)
        return result, json.loads(results.read_text(encoding="utf-8"))

    def test_passing_tests_are_counted_and_timed_in_silence(self):
        result, results = self.run_script(self.program("One", "Two"))
        self.assertEqual((result.returncode, result.stdout), (0, "2 tests, 0 failed\n"))
        self.assertEqual(results, {"seconds": {"Suite.One": 0.002, "Suite.Two": 0.002}, "failed": []})

    def test_a_failure_is_shown_with_what_it_printed(self):
        result, results = self.run_script(self.program("One", "Fails", "Two"))
        self.assertEqual(result.returncode, 1)
        self.assertEqual(result.stdout, "[  FAILED  ] Suite.Fails\nexpected: this\n3 tests, 1 failed\n")
        self.assertEqual(results["failed"], ["Suite.Fails"])

    def test_a_crash_fails_its_test_and_the_others_run(self):
        result, results = self.run_script(self.program("One", "Crashes", "Two", "CrashesToo"))
        self.assertEqual(result.returncode, 1)
        self.assertIn("[  FAILED  ] Suite.Crashes\nlast words\nthe program ended with SIGSEGV in this test\n", result.stdout)
        self.assertEqual(sorted(results["seconds"]), ["Suite.One", "Suite.Two"])
        self.assertEqual(results["failed"], ["Suite.Crashes", "Suite.CrashesToo"])

    def test_a_hang_fails_its_test_and_the_others_run(self):
        result, results = self.run_script(self.program("Hangs", "Two"), "--seconds", "1")
        self.assertIn("the program ended with SIGABRT in this test", result.stdout)
        self.assertEqual((results["failed"], list(results["seconds"])), (["Suite.Hangs"], ["Suite.Two"]))

    def test_a_complaint_outside_all_tests_fails(self):
        result, results = self.run_script(self.program("One", leaks=True))
        self.assertEqual(result.returncode, 1)
        self.assertIn("ERROR: 7 bytes leaked", result.stdout)
        self.assertEqual(results["failed"], ["(outside its tests)"])

    def test_parts_share_the_tests_without_rest(self):
        program = self.program("One", "Two", "Three")
        parts = [list(self.run_script(program, "--shard", f"{part}/2")[1]["seconds"]) for part in (1, 2)]
        self.assertEqual(parts, [["Suite.One", "Suite.Three"], ["Suite.Two"]])

    def test_names_select(self):
        program = self.program("One", "Two", "Three")
        self.assertEqual(list(self.run_script(program, "--only", "T")[1]["seconds"]), ["Suite.Two", "Suite.Three"])
        _, results = self.run_script(program, environment={gtest_program.REGEX: "Thr", "PATH": "/usr/bin:/bin"})
        self.assertEqual(list(results["seconds"]), ["Suite.Three"])


class SelectionTest(WithProgram):
    def both(self):
        program = {"name": "suite_tests", "command": ["run", "--only", "One|Two", self.program("One", "Two", "Three")],
                   "properties": [{"name": "LABELS", "value": ["program"]}]}
        return [run_tests.Test(entry) for entry in (program, {"name": "tools.one", "command": ["x"]})]

    def selected(self, expression):
        return [test.name for test in run_tests.select(self.both(), expression)]

    def test_a_program_is_meant_by_the_names_of_its_tests(self):
        self.assertEqual(self.selected("Suite.Two"), ["suite_tests"])
        self.assertEqual(self.selected("Three"), [])

    def test_a_script_is_meant_by_its_name(self):
        self.assertEqual(self.selected("tools"), ["tools.one"])


class EstimateTest(unittest.TestCase):
    def test_what_is_left_is_what_it_took_the_last_time_shared_by_the_jobs(self):
        with tempfile.TemporaryDirectory() as folder:
            file = pathlib.Path(folder, "Testing", "times.json")
            tests = [run_tests.Test({"name": name}) for name in ("a", "b", "c")]
            first = run_tests.Estimate(file, tests, 2)
            for name, seconds in (("a", 10.0), ("b", 20.0), ("c", 12.0)):
                first.took(name, seconds)
            first.save()
            second = run_tests.Estimate(file, tests, 2)
            self.assertEqual(second.seconds_left({}), 21.0)
            second.took("a", 10.0)
            self.assertEqual(second.seconds_left({}), 20.0)


class ProgressTest(unittest.TestCase):
    def test_a_line_that_stays_is_written_now_and_then_and_at_the_end(self):
        out = io.StringIO()
        shown = progress.Progress(out)
        shown.done(1, 3, 100.0, "a 1.0 s")
        shown.done(2, 3, 80.0, "b 1.0 s")
        shown.done(3, 3, 0.0, "c 1.0 s")
        shown.end()
        self.assertEqual(out.getvalue(), "[3/3] done; c 1.0 s\n")

    def test_on_a_terminal_one_line_changes(self):
        out = io.StringIO()
        out.isatty = lambda: True
        shown = progress.Progress(out)
        shown.done(1, 2, 100.0, "a 1.0 s")
        shown.say("a complaint")
        shown.end()
        self.assertEqual(out.getvalue(), "[1/2] about 2 min left; a 1.0 s\r\x1b[Ka complaint\n")


class ChangedTest(unittest.TestCase):
    PROGRAMS = {
        "builder_tests": ["tests/unit/driver/common/cpu_test.cpp", "tests/unit/driver/common/dimm_test.cpp"],
        "record_tests": ["tests/unit/driver/uefi/record_test.cpp", "tests/unit/driver/common/cpu_fixture.cpp"],
        "failure_tests": ["tests/unit/driver/whole/failing_test.cpp"],
        "cli_tests": ["tests/unit/host/cli/command_line_test.cpp", "tests/unit/host/cli/output/json_test.cpp"],
        "cli_commands_tests": ["tests/unit/host/cli/commands/show_test.cpp"],
    }

    def meant(self, file):
        programs, names = changed.tests_of(file, self.PROGRAMS)
        return sorted(programs | names)

    def test_a_product_file_has_the_tests_of_the_folder_that_mirrors_its_own(self):
        self.assertEqual(self.meant("TvqSmbiosPkg/src/uefi/tvq.cpp"), ["record_tests"])
        self.assertEqual(self.meant("TvqSmbiosPkg/src/common/cpu.cpp"), ["builder_tests"])

    def test_tests_in_a_folder_itself_come_before_those_below_it(self):
        self.assertEqual(self.meant("host/cli/command_line.cpp"), ["cli_tests"])

    def test_a_folder_without_tests_has_those_below_the_folder_above(self):
        self.assertEqual(self.meant("host/cli/device/blob.cpp"), ["cli_commands_tests", "cli_tests"])

    def test_what_tests_share_has_all_tests_below_its_folder(self):
        self.assertEqual(self.meant("tests/unit/host/cli/server.h"), ["cli_commands_tests", "cli_tests"])

    def test_tests_of_the_whole_driver_belong_to_no_folder_of_it(self):
        self.assertEqual(self.meant("TvqSmbiosPkg/src/elsewhere/log.cpp"), ["builder_tests", "record_tests"])
        self.assertEqual(self.meant("tests/unit/driver/whole/failing_test.cpp"), ["failure_tests"])

    def test_a_changed_test_is_its_program(self):
        self.assertEqual(self.meant("tests/unit/driver/common/cpu_test.cpp"), ["builder_tests"])
        self.assertEqual(self.meant("tests/unit/driver/common/cpu_fixture.cpp"), ["record_tests"])
        self.assertEqual(self.meant("tests/unit/driver/common/cpu_fixture.h"), ["builder_tests"])

    def test_scripts_have_the_tests_of_scripts(self):
        self.assertEqual(self.meant("tools/lib/host.sh"), ["tools.*"])
        self.assertEqual(self.meant("tests/tools/test_dev.py"), ["tools.dev"])

    def test_a_page_has_none(self):
        self.assertEqual(self.meant("README.md"), [])

    def test_every_folder_of_the_product_that_is_named_exists(self):
        for product, _ in changed.MIRRORS:
            self.assertTrue((ROOT / product).is_dir(), product)


if __name__ == "__main__":
    unittest.main()
