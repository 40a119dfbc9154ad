"""Tests of the end-to-end tests' own logic: a comparison that cannot fail would prove nothing.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import pathlib
import tempfile
import unittest

import scripts  # noqa: F401
import assertion_test
import guard_test
import run_test
import shell_test
import virtual_machine


def names(*fqdds):
    taken = set()
    return [run_test.file_name(fqdd, taken) for fqdd in fqdds]


class FileNames(unittest.TestCase):
    def test_letters_digits_and_some_punctuation_stay(self):
        self.assertEqual(names("CPU.Socket.1", "a-b_c"), ["CPU.Socket.1.tvq", "a-b_c.tvq"])

    def test_everything_else_becomes_an_underscore(self):
        self.assertEqual(names("DIMM A/1:\\é"), ["DIMM_A_1___.tvq"])

    def test_a_name_without_text_is_record(self):
        self.assertEqual(names("", None), ["record.tvq", "record-2.tvq"])

    def test_a_long_name_is_cut_and_still_numbered(self):
        self.assertEqual(names("a" * 49, "a" * 50), ["a" * 48 + ".tvq", "a" * 48 + "-2.tvq"])

    def test_a_name_that_is_taken_gets_a_number_whatever_its_case(self):
        self.assertEqual(names("DIMM.A1", "dimm.a1", "DIMM.A1"), ["DIMM.A1.tvq", "dimm.a1-2.tvq", "DIMM.A1-3.tvq"])

    def test_a_number_that_is_taken_itself_is_passed_over(self):
        self.assertEqual(names("x", "x-2", "x"), ["x.tvq", "x-2.tvq", "x-3.tvq"])


class Comparison(unittest.TestCase):
    def differences(self, expected, saved):
        return list(run_test.compare(expected, saved))

    def test_equal_files_have_no_difference(self):
        self.assertEqual(self.differences({"a.tvq": b"1"}, {"a.tvq": b"1"}), [])

    def test_a_missing_and_a_surplus_file_are_named(self):
        self.assertEqual(
            self.differences({"a.tvq": b""}, {"b.tvq": b""}),
            ["a.tvq: the firmware saved no such file", "b.tvq: saved by the firmware, but tvq has no such record"],
        )

    def test_the_first_different_byte_is_shown(self):
        (line,) = self.differences({"a.tvq": b"\x01\x02\x03"}, {"a.tvq": b"\x01\xff\x03"})
        self.assertIn("differs from offset 0x1 on (tvq 3 bytes: 0203, firmware 3 bytes: ff03)", line)

    def test_a_shorter_file_differs_at_its_end(self):
        (line,) = self.differences({"a.tvq": b"\x01\x02"}, {"a.tvq": b"\x01"})
        self.assertIn("differs from offset 0x1 on (tvq 2 bytes: 02, firmware 1 bytes: )", line)

    def test_the_blobs_of_a_record_follow_each_other(self):
        export = {"records": [{"fqdd": "CPU.1", "inventoryBlob": "01", "configurationBlob": "0203", "endBlob": "ff"}]}
        self.assertEqual(run_test.expected_files(export), {"CPU.1.tvq": b"\x01\x02\x03\xff"})

    def test_a_blob_that_is_missing_adds_nothing(self):
        export = {"records": [{"fqdd": None, "inventoryBlob": None, "configurationBlob": "02", "endBlob": None}]}
        self.assertEqual(run_test.expected_files(export), {"record.tvq": b"\x02"})


class Expectations(unittest.TestCase):
    def test_a_run_that_fails_is_a_problem(self):
        (line,) = run_test.report_problems("TvqAgent: failed: no table\n", None)
        self.assertIn("ends with 'TvqAgent: failed: no table'", line)

    def test_a_run_has_to_fail_for_the_expected_reason(self):
        self.assertEqual(list(run_test.report_problems("TvqAgent: failed: no table\n", "no table")), [])
        self.assertEqual(len(list(run_test.report_problems("TvqAgent: failed: no volume\n", "no table"))), 1)
        self.assertEqual(len(list(run_test.report_problems("TvqAgent: success\n", "no table"))), 1)

    def test_a_line_that_the_log_does_not_have_is_named(self):
        log = "0x00800000 MakeDIMMs            Entry MakeDIMMs\n\n0x00800000 MakeCPUs\n"
        self.assertEqual(list(run_test.log_problems(log, ["MakeDIMMs: Entry MakeDIMMs"])), [])
        self.assertEqual(
            list(run_test.log_problems(log, ["MakeCPUs: Entry MakeDIMMs"])),
            ["log.txt has no line 'MakeCPUs: Entry MakeDIMMs'"],
        )

    def test_no_record_at_all_has_to_be_expected(self):
        self.assertEqual(len(list(run_test.record_problems({}, {}, None))), 1)
        self.assertEqual(list(run_test.record_problems({}, {}, 0)), [])

    def test_the_number_of_records_counts(self):
        files = {"a.tvq": b"1"}
        self.assertEqual(list(run_test.record_problems(files, files, 1)), [])
        self.assertEqual(list(run_test.record_problems(files, files, 2)), ["tvq found 1 records, expected: 2"])


class RunsInTheShell(unittest.TestCase):
    RUN = shell_test.Run("stop", has=("taken off",), has_not=("Left",), log_has=("Entry",), log_has_not=("Exit",))

    def problems(self, report="3 taken off\nTvqAgent: success\n", log="Entry\n"):
        return list(shell_test.step_problems(self.RUN, report, log))

    def test_each_run_keeps_its_report_and_log(self):
        steps = ("load X", self.RUN, shell_test.TvqPlatformTest("all OK"))
        self.assertEqual(
            list(shell_test.script(steps)),
            [
                "load X",
                "TvqAgent stop",
                "cp -q TVQ\\report.txt TVQ\\report1.txt",
                "cp -q TVQ\\log.txt TVQ\\log1.txt",
                "TvqPlatformTest >a TVQ\\report2.txt",
            ],
        )

    def test_what_is_expected_has_no_problem(self):
        self.assertEqual(self.problems(), [])

    def test_everything_else_has_one(self):
        self.assertEqual(self.problems(report="3 taken off\n")[0][:40], "the report ends with '3 taken off', expe")
        self.assertEqual(self.problems(report="TvqAgent: success"), ["the report lacks 'taken off'"])
        self.assertEqual(self.problems(report="taken off, Left\nTvqAgent: success"), ["the report has 'Left'"])
        self.assertEqual(self.problems(log=""), ["the log lacks 'Entry'"])
        self.assertEqual(self.problems(log="Entry Exit"), ["the log has 'Exit'"])

    def test_a_run_that_left_no_report_is_a_problem(self):
        with tempfile.TemporaryDirectory() as folder:
            found = list(shell_test.problems((self.RUN,), pathlib.Path(folder)))
        self.assertTrue(found[0].startswith("step 1, Run 'stop': the report ends with ''"), found)


class Guards(unittest.TestCase):
    STOPPED = "the firmware stopped with a processor exception"
    BEHIND = "TvqFaults: reading the byte behind a block of pool\n"

    def test_guarded_firmware_stops_at_its_guard(self):
        self.assertEqual(list(guard_test.problems("tail", self.STOPPED, self.BEHIND)), [])

    def test_guarded_firmware_that_goes_on_is_a_problem(self):
        serial = self.BEHIND + "TvqFaults: it is 0xAF\nTvqFaults: outside : Success\n"
        self.assertEqual(len(list(guard_test.problems("tail", None, serial))), 2)
        self.assertEqual(list(guard_test.problems(None, None, serial)), [])

    def test_firmware_that_stops_elsewhere_is_a_problem(self):
        self.assertEqual(len(list(guard_test.problems("head", self.STOPPED, self.BEHIND))), 1)
        self.assertEqual(len(list(guard_test.problems("tail", self.STOPPED, ""))), 1)


class Assertions(unittest.TestCase):
    FAILED = "ASSERT [TVQSMBIOS] src/uefi/tvq(53): CR has Bad Signature\n"
    WENT_ON = "TvqFaults: the driver went on: Unsupported\nTvqFaults: assert : Success\n"

    def problems(self, serial, released=b"MZ"):
        return len(list(assertion_test.problems(serial, released)))

    def test_one_that_is_printed_before_the_driver_goes_on_is_expected(self):
        self.assertEqual(self.problems(self.FAILED + self.WENT_ON), 0)

    def test_one_that_is_not_printed_or_not_alone_is_a_problem(self):
        self.assertEqual(self.problems(self.WENT_ON), 1)
        self.assertEqual(self.problems("ASSERT [TvqAgent] a.c(1): b\n" + self.FAILED + self.WENT_ON), 1)
        self.assertEqual(self.problems(self.FAILED + self.FAILED + self.WENT_ON), 1)

    def test_a_driver_that_does_not_go_on_is_a_problem(self):
        self.assertEqual(self.problems(self.FAILED), 1)

    def test_an_assertion_in_a_released_image_is_a_problem(self):
        self.assertEqual(self.problems(self.FAILED + self.WENT_ON, b"..CR has Bad Signature.."), 1)

    def test_every_boot_is_searched_for_some(self):
        self.assertEqual(virtual_machine.assertions("one\n" + self.FAILED), [self.FAILED.strip()])
        self.assertEqual(virtual_machine.assertions(self.WENT_ON), [])


if __name__ == "__main__":
    unittest.main()
