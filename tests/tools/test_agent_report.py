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
  CPU Socket 2 (CPU 2): replaced
      another part than was here, says the driver
      Configuration/cpuData/CoreCount: 32 -> 36
  memory module: new
  DIMM.Socket.A1 (P1-DIMMA1): moved from DIMM.Socket.B1 (P1-DIMMB1)
  DIMM.Socket.B1.with.more.than.thirty (A label (with more)): gone
  System.Embedded.1: not verified
Summary: 1 same, 2 cannot tell, 1 replaced, 1 gone, 1 new, 1 moved, 1 not verified
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
        self.assertEqual(len(section), 10)

    def test_of_an_unchanged_machine_it_begins_with_the_summary(self):
        quiet = "Saved\n\nSummary: 3 same\nState: left as it was saved\n\nTvqAgent: success\n"
        self.assertEqual(agent_report.state_section(quiet), ["Summary: 3 same", "State: left as it was saved"])
        self.assertEqual(agent_report.findings(quiet), [])
        self.assertEqual(agent_report.counts(quiet), {"same": 3})

    def test_a_first_boot_has_only_the_state(self):
        self.assertEqual(agent_report.state_section(FIRST), ["State: saved; later boots are compared with it"])
        self.assertEqual(agent_report.findings(FIRST), [])

    def test_a_report_without_one_has_no_section(self):
        self.assertEqual(agent_report.state_section("Records: none\n"), [])
        self.assertEqual(agent_report.state_line("Records: none\n"), "")

    def test_the_state_is_told_without_its_title(self):
        self.assertEqual(agent_report.state_line(FIRST), "saved; later boots are compared with it")


class Findings(unittest.TestCase):
    def test_every_device_has_its_verdict_and_what_stands_below(self):
        below = ("another part than was here, says the driver", "Configuration/cpuData/CoreCount: 32 -> 36")
        self.assertEqual(
            agent_report.findings(COMPARED),
            [
                Finding("CPU Socket 2", "CPU 2", "replaced", "", below),
                Finding("memory module", "", "new", "", ()),
                Finding("DIMM.Socket.A1", "P1-DIMMA1", "moved", "from DIMM.Socket.B1 (P1-DIMMB1)", ()),
                Finding("DIMM.Socket.B1.with.more.than.thirty", "A label (with more)", "gone", "", ()),
                Finding("System.Embedded.1", "", "not verified", "", ()),
            ],
        )

    def test_the_summary_counts_all(self):
        self.assertEqual(
            agent_report.counts(COMPARED),
            {"same": 1, "cannot tell": 2, "replaced": 1, "gone": 1, "new": 1, "moved": 1, "not verified": 1},
        )
        self.assertEqual(agent_report.counts(FIRST), {})


if __name__ == "__main__":
    unittest.main()
