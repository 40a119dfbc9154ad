"""Tests of host/cli/make_pages.py: what it reads from a help text, and what it makes of it.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import importlib.util
import unittest

from scripts import ROOT

_spec = importlib.util.spec_from_file_location("make_pages", ROOT / "host/cli/make_pages.py")
make_pages = importlib.util.module_from_spec(_spec)
_spec.loader.exec_module(make_pages)

TOP = """The inventory.
Usage: tvq [OPTIONS] SUBCOMMAND

Options:
  -h,--help                   Print this help message and exit

Subcommands:
  slot                        Asks for a slot

More is told by --help.
"""

SLOT = """Asks for a slot
Usage: tvq slot [OPTIONS] ADDRESS

Positionals:
  ADDRESS REQUIRED            The 'address'

Options:
  -h,--help                   Print this help message and exit
  --a-rather-long-option FILE
                              Its text: [one]
  -o,--output FILE            Where it goes

What it does, in a
paragraph.

Examples:
  tvq slot 3b:00.0
  .hidden | tvq slot -

Exit status: 0 found; 1 not.
"""


class ReadsHelp(unittest.TestCase):
    def setUp(self):
        self.slot = make_pages.parse_help(SLOT)

    def test_summary_and_usage(self):
        self.assertEqual(self.slot.summary, "Asks for a slot")
        self.assertEqual(self.slot.usage, "tvq slot [OPTIONS] ADDRESS")

    def test_commands(self):
        entries = make_pages.parse_help(TOP).entries("Subcommands")
        self.assertEqual([(one.usage, one.text) for one in entries], [("slot", "Asks for a slot")])

    def test_options_with_their_names_and_values(self):
        options = self.slot.entries("Options")
        self.assertEqual(options[1].names(), ["--a-rather-long-option"])
        self.assertEqual(options[1].text, "Its text: [one]")
        self.assertTrue(options[1].takes_value())
        self.assertEqual(options[2].names(), ["-o", "--output"])
        self.assertFalse(options[0].takes_value())

    def test_footer(self):
        self.assertTrue(self.slot.footer.startswith("What it does"))
        self.assertTrue(self.slot.footer.endswith("1 not."))


class WritesPages(unittest.TestCase):
    def setUp(self):
        self.top = make_pages.parse_help(TOP)
        self.commands = {"slot": make_pages.parse_help(SLOT)}

    def test_man_page_keeps_examples_and_escapes_dashes_and_dots(self):
        page = make_pages.man_page(self.top, self.commands)
        self.assertIn(".SS tvq slot\nAsks for a slot.\n", page)
        self.assertIn(".nf\ntvq slot 3b:00.0\n\\&.hidden | tvq slot \\-\n.fi\n", page)
        self.assertIn(".B \\-o,\\-\\-output FILE\nWhere it goes\n", page)

    def test_bash_completes_commands_and_options(self):
        page = make_pages.bash_completion(self.commands)
        self.assertIn('compgen -W "slot --help"', page)
        self.assertIn('slot) words="-h --help --a-rather-long-option -o --output" ;;', page)

    def test_zsh_escapes_what_means_something_to_it(self):
        page = make_pages.zsh_completion(self.commands)
        self.assertIn("'--a-rather-long-option[Its text\\: \\[one\\]]:value:_files'", page)

    def test_fish_knows_long_and_short_options(self):
        page = make_pages.fish_completion(self.commands)
        self.assertIn("-l output -r -d 'Where it goes'", page)
        self.assertIn("-s o -r -d 'Where it goes'", page)


if __name__ == "__main__":
    unittest.main()
