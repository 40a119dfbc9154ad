"""Reads the agent's report: how it ended, and what it says of the state saved by an earlier boot.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import itertools
import re
import typing

# The last line of a report when everything went well, and the start of it when something did not.
SUCCESS = "TvqAgent: success"
FAILED = "TvqAgent: failed: "
COMPARISON = "Since the saved state:"
SUMMARY = "Summary: "
STATE = "State: "
VERDICTS = ("no record", "not verified", "moved", "new", "gone", "replaced", "changed", "cannot tell", "same")


class Finding(typing.NamedTuple):
    """What the agent says of one device that somebody has to look at."""

    fqdd: str
    label: str  # what the machine prints at the place
    verdict: str
    detail: str  # what stands behind the verdict
    lines: tuple  # below


def last_line(report):
    lines = (report or "").rstrip().splitlines()
    return lines[-1].strip() if lines else ""


def succeeded(report):
    return last_line(report) == SUCCESS


def fqdds(report):
    """The FQDDs of the records in the report's order."""
    lines = report.splitlines()
    first = next((number for number, line in enumerate(lines) if re.fullmatch(r"Records: \d+", line)), len(lines))
    return [line.split()[0] for line in itertools.takewhile(str.strip, lines[first + 2 :])]


def state_section(report):
    """The lines about the saved state, from the comparison (or what stands in its place) to what became of the state."""
    lines = report.splitlines()
    last = max((index for index, line in enumerate(lines) if line.startswith(STATE)), default=None)
    if last is None:
        return []
    summary = [index for index, line in enumerate(lines) if line.startswith(SUMMARY)]
    first = lines.index(COMPARISON) if COMPARISON in lines else max(summary, default=last)
    return lines[first : last + 1]


def state_line(report):
    """What became of the state: the line's text without its title, empty when there is none."""
    lines = state_section(report)
    return lines[-1].removeprefix(STATE) if lines else ""


def findings(report):
    """The devices of the comparison that somebody has to look at, in the report's order."""
    title = re.compile(rf"  (\S.*?)(?: \((.*?)\))?: ({'|'.join(VERDICTS)})(?: (.*))?")
    found = []
    for line in state_section(report):
        match = title.fullmatch(line)
        if match:
            found.append(Finding(match[1], match[2] or "", match[3], match[4] or "", ()))
        elif found and line.startswith("      "):
            found[-1] = found[-1]._replace(lines=(*found[-1].lines, line.strip()))
    return found


def counts(report):
    """How many devices have each verdict."""
    summary = next((line for line in state_section(report) if line.startswith(SUMMARY)), SUMMARY)
    parts = (part.split(" ", 1) for part in summary.removeprefix(SUMMARY).split(", "))
    return {part[1]: int(part[0]) for part in parts if len(part) == 2 and part[1] in VERDICTS}
