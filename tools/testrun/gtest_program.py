#!/usr/bin/env python3
"""Runs the tests of one GoogleTest program in as few processes as it takes: one, unless a test ends it.

A test that crashes or hangs fails, and the program is started again for those that are left. Only what failed is shown.
TVQ_TEST_REGEX in the environment selects the tests whose names match. Exit status: 0 all passed, 1 not so.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import argparse
import dataclasses
import json
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import threading

REGEX = "TVQ_TEST_REGEX"
_RUN = re.compile(r"\[ RUN      \] (\S+)")
_END = re.compile(r"\[  ?( {5}OK|FAILED |SKIPPED) \] (\S+?)(?:, where .*)? \((\d+) ms\)$")


def matching(names, expression):
    return [name for name in names if re.search(expression, name)]


def listed(program):
    """The names of the program's tests, without those that are disabled."""
    result = subprocess.run([program, "--gtest_list_tests"], capture_output=True, text=True, check=False)
    if result.returncode != 0:
        sys.exit(f"{program} cannot list its tests:\n{result.stdout}{result.stderr}")
    names, suite = [], ""
    for line in result.stdout.splitlines():
        text = line.split("#")[0].rstrip()
        if not line.startswith(" "):
            suite = text
        elif not text.strip().startswith("DISABLED_") and "DISABLED_" not in suite:
            names.append(suite + text.strip())
    return names


@dataclasses.dataclass
class Outcome:
    """What became of one process of the program."""

    seconds: dict  # by test, of those that ended
    failures: dict  # by test, what it printed
    unfinished: str | None  # the test in which the process ended
    output: list  # what was printed outside tests
    status: int


class _Reader:
    """Sorts what the program prints by tests."""

    def __init__(self):
        self.outcome = Outcome({}, {}, None, [], 0)
        self._lines = []

    def line(self, line):
        began, ended = _RUN.match(line), _END.match(line)
        if began:
            self.outcome.unfinished, self._lines = began[1], []
        elif ended and ended[2] == self.outcome.unfinished:
            self.outcome.seconds[ended[2]] = int(ended[3]) / 1000
            if ended[1].startswith("FAILED"):
                self.outcome.failures[ended[2]] = self._lines
            self.outcome.unfinished = None
        elif self.outcome.unfinished:
            self._lines.append(line)
        else:
            self.outcome.output.append(line)

    def end(self, status):
        self.outcome.status = status
        if self.outcome.unfinished:
            self.outcome.failures[self.outcome.unfinished] = [*self._lines, how_it_ended(status)]
        return self.outcome


def how_it_ended(status):
    if status >= 0:
        return f"the program ended with {status} in this test"
    return f"the program ended with {signal.Signals(-status).name} in this test"


def run(program, names, seconds):
    """Runs these tests in one process."""
    reader = _Reader()
    with tempfile.NamedTemporaryFile("w", prefix="tvq-tests-") as flags:
        flags.write(f"--gtest_filter={':'.join(names)}\n--gtest_color=no\n")
        flags.flush()
        process = subprocess.Popen([program, f"--gtest_flagfile={flags.name}"], text=True, errors="replace",
                                   stdin=subprocess.DEVNULL, stdout=subprocess.PIPE, stderr=subprocess.STDOUT)
        while True:
            watch = threading.Timer(seconds, process.send_signal, (signal.SIGABRT,))
            watch.start()
            line = process.stdout.readline()
            watch.cancel()
            if not line:
                break
            reader.line(line.rstrip("\n"))
        return reader.end(process.wait())


def run_all(program, names, seconds_for_a_test):
    """Runs them all, whatever becomes of the program, and returns seconds and failures by test."""
    seconds, failures, left = {}, {}, list(names)
    while left:
        outcome = run(program, left, seconds_for_a_test)
        seconds |= outcome.seconds
        failures |= outcome.failures
        done = outcome.seconds.keys() | outcome.failures.keys()
        if outcome.unfinished is None and (outcome.status != 0) != bool(outcome.failures):
            # It complained outside any test, as the leak sanitizer does at the end.
            failures["(outside its tests)"] = [*outcome.output, f"the program ended with {outcome.status}"]
        remaining = [name for name in left if name not in done]
        if outcome.unfinished is None or len(remaining) == len(left):
            for name in remaining:
                failures[name] = ["it did not run"]
            break
        left = remaining
    return seconds, failures


def main(arguments):
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--results", type=pathlib.Path, required=True, help="takes the time of every test")
    parser.add_argument("--only", default="", help="a regular expression: those of the program's tests alone")
    parser.add_argument("--shard", default="1/1", help="K/N: the K-th of N parts")
    parser.add_argument("--seconds", type=int, default=120, help="a test that says nothing for so long hangs")
    parser.add_argument("program")
    options = parser.parse_args(arguments)
    part, parts = map(int, options.shard.split("/"))
    names = matching(listed(options.program), options.only)[part - 1::parts]
    names = matching(names, os.environ.get(REGEX, ""))
    seconds, failures = run_all(options.program, names, options.seconds)
    options.results.parent.mkdir(parents=True, exist_ok=True)
    options.results.write_text(json.dumps({"seconds": seconds, "failed": list(failures)}), encoding="utf-8")
    for name, lines in failures.items():
        print("\n".join((f"[  FAILED  ] {name}", *lines)))
    print(f"{len(names)} tests, {len(failures)} failed")
    return 1 if failures else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
