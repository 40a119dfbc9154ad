"""The pages of `tvq report` in a browser: nothing is cut, lies over something else or is wider than the window, every text stands
out from its ground, and whatever a table says is text.

usage: report_test.py TVQ SAMPLES            a few pages
       report_test.py TVQ SAMPLES --all      every sample, every captured dump, machines of 1 to 8 sockets

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import pathlib
import re
import sys
import tempfile
import unittest

import browser
import machines
import tables

TVQ, SAMPLES, FOLDER, WINDOW = None, None, None, None
WHOLE = False
WIDTHS = (390, 1280, 1920)
POINTS_PER_INCH = 72
PIXELS_PER_INCH, MARGIN = 96, 2 * 14 / 25.4
PAPERS = {"A4": (210 / 25.4, 297 / 25.4), "letter": (8.5, 11)}


def table(name, source):
    """A table in source form as a file."""
    file = FOLDER / f"{name}.bin"
    tables.run(TVQ, "mktable", "-", "-o", file, stdin=source.encode())
    return file


def page(name, *arguments):
    """The page about a table."""
    file = FOLDER / f"{name}.html"
    tables.run(TVQ, "report", *arguments, "-o", file, status=(0, 1))
    return file


def sample(name):
    return (tables.ROOT / "samples" / f"{name}.smbios").read_text(encoding="utf-8")


class Checks(unittest.TestCase):
    def check_layout(self, file, width, scheme="light", media="screen"):
        WINDOW.show(width, scheme, media)
        seen = WINDOW.look()
        self.assertEqual(seen["wrong"], [], f"{file.name}, {width} pixels, {scheme}, {media}")
        self.assertGreater(seen["texts"], 30)

    def check_sheets(self, document, width, height, name):
        self.assertTrue(document.startswith(b"%PDF-"), name)
        sheets = re.findall(rb"/MediaBox\s*\[([^\]]*)\]", document)
        self.assertGreater(len(sheets), 1, name)
        for sheet in sheets:
            left, bottom, right, top = map(float, sheet.split())
            self.assertAlmostEqual(right - left, width * POINTS_PER_INCH, delta=1, msg=name)
            self.assertAlmostEqual(top - bottom, height * POINTS_PER_INCH, delta=1, msg=name)

    def check(self, file):
        WINDOW.open(file)
        for width in WIDTHS:
            self.check_layout(file, width)
        self.check_layout(file, WIDTHS[1], "dark")
        for name, (width, height) in PAPERS.items():
            self.check_layout(file, int((width - MARGIN) * PIXELS_PER_INCH), "dark", "print")
            self.check_sheets(WINDOW.print(width, height), width, height, name)
        self.assertEqual(WINDOW.ask(), [], file.name)
        self.assertEqual(WINDOW.messages(), [], file.name)


class Pages(Checks):
    def test_the_page_of_a_server_fits_every_screen_and_paper(self):
        self.check(page("server", SAMPLES / "two-socket.bin"))

    def test_changes_are_marked_where_they_sit(self):
        source = sample("two-socket")
        before, after = table("before", source), table("after", machines.changed(source))
        self.check(page("changes", after, "--against", before))
        marked = WINDOW.run("return [...document.querySelectorAll('.box')].filter(box => box.querySelector('.badge.changed'))"
                            ".map(box => [box.querySelector('.name').textContent, box.querySelector('.badge.changed').textContent])")
        self.assertEqual(marked, [["DIMM_A3", "replaced"], ["DIMM_A5", "gone"], ["PCIe Slot 2", "changed"]])
        rows = WINDOW.run("return [...document.querySelectorAll('tr')].filter(row => row.querySelector('.badge.changed'))"
                          ".map(row => [row.querySelector('th span').textContent, row.querySelector('.badge').textContent])")
        self.assertEqual(rows, [["Riser 2", "changed"], ["PSU Bay 2", "replaced"]])
        told = WINDOW.run("return document.querySelector('#changes').innerText")
        for words in ("2.4.1 → 2.5.0", "accept it if it was exchanged on purpose", "reseat it; if it stays away"):
            self.assertIn(words, told)

    def test_a_mark_is_a_word_and_a_card_is_an_article(self):
        WINDOW.open(page("changed", table("after", machines.changed(sample("two-socket"))), "--against", table("before", sample("two-socket"))))
        WINDOW.run("document.querySelector('.badge').className = 'badge note'")
        mark, card = WINDOW.run("return ['.badge.note', 'article.note'].map(one => getComputedStyle(document.querySelector(one)).borderRadius)")
        self.assertEqual((mark, card), ("4px", "10px"))

    def test_what_a_table_says_is_text(self):
        self.check(page("hostile", table("hostile", machines.hostile(sample("two-socket"))), "--show-serials"))
        self.assertIsNone(WINDOW.run("return window.hacked === undefined ? null : 'a script of the table ran'"))
        shown = WINDOW.run("return document.body.innerText")
        self.assertGreater(shown.count("<script>hacked=1</script><img src=x onerror=hacked=1>'\"&amp;]]>"), 40)

    def test_a_machine_of_eight_sockets_and_128_modules(self):
        file = page("large", table("large", machines.machine(8, 128, 12)))
        self.check(file)
        self.assertEqual(WINDOW.run("return document.querySelectorAll('.box.module').length"), 128)
        self.assertEqual(WINDOW.run("return document.querySelectorAll('.socket .channels').length"), 8)


@unittest.skipUnless("--all" in sys.argv, "takes minutes: --all")
class EveryPage(Checks):
    def test_every_sample_and_captured_table(self):
        _, files = tables.program_and_tables([TVQ, SAMPLES])
        for file in files:
            with self.subTest(file=file.name):
                self.check(page(file.stem, file))

    def test_machines_of_1_to_8_sockets(self):
        for sockets in range(1, 9):
            for modules in (sockets, 8 * sockets, 16 * sockets):
                with self.subTest(sockets=sockets, modules=modules):
                    self.check(page("machine", table("machine", machines.machine(sockets, modules, sockets * 2))))

    def test_hostile_machines(self):
        for name in ("hbm-mixed", "hbm-only"):
            self.check(page(name, table(name, machines.hostile(sample(name)))))
        self.check(page("hostile-machine", table("hostile-machine", machines.hostile(machines.machine(2, 16)))))


def main(arguments):
    global TVQ, SAMPLES, FOLDER, WINDOW
    if browser.programs() is None:
        print("chromium or chromium-driver is missing")
        sys.exit(tables.SKIPPED)
    TVQ, SAMPLES = (pathlib.Path(argument).resolve() for argument in arguments[:2])
    with tempfile.TemporaryDirectory() as name, browser.Browser() as WINDOW:
        FOLDER = pathlib.Path(name)
        result = unittest.main(argv=[sys.argv[0], *(argument for argument in arguments[2:] if argument != "--all")], exit=False).result
    sys.exit(not result.wasSuccessful())


if __name__ == "__main__":
    main(sys.argv[1:])
