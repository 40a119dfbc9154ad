"""Tests of tools/coverage.py.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import pathlib
import tempfile
import unittest

from scripts import ROOT
import coverage

SOURCE = "int F(int a) {\n  if (a > 1) {\n    return 2;\n  }\n  return 1;\n}\n"


def counted(*counts):
    """A file of which the lines have these counts, each with the counts of its branches."""
    lines = [{"line_number": number + 1, "count": count, "branches": [{"count": taken} for taken in branches]}
             for number, (count, *branches) in enumerate(counts)]
    return coverage.File("a.cpp", lines, SOURCE)


class Figures(unittest.TestCase):
    def test_lines_and_branches_are_counted(self):
        file = counted((3,), (3, 0, 3), (0,), (0,), (3,))
        self.assertEqual((file.lines, file.run, file.branches, file.taken), (5, 3, 2, 1))

    def test_what_is_no_code_does_not_count(self):
        file = coverage.File("a.cpp", [{"line_number": 1, "count": 0, "gcovr/noncode": True}], SOURCE)
        self.assertEqual((file.lines, file.gaps), (0, []))

    def test_the_table_adds_the_files_up(self):
        text, total = coverage.table([counted((1,), (0, 0, 0)), counted((1,), (1, 1, 0))])
        self.assertEqual((total.lines, total.run, total.branches, total.taken), (4, 3, 4, 1))
        self.assertEqual(text.splitlines()[-1].split(), ["all", "4", "3", "75.0%", "4", "1", "25.0%"])


class Gaps(unittest.TestCase):
    def setUp(self):
        self.gaps = counted((3,), (3, 0, 3), (0,)).gaps

    def test_a_gap_names_line_and_code(self):
        self.assertEqual([(gap.line, gap.code, gap.kind) for gap in self.gaps],
                         [(2, "if (a > 1) {", "branch"), (3, "return 2;", "line")])

    def test_a_gap_without_a_reason_is_wrong(self):
        reasons, wrong = coverage.explain(self.gaps, [coverage.Exemption("a.cpp", "return 2;", "line", "a is 0 or 1")])
        self.assertEqual(reasons, ["a.cpp:3: not run: return 2;\n    a is 0 or 1"])
        self.assertEqual(wrong, ["a.cpp:2: 1 of its branches not taken: if (a > 1) {\n    without a reason"])

    def test_a_reason_without_a_gap_is_wrong(self):
        reasons, wrong = coverage.explain([], [coverage.Exemption("a.cpp", "return 2;", "line", "a is 0 or 1")])
        self.assertEqual((reasons, wrong), ([], ["a.cpp: has a reason, but no such gap (line): return 2;"]))


class Reasons(unittest.TestCase):
    def read(self, text):
        with tempfile.TemporaryDirectory() as folder:
            path = pathlib.Path(folder) / "coverage.toml"
            path.write_text(text, encoding="utf-8")
            return coverage.read_exemptions(path)

    def test_each_says_why(self):
        with self.assertRaisesRegex(coverage.CoverageError, "a gap has file, code, kind"):
            self.read('[[gap]]\nfile = "a"\ncode = "b"\nkind = "line"\n')

    def test_each_is_of_a_line_or_of_branches(self):
        with self.assertRaisesRegex(coverage.CoverageError, "line or branch"):
            self.read('[[gap]]\nfile = "a"\ncode = "b"\nkind = "function"\nwhy = "c"\n')

    def test_those_of_the_tree_name_lines_of_their_files(self):
        for exemption in coverage.read_exemptions(ROOT / "tests" / "coverage.toml"):
            lines = (ROOT / exemption.file).read_text(encoding="utf-8").splitlines()
            self.assertIn(exemption.code, [line.strip() for line in lines], exemption.file)


if __name__ == "__main__":
    unittest.main()
