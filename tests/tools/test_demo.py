"""Tests of tools/demo.py and tools/table_source.py: what changes in the sample, and what counts as found.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import pathlib
import stat
import tempfile
import unittest

import scripts  # noqa: F401
import agent_report
import demo
import machine
import table_source

SOURCE = """version = 3.3

[slot 0x0900 @one]  # the first
name  = "One"
names = "more"

[slot like @one]
name = "Two"

[slot 0x0902 @three like @one]
"""


def report(**verdicts):
    """A report in which each device has its verdict, but for what is given."""
    findings = demo.FOUND | {fqdd.replace("_", "."): verdict for fqdd, verdict in verdicts.items()}
    lines = [f"  {fqdd} (label): {verdict}" for fqdd, verdict in findings.items() if verdict]
    summary = "Summary: 5 same, 1 cannot tell"
    return "\n".join(["Since the saved state:", *lines, summary, "State: left", "", "TvqAgent: success", ""])


class Source(unittest.TestCase):
    def test_a_field_that_is_there_is_changed(self):
        changed = table_source.set_field(SOURCE, "one", "name", '"1"')
        self.assertEqual(changed, SOURCE.replace('name  = "One"', 'name = "1"'))

    def test_a_field_that_is_not_there_is_added_to_its_block_alone(self):
        self.assertEqual(table_source.set_field(SOURCE, "three", "name", '"3"'), SOURCE + 'name = "3"\n')

    def test_a_field_is_taken_away(self):
        self.assertEqual(table_source.set_field(SOURCE, "one", "name", None), SOURCE.replace('name  = "One"\n', ""))

    def test_a_block_that_is_like_another_is_not_the_other(self):
        self.assertEqual([table_source.own_label(line) for line in SOURCE.splitlines() if "[" in line], ["one", None, "three"])

    def test_a_block_that_is_not_there_is_named(self):
        with self.assertRaisesRegex(table_source.SourceError, "no block @four"):
            table_source.set_field(SOURCE, "four", "name", '"4"')

    def test_a_builder_that_is_missing_is_named_with_what_to_do(self):
        with self.assertRaisesRegex(table_source.SourceError, "/no/such is missing; ./dev build tables"):
            table_source.build_dump("/no/such", "a.smbios", "a.bin")

    def test_what_the_builder_complains_about_is_the_error(self):
        with tempfile.TemporaryDirectory() as folder:
            builder = pathlib.Path(folder, "builder")
            builder.write_text("#!/bin/sh\necho \"$1:3: error: no such field\" >&2\nexit 2\n")
            builder.chmod(builder.stat().st_mode | stat.S_IXUSR)
            with self.assertRaisesRegex(table_source.SourceError, r"^a\.smbios:3: error: no such field$"):
                table_source.build_dump(builder, "a.smbios", "a.bin")


class Sample(unittest.TestCase):
    def test_exactly_the_fields_of_these_parts_change(self):
        sample = machine.SAMPLE.read_text(encoding="utf-8")
        for text, side in zip(demo.sources(sample), ("before", "after")):
            fields = {f"{name} = {value}" for change in demo.CHANGES for name, value in getattr(change, side).items() if value}
            self.assertEqual(set(text.splitlines()) - set(sample.splitlines()), fields - set(sample.splitlines()))

    def test_no_other_block_takes_over_what_changes(self):
        for line in machine.SAMPLE.read_text(encoding="utf-8").splitlines():
            for change in demo.CHANGES:
                self.assertNotRegex(line, rf"^\[.*like @{change.label}\b")

    def test_there_is_one_of_each_verdict(self):
        shown = {change.verdict for change in demo.CHANGES} | {"same"}
        self.assertEqual(shown, set(agent_report.VERDICTS))


class Verdict(unittest.TestCase):
    def problems(self, **verdicts):
        return list(demo.problems(report(**verdicts)))

    def test_these_and_nothing_else_is_what_is_expected(self):
        self.assertEqual(self.problems(), [])

    def test_a_part_that_has_another_verdict_is_a_problem(self):
        self.assertEqual(
            self.problems(DIMM_Socket_A3="changed"), ["DIMM.Socket.A3 is reported as changed, expected: replaced"]
        )

    def test_a_part_that_is_not_reported_is_a_problem(self):
        self.assertEqual(self.problems(DIMM_Socket_A3=None), ["DIMM.Socket.A3 is reported as nothing, expected: replaced"])

    def test_a_part_that_was_left_alone_and_is_reported_is_a_problem(self):
        for verdict in agent_report.VERDICTS:
            with self.subTest(verdict=verdict):
                self.assertEqual(
                    self.problems(DIMM_Socket_A1=verdict), [f"DIMM.Socket.A1 is reported as {verdict}, expected: nothing"]
                )

    def test_no_part_that_is_counted_is_a_problem(self):
        text = report().replace("5 same, 1 cannot tell", "6 same")
        self.assertEqual(list(demo.problems(text)), ["no device is 'cannot tell'"])

    def test_a_run_that_failed_is_a_problem(self):
        found = list(demo.problems(report().replace("success", "failed: something")))
        self.assertEqual(found, ["the report ends with 'TvqAgent: failed: something'"])


if __name__ == "__main__":
    unittest.main()
