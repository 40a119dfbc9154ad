"""Many tables at once: the order of the output, the bad file that is passed over, a worker that crashes, the memory, and the index
of many pages in a browser.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import contextlib
import json
import os
import pathlib
import shutil
import subprocess
import sys
import tempfile
import unittest

import browser
import tables

TVQ, SAMPLES = None, None
COMMANDS = ("show", "export", "lint")


class Many(unittest.TestCase):
    def setUp(self):
        owner = tempfile.TemporaryDirectory()
        self.addCleanup(owner.cleanup)
        self.folder = pathlib.Path(owner.name)
        (self.folder / "rack").mkdir()
        for i, sample in enumerate(("two-socket", "hbm-mixed", "hbm-only")):
            shutil.copy(SAMPLES / f"{sample}.bin", self.folder / "rack" / f"{i}.bin")
        (self.folder / "bad.bin").write_bytes(b"no table at all")
        self.tables = ["rack/2.bin", "bad.bin", "rack"]
        self.order = ["rack/2.bin", "bad.bin", "rack/0.bin", "rack/1.bin", "rack/2.bin"]

    def tvq(self, *arguments):
        return subprocess.run([TVQ, *map(str, arguments)], cwd=self.folder, capture_output=True, text=True, check=False)

    def test_each_table_has_a_line_in_the_order_of_the_arguments(self):
        for command in COMMANDS:
            for jobs in (1, 3):
                done = self.tvq(command, "--ndjson", "--jobs", str(jobs), *self.tables)
                lines = [json.loads(line) for line in done.stdout.splitlines()]
                self.assertEqual([line["file"] for line in lines], self.order)
                self.assertEqual([line["schema"] for line in lines][:2], [f"tvq-{command}", "tvq-failure"])

    def test_a_line_has_what_the_document_of_the_table_alone_has(self):
        for command, json_option in (("show", ["--json"]), ("export", []), ("lint", ["--json"])):
            alone = json.loads(self.tvq(command, *json_option, "rack/1.bin").stdout)
            line = json.loads(self.tvq(command, "--ndjson", "rack/0.bin", "rack/1.bin").stdout.splitlines()[1])
            self.assertEqual(line.pop("file"), "rack/1.bin")
            self.assertEqual(line, alone)

    def test_texts_stand_below_the_names_of_their_tables(self):
        done = self.tvq("show", *self.tables)
        names = [line.rstrip(":") for line in done.stdout.splitlines() if line.endswith(".bin:")]
        self.assertEqual(names, [name for name in self.order if name != "bad.bin"])

    def test_a_bad_file_is_named_and_passed_over(self):
        done = self.tvq("show", *self.tables)
        self.assertIn("tvq: bad.bin:\ntvq: error:", done.stderr)
        self.assertEqual(done.returncode, 2)
        self.assertEqual(self.tvq("show", "rack").returncode, 0)

    def test_what_is_found_wins_over_what_could_not_be_done(self):
        source = (tables.ROOT / "tests" / "e2e" / "clash.smbios").read_text(encoding="utf-8")
        tables.run(TVQ, "mktable", "-", "-o", self.folder / "clash.bin", stdin=source.encode())
        self.assertEqual(self.tvq("lint", "clash.bin", "bad.bin", "rack/0.bin").returncode, 1)
        self.assertEqual(self.tvq("lint", "rack/0.bin", "bad.bin").returncode, 2)

    def test_a_single_table_can_be_a_line_too(self):
        self.assertEqual(json.loads(self.tvq("export", "--ndjson", "rack/0.bin").stdout)["file"], "rack/0.bin")

    def test_the_rows_of_each_machine_have_its_name(self):
        done = self.tvq("export", "--rows", *self.tables)
        hosts = [json.loads(line)["host"] for line in done.stdout.splitlines()]
        self.assertEqual(list(dict.fromkeys(hosts)), ["2", "0", "1"])
        self.assertEqual(done.returncode, 2)

    def progress(self, *arguments):
        """What stands on a terminal on which standard error is shown."""
        terminal, ours = os.openpty()
        process = subprocess.Popen([TVQ, *arguments], cwd=self.folder, stdout=subprocess.DEVNULL, stderr=ours)
        os.close(ours)
        shown = b""
        with contextlib.suppress(OSError), open(terminal, "rb", buffering=0) as screen:
            while part := screen.read(4096):
                shown += part
        process.wait()
        return shown.decode()

    def test_a_terminal_shows_how_far_it_is(self):
        shown = self.progress("show", "rack/0.bin", "bad.bin", "rack/1.bin")
        steps = [shown.index(f"\r{number} of 3 tables") for number in (1, 2, 3)]
        self.assertEqual(steps, sorted(steps))
        self.assertIn("\r\x1b[Ktvq: bad.bin:", shown)
        self.assertTrue(shown.endswith("\r\x1b[K"), "it leaves nothing behind")
        self.assertEqual(self.progress("show", "rack/0.bin"), "")
        self.assertEqual(self.tvq("show", "rack").stderr, "", "no terminal, no progress")

    def test_memory_does_not_grow_with_the_number_of_tables(self):
        def peak(count):
            listed = ["rack/0.bin"] * count
            code = ("import resource, subprocess, sys; subprocess.run(sys.argv[1:], stdout=subprocess.DEVNULL, check=True);"
                    "print(resource.getrusage(resource.RUSAGE_CHILDREN).ru_maxrss)")
            # A sanitizer keeps what was freed.
            environment = {**os.environ, "ASAN_OPTIONS": "quarantine_size_mb=0:detect_leaks=0"}
            done = subprocess.run([sys.executable, "-c", code, TVQ, "export", *listed], cwd=self.folder, capture_output=True, text=True,
                                  check=True, env=environment)
            return int(done.stdout)
        few, many = peak(20), peak(400)
        self.assertLess(many, few * 1.1 + 1024, f"{few} KB for 20 tables, {many} KB for 400")

    def test_the_pages_of_many_have_an_index(self):
        done = self.tvq("report", "--ndjson", *self.tables, "-o", "pages")
        self.assertEqual(done.returncode, 1, done.stderr)
        pages = [json.loads(line).get("page") for line in done.stdout.splitlines()]
        self.assertEqual(pages, ["2.html", None, "0.html", "1.html", "2.html"])
        names = sorted(file.name for file in (self.folder / "pages").iterdir())
        self.assertEqual(names, ["0.html", "1.html", "2.html", "index.html"])
        index = (self.folder / "pages" / "index.html").read_text(encoding="utf-8")
        self.assertIn("No page: bad.bin is no SMBIOS table", index)

    @unittest.skipIf(browser.programs() is None, "there is no browser")
    def test_the_index_sorts_and_filters(self):
        self.tvq("report", *self.tables, "-o", "pages")
        names = "return [...document.querySelectorAll('tbody tr:not([hidden]) th')].map(cell => cell.textContent.trim())"
        with browser.Browser() as window:
            window.open(self.folder / "pages" / "index.html")
            self.assertEqual(window.run(names), self.order)
            for width in (390, 1280, 1920):
                window.show(width)
                self.assertEqual(window.look()["wrong"], [], width)
            window.run("[...document.querySelectorAll('th button')].find(one => one.textContent === 'Memory').click()")
            self.assertEqual(window.run(names)[0], "rack/0.bin")
            self.assertEqual(window.run("return document.querySelector('[aria-sort]').getAttribute('aria-sort')"), "descending")
            window.run("const field = document.querySelector('input'); field.value = 'hbm rack/1'; field.dispatchEvent(new Event('input'))")
            self.assertEqual(window.run(names), ["rack/1.bin"])
            self.assertEqual(window.messages(), [])


def main(arguments):
    global TVQ, SAMPLES
    TVQ, SAMPLES = (pathlib.Path(argument).resolve() for argument in arguments[:2])
    unittest.main(argv=[sys.argv[0], *arguments[2:]])


if __name__ == "__main__":
    main(sys.argv[1:])
