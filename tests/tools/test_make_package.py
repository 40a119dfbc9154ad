"""Tests of tools/make_package.py: whom a package is by, and of when.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import re
import unittest

from scripts import ROOT
import make_package

EPOCH = {"SOURCE_DATE_EPOCH": "1700000000"}
WHO = {"DEBFULLNAME": "Jo Example", "DEBEMAIL": "jo@example.org"}


class Package(unittest.TestCase):
    def without_git(self):
        self.addCleanup(setattr, make_package, "of_last_commit", make_package.of_last_commit)
        make_package.of_last_commit = lambda form: ""

    def test_the_maintainer_is_who_builds_it(self):
        self.assertEqual(make_package.maintainer(WHO), "Jo Example <jo@example.org>")

    def test_or_whom_the_last_commit_is_by(self):
        self.addCleanup(setattr, make_package, "of_last_commit", make_package.of_last_commit)
        make_package.of_last_commit = {"%an": "Al", "%ae": "al@example.org"}.get
        self.assertEqual(make_package.maintainer({}), "Al <al@example.org>")
        self.assertEqual(make_package.maintainer({"DEBEMAIL": "jo@example.org"}), "Al <jo@example.org>")

    def test_nobody_is_made_up(self):
        self.without_git()
        with self.assertRaisesRegex(SystemExit, "set DEBFULLNAME and DEBEMAIL"):
            make_package.maintainer({})
        with self.assertRaisesRegex(SystemExit, "set SOURCE_DATE_EPOCH"):
            make_package.date({})

    def test_the_changelog_has_one_entry_of_that_date(self):
        text = make_package.changelog("1.2.3", make_package.maintainer(WHO), make_package.date(EPOCH))
        self.assertTrue(text.startswith("tvq (1.2.3) unstable; urgency=medium\n\n  * "))
        self.assertTrue(text.endswith("\n -- Jo Example <jo@example.org>  Tue, 14 Nov 2023 22:13:20 +0000\n"))

    def test_the_version_is_that_of_all_of_it(self):
        self.assertRegex(make_package.version(), r"^\d+\.\d+\.\d+$")

    def test_every_page_says_the_file_that_is_made(self):
        for page in ("README.md", "docs/service.md"):
            with self.subTest(page=page):
                self.assertIn(f"sudo apt install ./tvq_{make_package.version()}_amd64.deb", (ROOT / page).read_text(encoding="utf-8"))


class Units(unittest.TestCase):
    def test_the_catalogue_explains_every_kind_of_entry(self):
        header = (ROOT / "host" / "cli" / "compare" / "comparison_journal.h").read_text(encoding="utf-8")
        kinds = set(re.findall(r'"([0-9a-f]{32})"', header))
        explained = set(re.findall(r"(?m)^-- ([0-9a-f]{32})$", (ROOT / "packaging" / "tvq.catalog").read_text(encoding="utf-8")))
        self.assertEqual(len(kinds), 5)
        self.assertEqual(explained, kinds)
        page = (ROOT / "docs" / "service.md").read_text(encoding="utf-8")
        self.assertEqual([kind for kind in sorted(kinds) if kind not in page], [])


if __name__ == "__main__":
    unittest.main()
