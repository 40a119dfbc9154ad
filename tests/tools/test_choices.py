"""docs/choices.md names tests that exist, and exactly the sources that say that something in them is deliberate.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import pathlib
import re
import unittest

from scripts import ROOT

PAGE = (ROOT / "docs" / "choices.md").read_text(encoding="utf-8")
SUFFIXES = {".c", ".cpp", ".h", ".dsc"}


def rows():
    """The cells of every row of the table, without those that are headings."""
    for line in PAGE.splitlines():
        if line.startswith("| ") and not re.match(r"\| (Choice \||\*\*)", line):
            yield [cell.strip() for cell in line.strip("|").split(" | ")]


def quoted(cell):
    return re.findall(r"`([^`]+)`", cell)


def unit_tests():
    for path in (ROOT / "tests" / "unit").rglob("*_test.cpp"):
        text = path.read_text(encoding="utf-8")
        yield from (f"{suite}.{name}" for suite, name in re.findall(r"(?m)^TEST(?:_[FP])?\(\s*(\w+),\s*(\w+)\)", text))


def end_to_end_tests():
    text = (ROOT / "tests" / "e2e" / "CMakeLists.txt").read_text(encoding="utf-8")
    yield from (f"e2e.{name}" for name in re.findall(r"(?m)^tvq_e2e_\w+\((\w+) ", text))


def product_sources():
    for package in ("TvqSmbiosPkg", "TvqPlatformPkg"):
        yield from (path for path in (ROOT / package).rglob("*") if path.suffix in SUFFIXES)


def sources_with_something_deliberate():
    yield from (path for path in product_sources() if "eliberate" in path.read_text(encoding="utf-8"))


class Choices(unittest.TestCase):
    def test_every_row_has_its_five_cells(self):
        self.assertGreater(len(list(rows())), 50)
        for row in rows():
            with self.subTest(choice=row[0]):
                self.assertEqual(len(row), 5)
                self.assertTrue(all(row))

    def test_every_row_is_pinned_by_tests_that_exist(self):
        known = {*unit_tests(), *end_to_end_tests()}
        for choice, _, _, _, tests in rows():
            with self.subTest(choice=choice):
                self.assertNotEqual(quoted(tests), [])
                self.assertEqual([test for test in quoted(tests) if test not in known], [])

    def test_every_row_names_a_source_that_exists(self):
        known = {path.name for path in product_sources()}
        for choice, where, *_ in rows():
            with self.subTest(choice=choice):
                self.assertEqual(len(quoted(where)), 1)
                self.assertIn(quoted(where)[0], known)

    def test_every_source_with_something_deliberate_is_named(self):
        # A header and its source are one.
        named = {pathlib.Path(name).stem for _, where, *_ in rows() for name in quoted(where)}
        # What is wrong on purpose there shows that tests notice it.
        faults = ROOT / "TvqPlatformPkg" / "src" / "faults"
        for path in sources_with_something_deliberate():
            if not path.is_relative_to(faults):
                with self.subTest(source=path.name):
                    self.assertIn(path.stem, named)

    def test_every_source_named_has_something_deliberate(self):
        known = {path.stem for path in sources_with_something_deliberate()}
        for choice, where, *_ in rows():
            with self.subTest(choice=choice):
                self.assertIn(pathlib.Path(quoted(where)[0]).stem, known)

    def test_links_lead_somewhere(self):
        for link in re.findall(r"\]\(([^)#]+)", PAGE):
            self.assertTrue((ROOT / "docs" / pathlib.Path(link)).exists(), link)


if __name__ == "__main__":
    unittest.main()
