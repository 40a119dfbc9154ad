"""Tests of tools/fuzz.py: what the fuzzer's lines say, and what is reported of them.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import contextlib
import io
import pathlib
import unittest

import scripts  # noqa: F401
import fuzz

START = [
    "INFO: Seed: 2541285024\n",
    "INFO: Loaded 1 modules   (4072 inline 8-bit counters): 4072 [0x1, 0x2), \n",
    "INFO: Loaded 1 PC tables (4072 PCs): 4072 [0x1,0x2), \n",
    "#6\tINITED cov: 120 ft: 154 corp: 4/11562b exec/s: 0 rss: 48Mb\n",
]
QUIET_END = [
    "#1324\tDONE   cov: 367 ft: 1318 corp: 34/824Kb lim: 5168 exec/s: 50 rss: 441Mb\n",
    "Done 1324 runs in 26 second(s)\n",
    "stat::number_of_executed_units: 1324\n",
]
FINDING = [
    "firmware host: Verify leaves blocks behind\n",
    "SUMMARY: libFuzzer: deadly signal\n",
    "artifact_prefix='/x/'; Test unit written to /tree/build/fuzz/findings/verify/crash-12\n",
    "stat::number_of_executed_units: 99\n",
]
ROOT = pathlib.Path("/tree")


def outcome_of(lines):
    outcome = fuzz.Outcome()
    for line in lines:
        outcome.take(line)
    return outcome


class TheOutcome(unittest.TestCase):
    def test_has_the_last_figures_of_a_run_without_findings(self):
        outcome = outcome_of(START + QUIET_END)
        self.assertEqual((outcome.executions, outcome.covered, outcome.edges), (1324, 367, 4072))
        self.assertEqual((outcome.features, outcome.corpus, outcome.findings), (1318, 34, []))

    def test_has_the_figures_of_several_processes(self):
        outcome = outcome_of(["#5000: cov: 300 ft: 900 corp: 12 exec/s 100 oom/timeout/crash: 0/0/0 time: 5s job: 1\n"])
        self.assertEqual((outcome.executions, outcome.covered, outcome.corpus), (5000, 300, 12))

    def test_counts_what_ran_after_the_last_line_of_progress(self):
        self.assertEqual(outcome_of(START + FINDING).executions, 99)

    def test_has_a_finding_and_why_it_is_one(self):
        outcome = outcome_of(START + FINDING)
        self.assertEqual(outcome.findings, ["/tree/build/fuzz/findings/verify/crash-12"])
        self.assertEqual(outcome.reasons[0], "firmware host: Verify leaves blocks behind")

    def test_takes_no_other_line_for_progress(self):
        outcome = fuzz.Outcome()
        self.assertFalse(outcome.take("###### Recommended dictionary. ######\n"))
        self.assertTrue(outcome.take(START[3]))


class TheClosingLines(unittest.TestCase):
    def test_say_that_nothing_was_found(self):
        lines = outcome_of(START + QUIET_END).closing_lines("table", 10)
        self.assertEqual(lines[1], "Executions  1,324 in 10 s, 132 a second")
        self.assertEqual(lines[2], "Coverage    367 of 4,072 edges, 1,318 features")
        self.assertEqual(lines[-1], "Findings    none")

    def test_say_on_how_many_inputs_firmware_would_hang(self):
        outcome = outcome_of(START + QUIET_END)
        self.assertNotIn("Would hang", "\n".join(outcome.closing_lines("table", 10)))
        outcome.hangs = 1100
        self.assertIn("Would hang  1,100 inputs: on firmware, a slot query that matches nothing never returns",
                      outcome.closing_lines("table", 10))

    def test_say_how_to_replay_a_finding_and_where_to_keep_it(self):
        lines = outcome_of(START + FINDING).closing_lines("verify", 0, ROOT)
        self.assertIn("Finding     build/fuzz/findings/verify/crash-12", lines)
        self.assertIn("Replay      ./dev fuzz verify --replay build/fuzz/findings/verify/crash-12", lines)
        self.assertIn("tests/fuzz/findings/verify", lines[-1])


class TheCommandLine(unittest.TestCase):
    def refused(self, *arguments):
        with contextlib.redirect_stderr(io.StringIO()) as said, self.assertRaises(SystemExit) as end:
            fuzz.parse_arguments(list(arguments))
        self.assertEqual(end.exception.code, 2)
        return said.getvalue()

    def test_takes_a_known_target_and_numbers_from_1_on(self):
        self.assertIn("invalid choice", self.refused("parse"))
        self.assertIn("a number from 1 on", self.refused("table", "--seconds", "0"))
        self.assertEqual(fuzz.parse_arguments(["table", "--runs", "5"]).runs, 5)

    def test_replays_only_files_that_are_there(self):
        options = fuzz.parse_arguments(["load", "--replay", "/nowhere/at/all"])
        with contextlib.redirect_stderr(io.StringIO()) as said:
            self.assertEqual(fuzz.replay(options), 2)
        self.assertIn("/nowhere/at/all", said.getvalue())


if __name__ == "__main__":
    unittest.main()
