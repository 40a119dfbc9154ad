"""Tests of tests/bench/driver_bench.py and image_size.py: how figures are made of what was measured.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import contextlib
import io
import json
import pathlib
import tempfile
import unittest

import scripts  # noqa: F401
import driver_bench
import image_size
import whole_process
from report import Figure, Section

LISTING = """0000000000000010 0000000000000008 t Short\t/src/TvqSmbiosPkg/src/uefi/entry.cpp:10
0000000000000018 0000000000000008 T BasePrintLibSPrintMarker\t/edk2/MdePkg/Library/BasePrintLib/PrintLibInternal.c:1
0000000000000018 0000000000000008 t AnotherNameOfIt\t/edk2/MdePkg/Library/BasePrintLib/PrintLibInternal.c:1
0000000000000020 0000000000000004 t CopyMem\t/edk2/MdePkg/Library/BaseMemoryLib/CopyMemWrapper.c:2
0000000000000030 0000000000000010 d gData\t/src/TvqSmbiosPkg/src/uefi/entry.cpp:12
0000000000000040 0000000000000010 t WithoutALine
"""


def image():
    content = bytearray(b"\xff" * 0x10 + b"A blank\0" + b"\xcc" * 12 + b"\xff" * 4)
    return bytes(content) + b"Found %d\0" + b"L1\0" + "Wide one\n\0".encode("utf-16-le") + b"MakeCPUs\0" + b"\xff" * 7


class Sizes(unittest.TestCase):
    def setUp(self):
        self.functions = image_size.symbols(LISTING)
        self.sizes = image_size.breakdown(image(), self.functions, {"MakeCPUs"})

    def test_a_function_with_two_names_counts_once(self):
        self.assertEqual(self.functions, [(0x10, 8, image_size.OWN), (0x18, 8, image_size.PRINT),
                                          (0x20, 4, image_size.LIBRARIES)])

    def test_code_counts_for_the_library_it_comes_from(self):
        self.assertEqual([self.sizes[group] for group in (image_size.OWN, image_size.PRINT, image_size.LIBRARIES)],
                         [8, 8, 4])

    def test_log_texts_count_with_their_terminators_in_either_width(self):
        self.assertEqual(self.sizes[image_size.LOG], len("Found %d") + 1 + 2 * (len("Wide one\n") + 1) + len("MakeCPUs") + 1)

    def test_other_texts_are_no_log_texts(self):
        self.assertEqual(self.sizes[image_size.TEXTS], len("L1") + 1)

    def test_everything_adds_up_to_the_image(self):
        self.assertEqual(sum(self.sizes.values()), len(image()))

    def test_elements_of_documents_are_no_log_texts(self):
        texts = ["<error>Configuration Unsupported</error>", "CoreCount", "CPU0"]
        self.assertEqual([image_size.is_log_text(text, set()) for text in texts], [False] * 3)

    def test_routines_that_log_are_found_in_the_sources(self):
        source = 'constexpr Logger kLog("MakeCPUs");\n  Logger("FindFqdd")(u"Handle 0x%X not found\\n", Handle);\n'
        self.assertEqual(image_size.routine_names([source]), {"MakeCPUs", "FindFqdd"})

    def test_an_image_that_is_not_there_is_a_mistake(self):
        with self.assertRaisesRegex(image_size.SizeError, "TVQSMBIOS.efi cannot be measured"):
            image_size.measure(pathlib.Path("/nowhere/TVQSMBIOS.efi"), pathlib.Path("/nowhere/TVQSMBIOS.debug"), [])


class Growth(unittest.TestCase):
    def test_linear_growth_doubles(self):
        self.assertEqual(driver_bench.doubling([(50, 1000), (100, 2000), (400, 8000)]), [2.0, 2.0])

    def test_quadratic_growth_takes_four_times_whatever_the_step(self):
        factors = driver_bench.doubling([(100, 100 ** 2), (200, 200 ** 2), (250, 250 ** 2)])
        self.assertEqual([round(factor, 6) for factor in factors], [4, 4])


class ManyTables(unittest.TestCase):
    def line(self, schema):
        return json.dumps({"file": "a.bin", "schema": schema}) + "\n"

    def test_every_table_has_to_be_exported(self):
        driver_bench.check_lines(self.line("tvq-export") * driver_bench.MANY_TABLES)
        for lines in ("", self.line("tvq-export") * (driver_bench.MANY_TABLES - 1),
                      self.line("tvq-export") * (driver_bench.MANY_TABLES - 1) + self.line("tvq-failure")):
            with self.assertRaises(driver_bench.MeasureError):
                driver_bench.check_lines(lines)

    def test_a_run_that_failed_is_not_measured(self):
        self.assertEqual(whole_process.answer(["sh", "-c", "echo done; exit 1"], most=1), "done\n")
        with self.assertRaisesRegex(whole_process.TimingError, "status 2: why"):
            whole_process.answer(["sh", "-c", "echo why >&2; exit 2"], most=1)


class WholeProcesses(unittest.TestCase):
    def test_the_ratio_is_that_of_the_medians_of_runs_in_turn(self):
        runs = []

        def clock(command):
            runs.append(command)
            return {"slow": 3.0, "fast": 1.0}[command] + (100 if len(runs) < 10 else 0)

        self.assertEqual(whole_process.ratio("slow", "fast", clock), 3.0)
        self.assertEqual(runs, ["slow", "fast"] * whole_process.RUNS)

    def test_a_program_that_crashes_is_not_timed(self):
        with self.assertRaisesRegex(whole_process.TimingError, "was ended by signal 6"):
            whole_process.seconds(["sh", "-c", "kill -ABRT $$"])
        self.assertGreater(whole_process.seconds(["false"]), 0)

    def test_a_program_that_is_not_there_cannot_be_timed(self):
        with self.assertRaisesRegex(whole_process.TimingError, "no-such-program is missing"):
            whole_process.program("no-such-program")


class Ending(unittest.TestCase):
    def show(self, value, as_json=False):
        output = io.StringIO()
        with contextlib.redirect_stdout(output):
            status = driver_bench.show([Section("Start", [Figure("start", "130 records", value, target=100)])], as_json)
        return status, output.getvalue()

    def test_the_status_tells_whether_all_targets_are_met(self):
        self.assertEqual(self.show(100)[0], 0)
        self.assertEqual(self.show(101)[0], 1)

    def test_programs_read_the_same_figures(self):
        status, output = self.show(101, as_json=True)
        self.assertEqual((status, json.loads(output)[0]["figures"][0]["value"]), (1, 101))

    def test_what_cannot_be_measured_is_trouble(self):
        errors = io.StringIO()
        with tempfile.TemporaryDirectory() as folder, contextlib.redirect_stderr(errors):
            self.assertEqual(driver_bench.main(["--programs", folder, "--quick"]), 2)
        self.assertRegex(errors.getvalue(), r"^bench: .*tvq_bench_instructions.map: No such file or directory\n$")


if __name__ == "__main__":
    unittest.main()
