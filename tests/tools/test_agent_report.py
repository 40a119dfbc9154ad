"""Tests of tools/agent_report.py.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import unittest

import scripts  # noqa: F401
import agent_report
from agent_report import Finding

COMPARED = """Records: 2
  FQDD           Label  Class
  CPU.Socket.1   CPU1   same
  DIMM.Socket.0  DIMM 0 same

Since the saved state:
  CPU.Socket.1                    CPU1              same
  CPU Socket 2                    CPU 2             replaced
  -                               -                 new
  DIMM.Socket.A1                  P1-DIMMA1         moved: was DIMM.Socket.B1
  DIMM.Socket.B1.with.more.than.thirty  A label with more than 16  gone
  System.Embedded.1               -                 not verified: the saved document is laid out otherwise
Summary: 1 same, 1 replaced, 1 new, 1 moved, 1 gone, 1 not verified
State: left as it was saved; the option accept saves this boot's

TvqAgent: success
"""
FIRST = "Start: Success\n\nState: saved; later boots are compared with it\n\nTvqAgent: success\n"


class Records(unittest.TestCase):
    def test_their_fqdds_are_the_first_words_of_the_rows(self):
        self.assertEqual(agent_report.fqdds(COMPARED), ["CPU.Socket.1", "DIMM.Socket.0"])

    def test_there_may_be_none(self):
        self.assertEqual(agent_report.fqdds("Records: none\n\nTvqAgent: failed: no record\n"), [])


class Ending(unittest.TestCase):
    def test_success_is_the_last_line(self):
        self.assertTrue(agent_report.succeeded("3 records\nTvqAgent: success\n\n"))

    def test_success_further_up_does_not_count(self):
        self.assertFalse(agent_report.succeeded("TvqAgent: success\nTvqAgent: failed: no record\n"))

    def test_no_report_is_no_success(self):
        self.assertFalse(agent_report.succeeded(None))
        self.assertFalse(agent_report.succeeded(""))


class State(unittest.TestCase):
    def test_the_section_goes_from_the_comparison_to_the_state(self):
        section = agent_report.state_section(COMPARED)
        self.assertEqual((section[0], section[-1]), ("Since the saved state:", COMPARED.splitlines()[-3]))
        self.assertEqual(len(section), 9)

    def test_a_first_boot_has_only_the_state(self):
        self.assertEqual(agent_report.state_section(FIRST), ["State: saved; later boots are compared with it"])
        self.assertEqual(agent_report.findings(FIRST), [])

    def test_a_report_without_one_has_no_section(self):
        self.assertEqual(agent_report.state_section("Records: none\n"), [])
        self.assertEqual(agent_report.state_line("Records: none\n"), "")

    def test_the_state_is_told_without_its_title(self):
        self.assertEqual(agent_report.state_line(FIRST), "saved; later boots are compared with it")


class Findings(unittest.TestCase):
    def test_every_device_has_its_verdict_and_what_is_added_to_it(self):
        self.assertEqual(
            agent_report.findings(COMPARED),
            [
                Finding("CPU.Socket.1", "CPU1", "same", ""),
                Finding("CPU Socket 2", "CPU 2", "replaced", ""),
                Finding("-", "-", "new", ""),
                Finding("DIMM.Socket.A1", "P1-DIMMA1", "moved", "was DIMM.Socket.B1"),
                Finding("DIMM.Socket.B1.with.more.than.thirty", "A label with more than 16", "gone", ""),
                Finding("System.Embedded.1", "-", "not verified", "the saved document is laid out otherwise"),
            ],
        )


if __name__ == "__main__":
    unittest.main()
