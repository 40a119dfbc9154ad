#!/usr/bin/env python3
"""Says how much of the driver the unit tests run: lines and branches by file, and why the rest is not run.

usage: coverage.py ROOT BUILD

BUILD is a CMake tree with TVQ_COVERAGE whose test programs have run. The reasons stand in tests/coverage.toml. A detailed
report is written to BUILD/html. Exit status: 0 the targets are met and every gap has a reason, 1 not so, 2 trouble.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import dataclasses
import json
import pathlib
import subprocess
import sys
import tomllib

LINES_TARGET = 100.0
BRANCHES_TARGET = 98.0


@dataclasses.dataclass(frozen=True)
class Gap:
    """Something in a line that was not run: the line itself, or some of its branches."""
    file: str
    line: int
    code: str
    kind: str
    missed: int


@dataclasses.dataclass(frozen=True)
class Exemption:
    """Why gaps of a kind in lines of this text are none that a test could close."""
    file: str
    code: str
    kind: str
    why: str

    def covers(self, gap):
        return (self.file, self.code, self.kind) == (gap.file, gap.code, gap.kind)


class CoverageError(Exception):
    """Figures or reasons that cannot be had."""


def read_exemptions(path):
    try:
        entries = tomllib.loads(path.read_text(encoding="utf-8")).get("gap", [])
    except tomllib.TOMLDecodeError as error:
        raise CoverageError(f"{path}: {error}") from error
    for entry in entries:
        if set(entry) != {"file", "code", "kind", "why"} or entry["kind"] not in ("line", "branch"):
            raise CoverageError(f"{path}: a gap has file, code, kind (line or branch) and why")
    return [Exemption(**entry) for entry in entries]


class File:
    """The counts of one source."""

    def __init__(self, name, counts, text):
        self.name = name
        self.lines = self.run = self.branches = self.taken = 0
        self.gaps = []
        source = text.splitlines()
        for entry in counts:
            if entry.get("gcovr/noncode"):
                continue
            self._count(entry, source[entry["line_number"] - 1].strip())

    def _count(self, entry, code):
        self.lines += 1
        self.run += entry["count"] > 0
        branches = entry.get("branches", [])
        taken = sum(branch["count"] > 0 for branch in branches)
        self.branches += len(branches)
        self.taken += taken
        if entry["count"] == 0:
            self.gaps.append(Gap(self.name, entry["line_number"], code, "line", 1))
        if taken < len(branches):
            self.gaps.append(Gap(self.name, entry["line_number"], code, "branch", len(branches) - taken))


def gcovr(root, build):
    """The counts of all files; writes the report for a browser on the way."""
    folder = build / "html"
    folder.mkdir(exist_ok=True)
    output = build / "coverage.json"
    command = ["gcovr", "--root", root, "--object-directory", build, "--filter", f"{root}/TvqSmbiosPkg/(src|Library)/",
               "--json", output, "--html-details", folder / "index.html", "--html-title", "Coverage of the driver",
               build / "host" / "CMakeFiles" / "tvq_image_driver_own.dir"]
    result = subprocess.run(command, capture_output=True, text=True, check=False)
    if result.returncode != 0:
        raise CoverageError(result.stderr.strip())
    return json.loads(output.read_text(encoding="utf-8"))["files"]


def percent(part, whole):
    return 100 * part / whole if whole else 100.0


def table(files):
    """A line for each file and one for all of them."""
    width = max(len(file.name) for file in files)
    lines = [f"{'file':{width}}  lines   run        branches  taken"]
    total = File("all", [], "")
    for file in [*files, total]:
        lines.append(f"{file.name:{width}}  {file.lines:5}  {file.run:4}  {percent(file.run, file.lines):5.1f}%  "
                     f"{file.branches:7}  {file.taken:5}  {percent(file.taken, file.branches):5.1f}%")
        if file is not total:
            total.lines += file.lines
            total.run += file.run
            total.branches += file.branches
            total.taken += file.taken
    return "\n".join(lines), total


def explain(gaps, exemptions):
    """The gaps with their reasons, and what is wrong: gaps without one, reasons without a gap."""
    lines, wrong = [], []
    for gap in gaps:
        reason = next((exemption.why for exemption in exemptions if exemption.covers(gap)), None)
        what = "not run" if gap.kind == "line" else f"{gap.missed} of its branches not taken"
        text = f"{gap.file}:{gap.line}: {what}: {gap.code}"
        if reason is None:
            wrong.append(f"{text}\n    without a reason")
        else:
            lines.append(f"{text}\n    {reason}")
    wrong += [f"{exemption.file}: has a reason, but no such gap ({exemption.kind}): {exemption.code}"
              for exemption in exemptions if not any(exemption.covers(gap) for gap in gaps)]
    return lines, wrong


def main(arguments):
    if len(arguments) != 2:
        print(__doc__, file=sys.stderr)
        return 2
    root, build = (pathlib.Path(argument).resolve() for argument in arguments)
    try:
        exemptions = read_exemptions(root / "tests" / "coverage.toml")
        files = [File(entry["file"], entry["lines"], (root / entry["file"]).read_text(encoding="utf-8"))
                 for entry in gcovr(root, build)]
    except (OSError, CoverageError) as error:
        print(f"coverage: {error}", file=sys.stderr)
        return 2
    figures, total = table(files)
    reasons, wrong = explain([gap for file in files for gap in file.gaps], exemptions)
    print("\n".join([*reasons, *wrong, figures]))
    met = percent(total.run, total.lines) >= LINES_TARGET and percent(total.taken, total.branches) >= BRANCHES_TARGET
    return 0 if met and not wrong else 1


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
