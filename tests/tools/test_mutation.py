"""Tests of what tools/mutation makes of the outcomes of mutants. What it makes of a source needs libclang, and shows in
every run: the changed driver has to compile, and to pass all tests while no change is switched on.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import json
import pathlib
import sys
import tempfile
import unittest

from scripts import ROOT

sys.path.insert(0, str(ROOT / "tools" / "mutation"))

import programs  # noqa: E402
import report  # noqa: E402
from mutant import Mutant  # noqa: E402


def mutant(number, change="< -> <=", file="src/a.cpp", code="while (i < n) {"):
    return Mutant(number=number, point=100 + number, file=file, line=number, code=code, change=change)


def reported(outcomes, explanations=(), mutants=None):
    mutants = mutants or [mutant(number) for number in outcomes]
    return report.Report(mutants, {number: programs.Outcome(result) for number, result in outcomes.items()}, explanations)


EXPLANATION = report.Explanation("src/a.cpp", "while (i < n) {", "< -> <=", "n is never reached")


class Outcomes(unittest.TestCase):
    def test_what_no_test_reaches_survives_too(self):
        result = reported({1: "killed", 2: "slow", 3: "survived", 4: "unreached"})
        self.assertEqual([found.number for found in result.survivors()], [3, 4])
        self.assertEqual(result.share(), 50.0)

    def test_an_explained_change_counts_for_neither_side(self):
        mutants = [mutant(1), mutant(2, change="< -> >="), mutant(3, file="src/b.cpp")]
        result = reported({1: "survived", 2: "killed", 3: "killed"}, [EXPLANATION], mutants)
        self.assertEqual(result.result(mutants[0]), "equivalent")
        self.assertEqual((result.share(), result.survivors(), result.stale()), (0.0, [], []))

    def test_an_explanation_of_a_change_that_is_killed_is_stale(self):
        self.assertEqual(reported({1: "killed"}, [EXPLANATION]).stale(), [EXPLANATION])

    def test_an_explanation_of_a_change_that_is_no_more_is_stale(self):
        self.assertEqual(reported({1: "killed"}, [EXPLANATION], [mutant(1, code="for (;;) {")]).stale(), [EXPLANATION])

    def test_explanations_of_other_files_are_left_alone(self):
        self.assertEqual(reported({1: "killed"}, [EXPLANATION], [mutant(1, file="src/b.cpp")]).stale(), [])

    def test_survivors_are_listed_with_place_change_and_code(self):
        details = reported({7: "survived"}).details()
        self.assertEqual(details, "src/a.cpp:7: < -> <=\n    while (i < n) {")

    def test_the_table_has_a_line_for_each_file_and_one_for_all(self):
        mutants = [mutant(1), mutant(2), mutant(3, file="src/b.cpp")]
        table = reported({1: "killed", 2: "survived", 3: "slow"}, (), mutants).table().splitlines()
        self.assertEqual([line.split() for line in table[1:]],
                         [["src/a.cpp", "2", "1", "0", "0", "1", "0", "50.0%"],
                          ["src/b.cpp", "1", "0", "1", "0", "0", "0", "0.0%"],
                          ["all", "3", "1", "1", "0", "1", "0", "33.3%"]])

    def test_json_holds_every_mutant_with_its_result(self):
        result = reported({1: "killed", 2: "survived"}).as_json()
        self.assertEqual((result["mutants"], result["survivors"], result["share"]), (2, 1, 50.0))
        self.assertEqual([entry["result"] for entry in result["results"]], ["killed", "survived"])


class AnEarlierRun(unittest.TestCase):
    def killed(self, text, mutants):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / "mutate.json"
            path.write_text(text, encoding="utf-8")
            return report.killed_before(path, mutants)

    def test_has_its_kills_taken_over_wherever_the_line_stands_by_now(self):
        earlier = json.dumps(reported({1: "killed", 2: "survived"}).as_json())
        found = self.killed(earlier, [mutant(31), mutant(32), mutant(33)])
        self.assertEqual({number: outcome.result for number, outcome in found.items()}, {31: "killed"})

    def test_that_wrote_something_else_is_refused(self):
        for text in ("{}", "[", '{"results": [{"number": 1}]}'):
            with self.assertRaisesRegex(report.ExplanationError, "no result of an earlier run"):
                self.killed(text, [mutant(1)])


class Explanations(unittest.TestCase):
    def read(self, text):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / "equivalent.toml"
            path.write_text(text, encoding="utf-8")
            return report.read_explanations(path)

    def test_one_reason_may_explain_several_changes_of_a_line(self):
        found = self.read('[[equivalent]]\nfile = "a"\ncode = "b"\nchanges = ["1 -> 2", "1 -> 0"]\nwhy = "c"\n')
        self.assertEqual([explanation.change for explanation in found], ["1 -> 2", "1 -> 0"])

    def test_an_entry_without_a_reason_is_refused(self):
        with self.assertRaisesRegex(report.ExplanationError, "file, code, changes and why"):
            self.read('[[equivalent]]\nfile = "a"\ncode = "b"\nchanges = []\n')

    def test_a_file_that_is_no_toml_is_refused(self):
        with self.assertRaises(report.ExplanationError):
            self.read("[[equivalent]\n")

    def test_every_explanation_of_the_tree_names_a_line_of_its_file(self):
        for explanation in report.read_explanations(ROOT / "tests" / "mutation" / "equivalent.toml"):
            lines = (ROOT / explanation.file).read_text(encoding="utf-8").splitlines()
            self.assertIn(explanation.code, [line.strip() for line in lines], explanation.file)


class Tests(unittest.TestCase):
    def program(self):
        program = programs.Program("/nowhere/tests", pathlib.Path("/nowhere"))
        program.tests = [programs.Test("A.One", 0.1, frozenset({101})), programs.Test("A.Two", 1.5, frozenset({101, 102}))]
        return program

    def test_only_those_that_reach_a_mutant_run_with_it(self):
        self.assertEqual(self.program().lines_for(mutant(2)), ["2 7 A.Two\n"])
        self.assertEqual(self.program().lines_for(mutant(3)), [])

    def test_quick_ones_run_first_and_with_less_time(self):
        self.assertEqual(self.program().lines_for(mutant(1)), ["1 1 A.One\n", "1 7 A.Two\n"])


if __name__ == "__main__":
    unittest.main()
