"""Tests of what tools/mutation makes of the outcomes of mutants. What it makes of a source needs libclang, and shows in
every run: the changed driver has to compile, and to pass all tests while no change is switched on.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import contextlib
import io
import json
import pathlib
import subprocess
import sys
import tempfile
import unittest
import unittest.mock

from scripts import ROOT

sys.path.insert(0, str(ROOT / "tools" / "mutation"))

import areas  # noqa: E402
import mutate  # noqa: E402
import programs  # noqa: E402
import results  # noqa: E402
import selection  # noqa: E402
from mutant import Mutant  # noqa: E402


def mutant(number, change="< -> <=", file="host/lint/a.cpp", code="while (i < n) {"):
    return Mutant(number=number, point=100 + number, file=file, line=number, code=code, change=change)


def reported(outcomes, explanations=(), mutants=None, left=None, is_part=False):
    mutants = mutants or [mutant(number) for number in outcomes]
    return results.Report(mutants, {number: programs.Outcome(result) for number, result in outcomes.items()}, explanations,
                         left or {}, is_part)


EXPLANATION = results.Explanation("host/lint/a.cpp", "while (i < n) {", "< -> <=", "n is never reached")


class Outcomes(unittest.TestCase):
    def test_what_no_test_reaches_survives_too(self):
        result = reported({1: "killed", 2: "slow", 3: "survived", 4: "unreached"})
        self.assertEqual([found.number for found in result.survivors()], [3, 4])
        self.assertEqual(result.share(), 50.0)

    def test_an_explained_change_counts_for_neither_side(self):
        mutants = [mutant(1), mutant(2, change="< -> >="), mutant(3, file="host/table/b.cpp")]
        result = reported({1: "survived", 2: "killed", 3: "killed"}, [EXPLANATION], mutants)
        self.assertEqual(result.result(mutants[0]), "equivalent")
        self.assertEqual((result.share(), result.survivors(), result.stale()), (0.0, [], []))

    def test_an_explanation_of_a_change_that_is_killed_is_stale(self):
        self.assertEqual(reported({1: "killed"}, [EXPLANATION]).stale(), [EXPLANATION])

    def test_an_explanation_of_a_change_that_is_no_more_is_stale(self):
        self.assertEqual(reported({1: "killed"}, [EXPLANATION], [mutant(1, code="for (;;) {")]).stale(), [EXPLANATION])

    def test_explanations_of_other_files_are_left_alone(self):
        self.assertEqual(reported({1: "killed"}, [EXPLANATION], [mutant(1, file="host/table/b.cpp")]).stale(), [])

    def test_survivors_are_listed_with_place_change_and_code(self):
        details = reported({7: "survived"}).details()
        self.assertEqual(details, "host/lint/a.cpp:7: < -> <=\n    while (i < n) {")

    def test_a_run_of_a_part_finds_no_explanation_stale(self):
        self.assertEqual(reported({1: "killed"}, [EXPLANATION], is_part=True).stale(), [])

    def test_the_table_has_a_line_for_each_file_and_area_and_one_for_all(self):
        mutants = [mutant(1), mutant(2), mutant(3, file="host/table/b.cpp")]
        left = {"host/lint/a.cpp": 4, "host/table/b.cpp": 5}
        table = reported({1: "killed", 2: "survived", 3: "slow"}, (), mutants, left).table().splitlines()
        self.assertEqual([line.split() for line in table[1:]],
                         [["host/lint/a.cpp", "2", "1", "0", "0", "1", "0", "50.0%", "4"],
                          ["host/table/b.cpp", "1", "0", "1", "0", "0", "0", "0.0%", "5"],
                          ["table", "1", "0", "1", "0", "0", "0", "0.0%", "5"],
                          ["lint", "2", "1", "0", "0", "1", "0", "50.0%", "4"],
                          ["all", "3", "1", "1", "0", "1", "0", "33.3%", "9"]])

    def test_every_area_has_to_be_good(self):
        many = [mutant(number, file="host/table/b.cpp") for number in range(100)]
        outcomes = {each.number: "killed" for each in many} | {100: "survived"}
        self.assertFalse(reported(outcomes, (), [*many, mutant(100)]).is_good())
        self.assertTrue(reported(outcomes, (), [*many, mutant(100, file="host/table/b.cpp")]).is_good())

    def test_json_holds_every_mutant_with_its_result(self):
        result = reported({1: "killed", 2: "survived"}).as_json()
        self.assertEqual((result["mutants"], result["survivors"], result["share"]), (2, 1, 50.0))
        self.assertEqual([entry["result"] for entry in result["results"]], ["killed", "survived"])


class AnEarlierRun(unittest.TestCase):
    def killed(self, text, mutants):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / "mutate.json"
            path.write_text(text, encoding="utf-8")
            return results.killed_before(path, mutants)

    def test_has_its_kills_taken_over_wherever_the_line_stands_by_now(self):
        earlier = json.dumps(reported({1: "killed", 2: "survived"}).as_json())
        found = self.killed(earlier, [mutant(31), mutant(32), mutant(33)])
        self.assertEqual({number: outcome.result for number, outcome in found.items()}, {31: "killed"})

    def test_that_was_cut_off_has_left_what_it_knew(self):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / "mutate.json"
            mutate.keep(path, reported({1: "survived", 2: "survived"}))
            mutate.keep(path, reported({1: "killed", 2: "survived"}))
            self.assertEqual(list(pathlib.Path(folder).iterdir()), [path])
            self.assertEqual(list(results.killed_before(path, [mutant(1), mutant(2)])), [1])

    def test_that_wrote_something_else_is_refused(self):
        for text in ("{}", "[", '{"results": [{"number": 1}]}'):
            with self.assertRaisesRegex(results.ExplanationError, "no result of an earlier run"):
                self.killed(text, [mutant(1)])


class Explanations(unittest.TestCase):
    def read(self, *texts):
        with tempfile.TemporaryDirectory() as folder:
            for number, text in enumerate(texts):
                (pathlib.Path(folder) / f"{number}.toml").write_text(text, encoding="utf-8")
            return results.read_explanations(pathlib.Path(folder))

    def test_one_reason_may_explain_several_changes_of_a_line(self):
        found = self.read('[[equivalent]]\nfile = "a"\ncode = "b"\nchanges = ["1 -> 2", "1 -> 0"]\nwhy = "c"\n')
        self.assertEqual([explanation.change for explanation in found], ["1 -> 2", "1 -> 0"])

    def test_all_files_of_the_folder_count(self):
        entry = '[[equivalent]]\nfile = "{}"\ncode = "b"\nchanges = ["1 -> 2"]\nwhy = "c"\n'
        found = self.read(entry.format("a"), entry.format("d"))
        self.assertEqual([explanation.file for explanation in found], ["a", "d"])

    def test_an_entry_without_a_reason_is_refused(self):
        with self.assertRaisesRegex(results.ExplanationError, "file, code, changes and why"):
            self.read('[[equivalent]]\nfile = "a"\ncode = "b"\nchanges = []\n')

    def test_a_file_that_is_no_toml_is_refused(self):
        with self.assertRaises(results.ExplanationError):
            self.read("[[equivalent]\n")

    def test_every_explanation_of_the_tree_names_a_line_of_its_file(self):
        explanations = results.read_explanations(ROOT / "tests" / "mutation" / "equivalent")
        self.assertNotEqual(explanations, [])
        for explanation in explanations:
            lines = (ROOT / explanation.file).read_text(encoding="utf-8").splitlines()
            self.assertIn(explanation.code, [line.strip() for line in lines], explanation.file)


class Areas(unittest.TestCase):
    def test_the_nearest_folder_above_a_file_tells_its_area(self):
        for file, area in (("TvqSmbiosPkg/src/uefi/tvq.cpp", "driver"), ("TvqSmbiosPkg/Library/ZorvLib/pool.cpp", "driver"),
                           ("TvqPlatformPkg/src/zvi/library.cpp", "platform"), ("TvqPlatformPkg/src/agent/state.cpp", "agent"),
                           ("host/cli/input/state_file.cpp", "cli")):
            self.assertEqual(areas.area_of(file), area, file)

    def test_neither_tests_nor_foreign_code_is_in_one(self):
        for file in ("tests/unit/a.cpp", "host/firmware/pool.cpp", "TvqPlatformPkg/src/xml/crt/string.h"):
            self.assertIsNone(areas.area_of(file), file)


class Selection(unittest.TestCase):
    def setUp(self):
        self.mutants = [mutant(number, code=f"line {number}") for number in range(1, 41)]
        self.other = mutant(50, file="host/table/b.cpp")

    def test_areas_and_sources_are_taken_by_name(self):
        everything = [*self.mutants, self.other]
        self.assertEqual(selection.named(everything, []), everything)
        self.assertEqual(selection.named(everything, ["table"]), [self.other])
        self.assertEqual(selection.named(everything, ["lint/a.cpp"]), self.mutants)

    def test_a_name_of_nothing_is_refused(self):
        with self.assertRaisesRegex(selection.SelectionError, "nothing to change in 'c.cpp'"):
            selection.named(self.mutants, ["c.cpp"])

    def test_a_sample_is_the_same_every_time_and_of_every_area(self):
        first = selection.sample([*self.mutants, self.other], 5)
        self.assertEqual(len(first), 6)
        self.assertIn(self.other, first)
        self.assertEqual(selection.sample([*self.mutants, self.other], 5), first)

    def test_a_sample_of_more_than_there_are_is_all(self):
        self.assertEqual(selection.sample(self.mutants, 100), self.mutants)

    def test_a_diff_tells_the_lines_that_were_added_or_changed(self):
        diff = ("--- a/host/lint/a.cpp\n+++ b/host/lint/a.cpp\n@@ -3 +3,2 @@ f\n+x\n+y\n@@ -9,2 +10,0 @@\n-z\n"
                "--- a/host/table/b.cpp\n+++ b/host/table/b.cpp\n@@ -50,0 +50 @@\n+x\n")
        lines = selection.added_lines(diff)
        self.assertEqual(lines, {"host/lint/a.cpp": {3, 4}, "host/table/b.cpp": {50}})
        self.assertEqual([found.number for found in selection.on_lines([*self.mutants, self.other], lines)], [3, 4, 50])

    def test_every_line_of_a_new_file_counts(self):
        self.assertEqual(selection.on_lines([*self.mutants, self.other], {"host/table/b.cpp": None}), [self.other])

    def test_what_differs_from_a_revision_is_asked_of_git(self):
        with tempfile.TemporaryDirectory() as folder:
            root = pathlib.Path(folder)

            def git(*words):
                subprocess.run(["git", "-C", folder, "-c", "user.name=a", "-c", "user.email=a@b", *words], check=True,
                               capture_output=True)

            git("init")
            (root / "old.cpp").write_text("1\n2\n3\n", encoding="utf-8")
            git("add", ".")
            git("commit", "-m", "first")
            (root / "old.cpp").write_text("1\ntwo\n3\n", encoding="utf-8")
            (root / "new.cpp").write_text("1\n", encoding="utf-8")
            self.assertEqual(selection.changed_lines(root, "HEAD"), {"old.cpp": {2}, "new.cpp": None})
            with self.assertRaises(selection.SelectionError):
                selection.changed_lines(root, "nonsense")


class Tests(unittest.TestCase):
    def program(self, count=1):
        program = programs.Program("/nowhere/tests", pathlib.Path("/nowhere"))
        program.tests = [programs.Test("A.Long", 1.5, frozenset({101, 102})),
                         *(programs.Test(f"A.Q{number}", 0.1 - number / 1000, frozenset({101})) for number in range(count))]
        return program

    def test_only_those_that_reach_a_mutant_run_with_it(self):
        self.assertEqual(self.program().lines_for(mutant(1), slow=False), ["1 1 A.Q0\n"])
        self.assertEqual(self.program().lines_for(mutant(2), slow=False), [])
        self.assertEqual(self.program().lines_for(mutant(3), slow=True), [])

    def test_slow_ones_run_apart_from_the_others_and_have_more_time(self):
        self.assertEqual(self.program().lines_for(mutant(1), slow=True), ["1 7 A.Long\n"])
        self.assertEqual((self.program().seconds(slow=True), self.program().seconds(slow=False)), (1.5, 0.1))

    def test_a_few_of_the_quickest_run_before_the_others(self):
        self.assertEqual(self.program(10).lines_for(mutant(1), slow=False),
                         ["1 1 A.Q9:A.Q8:A.Q7:A.Q6:A.Q5:A.Q4:A.Q3:A.Q2\n", "1 1 A.Q1:A.Q0\n"])

    def test_their_files_have_paths_short_enough_for_a_socket(self):
        with programs.folder_of_mutants() as folder:
            self.assertLessEqual(len(f"{folder}/0/mutant-XXXXXX/tvq-cli-test-4194304/socket"), 107)

    def test_an_explained_change_does_not_wait_for_slow_ones(self):
        run = mutate.Run([mutant(1), mutant(2)], killed={}, explained={2}, jobs=1)
        taken = []
        with unittest.mock.patch.object(programs, "run_mutants", lambda _, slow, mutants, *more: taken.append(
                (slow, [each.number for each in mutants]))):
            run.through(self.program(), False, "")
            run.through(self.program(), True, "")
        self.assertEqual(taken, [(False, [1, 2]), (True, [1])])

    def test_each_minute_what_is_known_is_kept_and_how_much_it_is_said(self):
        kept = []
        run = mutate.Run([mutant(1), mutant(2)], {}, set(), jobs=1, every_minute=lambda: kept.append(dict(run.outcomes)))

        def both_killed(*arguments):
            for number in (1, 2):
                arguments[-1](mutant(number), programs.Outcome("killed"))
            return 2

        with unittest.mock.patch.object(programs, "run_mutants", both_killed), \
                unittest.mock.patch.object(mutate.time, "monotonic", side_effect=[0, 59, 60, 60, 60]), \
                contextlib.redirect_stderr(io.StringIO()) as said:
            run.through(self.program(), False, "")
        self.assertEqual([outcomes[2].result for outcomes in kept], ["killed"])
        self.assertIn("tests: 2 so far, now in host/lint/a.cpp\n", said.getvalue())


if __name__ == "__main__":
    unittest.main()
