"""Tests of tools/install_pages.py.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import pathlib
import re
import tempfile
import unittest

from scripts import ROOT
import install_pages

PLACES = {"docs/one.md": "one.md", "README.md": "README.md", "docs/schema": "schema", "docs/pictures/a.png": "pictures/a.png"}


class Links(unittest.TestCase):
    def check(self, page, text, wanted):
        self.assertEqual(install_pages.with_links(page, text, PLACES), wanted)

    def test_a_link_to_an_installed_page_leads_there(self):
        self.check("README.md", "see [one](docs/one.md#part)", "see [one](one.md#part)")
        self.check("docs/one.md", "see [it](../README.md)", "see [it](README.md)")
        self.check("docs/one.md", "![a](pictures/a.png) [s](schema/x.json)", "![a](pictures/a.png) [s](schema/x.json)")

    def test_a_link_to_another_page_becomes_its_text(self):
        self.check("docs/one.md", "see [two.md](two.md) and [code](../src/x.cpp)", "see two.md and code")

    def test_links_to_elsewhere_and_within_the_page_stay(self):
        text = "[a](https://example.org/b) [c](#d)"
        self.check("docs/one.md", text, text)


class Installation(unittest.TestCase):
    def test_every_link_of_every_page_leads_to_a_file(self):
        with tempfile.TemporaryDirectory() as name:
            docs, data = pathlib.Path(name, "share", "doc", "tvq"), pathlib.Path(name, "share", "tvqsmbios")
            (data / "schema").mkdir(parents=True)
            (data / "Inventory.xsd").touch()
            for schema in (ROOT / "docs" / "schema").iterdir():
                (data / "schema" / schema.name).touch()
            install_pages.main([docs, data])
            install_pages.main([docs, data])
            links = [(page.name, target, (page.parent / target).exists()) for page in docs.glob("*.md")
                     for target in re.findall(r"\]\(([^)#\s]+)", page.read_text(encoding="utf-8")) if not install_pages.is_elsewhere(target)]
            self.assertGreater(len(links), 20)
            self.assertEqual([link for link in links if not link[2]], [])


if __name__ == "__main__":
    unittest.main()
