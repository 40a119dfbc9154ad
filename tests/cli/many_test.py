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

    def as_nobody(self):
        """How a command is run as somebody who may read the tables, and no more."""
        self.folder.chmod(0o755)
        for file in (self.folder / "rack").glob("*.bin"):
            file.chmod(0o644)
        return ["setpriv", "--reuid=65534", "--regid=65534", "--clear-groups"] if os.geteuid() == 0 else []

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

    def test_closed_standard_descriptors_cost_no_page(self):
        for closed in ("<&- >&-", "<&- >&- 2>&-", ">&- 2>&-", "<&-"):
            shutil.rmtree(self.folder / "pages", ignore_errors=True)
            command = f'exec "$0" report rack -o pages --jobs 3 {closed}'
            done = subprocess.run(["sh", "-c", command, TVQ], cwd=self.folder, capture_output=True, text=True, check=False)
            self.assertEqual((done.returncode, done.stderr), (1, ""), closed)
            self.assertEqual(len(list((self.folder / "pages").iterdir())), 4, closed)

    def test_an_output_that_is_closed_is_an_error(self):
        done = subprocess.run(["sh", "-c", 'exec "$0" export rack >&-', TVQ], cwd=self.folder, capture_output=True, text=True, check=False)
        self.assertEqual((done.returncode, done.stderr), (2, "tvq: error: the output cannot be written\n"))

    def test_one_table_is_a_line_like_many(self):
        for command in COMMANDS:
            for arguments in (["rack/0.bin"], ["--from-dump", "rack/0.bin"], ["bad.bin"]):
                done = self.tvq(command, "--ndjson", *arguments)
                line = json.loads(done.stdout)
                self.assertEqual(line["file"], arguments[-1])
                self.assertEqual(line["schema"], "tvq-failure" if "bad.bin" in arguments else f"tvq-{command}")
        line = json.loads(self.tvq("report", "--ndjson", "rack/0.bin", "-o", "page.html").stdout)
        self.assertEqual((line["file"], line["page"], line["changes"]), ("rack/0.bin", "page.html", None))
        self.assertEqual(json.loads(self.tvq("report", "--ndjson", "bad.bin", "-o", "page.html").stdout)["schema"], "tvq-failure")

    def test_a_page_and_its_line_do_not_share_the_output(self):
        for output in ([], ["-o", "-"]):
            done = self.tvq("report", "--ndjson", "rack/0.bin", *output)
            self.assertEqual((done.returncode, done.stdout), (2, ""))
            self.assertIn("-o report.html", done.stderr)

    def test_a_sarif_log_is_no_line(self):
        done = self.tvq("lint", "--ndjson", "--format", "sarif", "rack/0.bin")
        self.assertEqual((done.returncode, done.stdout), (2, ""))
        self.assertIn("`tvq lint --help`", done.stderr)

    def test_standard_input_is_named_once(self):
        for arguments in (["show", "-", "-", "rack/0.bin"], ["report", "-", "-", "-o", "pages"], ["report", "rack", "--against", "-", "-o", "pages"],
                          ["report", "-", "--against", "-", "-o", "page.html"]):
            done = self.tvq(*arguments)
            self.assertEqual((done.returncode, done.stdout), (2, ""), arguments)
            self.assertIn("once" if arguments[0] == "show" else "tvq report --help" if "rack" in arguments else "once", done.stderr)

    def test_what_cannot_be_read_below_a_folder_is_a_line_and_the_rest_goes_on(self):
        (self.folder / "rack" / "gone").symlink_to("nowhere.bin")
        done = self.tvq("export", "rack")
        lines = [json.loads(line) for line in done.stdout.splitlines()]
        self.assertEqual([line["schema"] for line in lines], ["tvq-export"] * 3 + ["tvq-failure"])
        self.assertEqual(lines[3]["error"], "rack/gone is a link that leads nowhere")
        self.assertEqual(done.returncode, 2)

    @unittest.skipIf(os.geteuid() == 0 and shutil.which("setpriv") is None, "root reads everything")
    def test_a_folder_below_that_nobody_may_read_costs_nothing_else(self):
        (self.folder / "rack" / "lost+found").mkdir(mode=0)
        command = [*self.as_nobody(), TVQ, "export", "rack"]
        done = subprocess.run(command, cwd=self.folder, capture_output=True, text=True, check=False)
        lines = [json.loads(line) for line in done.stdout.splitlines()]
        self.assertEqual([line["schema"] for line in lines], ["tvq-export"] * 3 + ["tvq-failure"], done.stderr)
        self.assertIn("cannot read the folder rack/lost+found: Permission denied", lines[3]["error"])
        named = subprocess.run([*command, "rack/lost+found"], cwd=self.folder, capture_output=True, text=True, check=False)
        self.assertEqual((named.returncode, named.stdout), (2, ""))

    def test_the_name_of_a_file_commands_no_terminal(self):
        name = "\x1b]0;evil\x07\u202e.bin"
        shutil.copy(self.folder / "rack" / "0.bin", self.folder / "rack" / name)
        shutil.copy(self.folder / "bad.bin", self.folder / "rack" / ("bad" + name))
        for command in ("show", "lint"):
            done = self.tvq(command, "rack")
            self.assertIn("rack/\\x1B]0;evil\\x07\\x202E.bin:", done.stdout)
            self.assertIn("rack/bad\\x1B]0;evil", done.stderr)
            for character in "\x1b\x07\u202e":
                self.assertNotIn(character, done.stdout + done.stderr)

    @unittest.skipIf(os.geteuid() == 0 and shutil.which("setpriv") is None, "root reads everything")
    def test_a_hint_has_the_command_line_also_of_a_worker(self):
        as_nobody = self.as_nobody()
        (self.folder / "rack" / "secret.bin").write_bytes(b"")
        (self.folder / "rack" / "secret.bin").chmod(0)
        done = subprocess.run([*as_nobody, TVQ, "export", "rack"], cwd=self.folder, capture_output=True, text=True, check=False)
        self.assertIn("`sudo tvq export rack`", done.stderr)
        self.assertEqual(json.loads(done.stdout.splitlines()[-1])["hint"], "only root may do that: `sudo tvq export rack`")

    def test_pages_have_names_of_their_own(self):
        names = ("Index.bin", "INDEX.dmp", "a.b", "a.bin", "A.TXT", "." * 3 + ".bin", "n" * 200 + ".bin")
        (self.folder / "all").mkdir()
        for name in names:
            shutil.copy(self.folder / "rack" / "0.bin", self.folder / "all" / ("x" + name if name.startswith(".") else name))
        done = self.tvq("report", "--ndjson", "all", "-o", "pages")
        pages = [json.loads(line)["page"] for line in done.stdout.splitlines()]
        self.assertEqual(pages, ["A.html", "INDEX-2.html", "Index-3.html", "a.b.html", "a-2.html", "n" * 100 + ".html", "x....html"])
        self.tvq("save", "v1.2", "--from-dump", "rack/0.bin")
        done = self.tvq("report", "--ndjson", "v1.2/", "rack/0.bin", "-o", "more")
        self.assertEqual([json.loads(line)["page"] for line in done.stdout.splitlines()], ["v1.2.html", "0.html"])

    def test_the_name_of_a_file_gives_no_serial_number_away(self):
        shutil.copy(self.folder / "rack" / "0.bin", self.folder / "TVQ2S01.bin")
        self.tvq("report", "TVQ2S01.bin", "rack/1.bin", "--against", "TVQ2S01.bin", "-o", "pages")
        names = sorted(file.name for file in (self.folder / "pages").iterdir())
        self.assertEqual(names, ["1.html", "index.html", "machine.html"])
        for name in names:
            self.assertNotIn("TVQ2S01", (self.folder / "pages" / name).read_text(encoding="utf-8"))
        self.tvq("report", "TVQ2S01.bin", "rack/1.bin", "--show-serials", "-o", "shown")
        self.assertTrue((self.folder / "shown" / "TVQ2S01.html").exists())

    def test_a_failed_table_gives_no_serial_number_away(self):
        (self.folder / "machine-CCC3").mkdir()
        (self.folder / "machine-CCC3" / "state-1.bin").write_bytes(b"TVQ")
        self.tvq("report", "machine-CCC3", "rack/0.bin", "-o", "pages")
        index = (self.folder / "pages" / "index.html").read_text(encoding="utf-8")
        self.assertIn("No page: ", index)
        self.assertNotIn("CCC3", index)
        self.assertIn("1 machine</h1>", index)
        self.assertIn("1 table without a page", index)

    def test_the_status_is_3_where_none_has_a_state_yet(self):
        (self.folder / "states").mkdir()
        against = ("--against", "states", "-o", "pages")
        self.assertEqual(self.tvq("report", "rack", *against).returncode, 3)
        self.assertEqual(self.tvq("report", "rack", "bad.bin", *against).returncode, 2)

    def test_what_was_not_compared_has_no_number_of_changes(self):
        self.tvq("save", "state", "--from-dump", "rack/0.bin", "--as-is")
        done = self.tvq("report", "--ndjson", "rack/0.bin", "rack/1.bin", "--against", "state", "-o", "pages")
        self.assertEqual([json.loads(line)["changes"] for line in done.stdout.splitlines()], [None, None])
        index = (self.folder / "pages" / "index.html").read_text(encoding="utf-8")
        self.assertIn('data-title="Changes" class="none" data-value="-1">\u2013<', index)

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
            for scheme, media in (("dark", "screen"), ("light", "print"), ("dark", "print")):
                window.show(700 if media == "print" else 1280, scheme, media)
                self.assertEqual(window.look()["wrong"], [], (scheme, media))
            self.assertEqual(window.run("return getComputedStyle(document.querySelector('input').closest('div')).display"), "none")
            self.assertEqual([what for what in window.ask() if "landmark nav" not in what], [])
            # What a finger touches in the middle of each button is that button.
            for width in (390, 800, 1280):
                window.show(width)
                hit = window.run("""return [...document.querySelectorAll('th button')].map(button => {
                    const box = button.getBoundingClientRect();
                    return document.elementFromPoint(box.left + box.width / 2, box.top + box.height / 2) === button; });""")
                self.assertEqual(hit, [True] * 9, width)
            # No heading is broken within a word.
            window.show(1280)
            cut = window.run("""return [...document.querySelectorAll('th button')].filter(button => {
                const range = document.createRange(); range.selectNodeContents(button.firstChild);
                return new Set([...range.getClientRects()].map(rect => rect.top)).size > button.textContent.split(' ').length; })
                .map(button => button.textContent);""")
            self.assertEqual(cut, [])
            window.show(390)
            window.run("[...document.querySelectorAll('th button')].find(one => one.textContent === 'Memory').click()")
            self.assertEqual(window.run(names)[0], "rack/0.bin")
            self.assertEqual(window.run("return document.querySelector('[aria-sort]').getAttribute('aria-sort')"), "descending")
            window.run("const field = document.querySelector('input'); field.value = 'hbm rack/1'; field.dispatchEvent(new Event('input'))")
            self.assertEqual(window.run(names), ["rack/1.bin"])
            self.assertEqual(window.messages(), [])

    @unittest.skipIf(browser.programs() is None, "there is no browser")
    def test_the_index_shows_hostile_names_as_text(self):
        hostile = "<script>hacked=1<&script><img src=x onerror=hacked=1>'\"]]>.bin"
        shutil.copy(self.folder / "rack" / "0.bin", self.folder / "rack" / hostile)
        (self.folder / "rack" / ("bad" + hostile)).write_bytes(b"no table")
        self.tvq("report", "rack", "-o", "pages")
        with browser.Browser() as window:
            window.open(self.folder / "pages" / "index.html")
            for width in (390, 1280):
                window.show(width)
                self.assertEqual(window.look()["wrong"], [], width)
            self.assertEqual([what for what in window.ask() if "landmark nav" not in what], [])
            self.assertIsNone(window.run("return window.hacked === undefined ? null : 'it ran'"))
            self.assertEqual(window.run("return document.body.innerText.split(arguments[0]).length - 1".replace("arguments[0]", json.dumps(hostile))), 3)
            self.assertEqual(window.messages(), [])


def main(arguments):
    global TVQ, SAMPLES
    TVQ, SAMPLES = (pathlib.Path(argument).resolve() for argument in arguments[:2])
    unittest.main(argv=[sys.argv[0], *arguments[2:]])


if __name__ == "__main__":
    main(sys.argv[1:])
