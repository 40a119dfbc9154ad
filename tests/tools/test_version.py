"""The version stands in TvqSmbiosPkg/Include/TvqVersion.h; what cannot take it from there agrees with it.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import re
import unittest

from scripts import ROOT

HEADER = ROOT / "TvqSmbiosPkg" / "Include" / "TvqVersion.h"


def stated(path, pattern):
    """The one place in the file that the pattern matches."""
    (found,) = re.findall(pattern, path.read_text(encoding="utf-8"), re.MULTILINE)
    return found


class Version(unittest.TestCase):
    def setUp(self):
        self.version = stated(HEADER, r'^#define TVQ_VERSION  "(.*)"$')
        self.decimal = self.version.rpartition(".")[0]

    def test_it_has_three_numbers(self):
        self.assertRegex(self.version, r"^(0|[1-9]\d*)(\.(0|[1-9]\d*)){2}$")

    def test_every_module_states_it(self):
        modules = sorted(ROOT.glob("Tvq*Pkg/**/*.inf"))
        self.assertGreater(len(modules), 4)
        for module in modules:
            with self.subTest(module=module.name):
                self.assertEqual(stated(module, r"^  VERSION_STRING +=\s*(.*)$"), self.version)

    def test_every_package_states_its_first_two_numbers_because_EDK_II_wants_a_decimal_there(self):
        for name in ("TvqSmbiosPkg", "TvqPlatformPkg"):
            with self.subTest(package=name):
                self.assertEqual(stated(ROOT / name / f"{name}.dec", r"^  PACKAGE_VERSION +=\s*(.*)$"), self.decimal)
                self.assertEqual(stated(ROOT / name / f"{name}.dsc", r"^  PLATFORM_VERSION +=\s*(.*)$"), self.decimal)

    def test_it_is_the_newest_in_the_changelog(self):
        headings = re.findall(r"(?m)^## (\d\S*)", (ROOT / "CHANGELOG.md").read_text(encoding="utf-8"))
        self.assertEqual(headings[0], self.version)

    def test_no_source_spells_it_out(self):
        for folder in ("TvqSmbiosPkg", "TvqPlatformPkg", "host"):
            for path in (ROOT / folder).rglob("*.[ch]*"):
                if path != HEADER and path.is_file():
                    with self.subTest(file=path.name):
                        self.assertNotIn(f'"{self.version}', path.read_text(encoding="utf-8"))


if __name__ == "__main__":
    unittest.main()
