"""The pages for people lead somewhere: their links, the folders that they name, and the commands that they show.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import re
import unittest

from scripts import ROOT

PAGES = [ROOT / "README.md", ROOT / "CHANGELOG.md", ROOT / "SECURITY.md", *sorted((ROOT / "docs").glob("*.md")), ROOT / "samples" / "README.md"]
# A screen in full height, with the table of where to read on.
FIRST_SCREEN = 70


def text_of(page):
    return page.read_text(encoding="utf-8")


class Pages(unittest.TestCase):
    def test_links_lead_to_files(self):
        for page in PAGES:
            for link in re.findall(r"\]\(([^)#:]+)[)#]", text_of(page)):
                with self.subTest(page=page.name, link=link):
                    self.assertTrue((page.parent / link).exists())

    def test_commands_of_dev_exist(self):
        known = {path.stem for path in (ROOT / "tools" / "commands").glob("*.sh")} | {"help", "COMMAND"}
        for page in PAGES:
            for command in re.findall(r"\./dev ([A-Za-z]+)", text_of(page)):
                with self.subTest(page=page.name, command=command):
                    self.assertIn(command, known)

    def test_commands_of_tvq_exist(self):
        sources = "".join(text_of(path) for path in (ROOT / "host" / "cli" / "commands").glob("*.cpp"))
        known = set(re.findall(r'CommandText \w+ = \{\s*"([a-z]+)"', sources))
        self.assertGreater(len(known), 5)
        for page in PAGES:
            shown = "\n".join(re.findall(r"`([^`\n]+)`", text_of(page)) + re.findall(r"(?s)```\n(.*?)```", text_of(page)))
            for command in re.findall(r"(?m)(?:^|\$ |\| |\./dev |sudo )tvq ([a-z]+)", shown):
                with self.subTest(page=page.name, command=command):
                    self.assertIn(command, known)

    def test_the_readme_is_one_screen(self):
        self.assertLessEqual(len(text_of(ROOT / "README.md").splitlines()), FIRST_SCREEN)

    def test_every_page_can_be_reached_from_the_readme(self):
        reached, waiting = set(), [ROOT / "README.md"]
        while waiting:
            page = waiting.pop()
            if page not in reached and page.suffix == ".md":
                reached.add(page)
                waiting += [(page.parent / link).resolve() for link in re.findall(r"\]\(([^)#:]+)[)#]", text_of(page))]
        self.assertEqual([page.name for page in PAGES if page not in reached], [])


class Architecture(unittest.TestCase):
    def test_folders_and_files_that_it_names_exist(self):
        page = text_of(ROOT / "docs" / "architecture.md")
        tops = {path.name for path in ROOT.iterdir() if not path.name.startswith(".")} - {"build"}
        named = {name for name in re.findall(r"`([\w./-]+)`", page) if name.split("/")[0] in tops}
        self.assertGreater(len(named), 30)
        for name in sorted(named):
            with self.subTest(name=name):
                self.assertTrue((ROOT / name).exists())


if __name__ == "__main__":
    unittest.main()
