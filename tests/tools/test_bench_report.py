"""Tests of tests/bench/report.py: figures beside their targets.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import json
import unittest

import scripts  # noqa: F401
import report
from report import Figure, Section

START = Figure("start", "130 records", 1_650_000, target=1_500_000, logged=1_700_000, around=14_000_000)
GET = Figure("get", "Get", 45.25, target=60)
SECTIONS = [Section("Start", [START], ["a note"]), Section("Get", [GET])]


class Numbers(unittest.TestCase):
    def test_counts_have_separators(self):
        self.assertEqual(report.number(1_500_000), "1,500,000")

    def test_ratios_have_the_digits_that_they_deserve(self):
        self.assertEqual([report.number(value) for value in (1.337, 22.83, 2.0)], ["1.34", "22.8", "2"])

    def test_a_unit_follows(self):
        self.assertEqual(report.number(40, "KiB"), "40 KiB")

    def test_nothing_is_nothing(self):
        self.assertEqual(report.number(None), "")


class Verdicts(unittest.TestCase):
    def verdict(self, value, target):
        return report.verdict(Figure("key", "what", value, target=target))

    def test_they_say_by_how_much_a_target_is_missed_or_met(self):
        self.assertEqual(self.verdict(110, 100), "missed by 10 %")
        self.assertEqual(self.verdict(75, 100), "met, 25 % below")
        self.assertEqual(self.verdict(100, 100), "met exactly")

    def test_less_than_one_percent_is_not_rounded_away(self):
        self.assertEqual(self.verdict(1_500_001, 1_500_000), "missed by 7e-05 %")
        self.assertEqual(self.verdict(999, 1000), "met, 0.1 % below")

    def test_a_target_of_zero_has_no_percents(self):
        self.assertEqual(self.verdict(0, 0), "met")
        self.assertEqual(self.verdict(3, 0), "missed by 3")

    def test_without_a_target_there_is_none(self):
        self.assertEqual(self.verdict(3, None), "")


class Tables(unittest.TestCase):
    def test_columns_are_aligned_over_all_sections(self):
        self.assertEqual(report.table(SECTIONS).splitlines(), [
            "                measured     target                   with the log   around it",
            "",
            "Start",
            "  130 records  1,650,000  1,500,000  missed by 10 %      1,700,000  14,000,000",
            "  a note",
            "",
            "Get",
            "  Get               45.2         60  met, 25 % below",
        ])

    def test_a_column_that_nobody_uses_is_left_out(self):
        self.assertNotIn("with the log", report.table([Section("Get", [GET])]))

    def test_colours_are_for_terminals(self):
        self.assertNotIn("\033", report.table(SECTIONS))
        self.assertIn("\033[31mmissed by 10 % ", report.table(SECTIONS, colour=True))
        self.assertIn("\033[32mmet, 25 % below", report.table(SECTIONS, colour=True))


class Plots(unittest.TestCase):
    def test_bars_are_as_long_as_the_values(self):
        lines = report.plot([(50, 100), (100, 200), (2000, 4000)])
        self.assertEqual([line.count("#") for line in lines], [1, 2, 40])
        self.assertEqual(lines[2], f" 2,000  {'#' * 40}         4,000         2 each")


class Summaries(unittest.TestCase):
    def test_missed_targets_are_named(self):
        self.assertEqual(report.summary(SECTIONS), "1 of 2 targets missed: start.")

    def test_figures_without_a_target_do_not_count(self):
        self.assertEqual(report.summary([Section("", [GET, Figure("a", "b", 1)])]), "All 1 targets are met.")

    def test_programs_get_every_figure(self):
        figure = json.loads(json.dumps(report.as_json(SECTIONS)))[0]["figures"][0]
        self.assertEqual((figure["key"], figure["value"], figure["target"], figure["met"]),
                         ("start", 1_650_000, 1_500_000, False))


if __name__ == "__main__":
    unittest.main()
