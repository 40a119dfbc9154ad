#!/usr/bin/env python3
"""Runs the tests of a build with ctest, says how far they are and how long they will take, and names the slowest.

Exit status: that of ctest; 2 where no test is meant.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import argparse
import fnmatch
import functools
import json
import os
import pathlib
import re
import subprocess
import sys
import time

import gtest_program
from progress import Progress

SLOWEST = 10
# Of a test that never ran here.
UNKNOWN_SECONDS = 3.0
# Every test of this label is a GoogleTest program, run by gtest_program.py.
PROGRAM_LABEL = "program"

_ENDED = re.compile(r"\s*\d+/\d+ Test +#\d+: (\S+) \.*\s*(Passed|\*+.*?|Not Run.*?|Skipped.*?) +([\d.]+) sec")
_STARTED = re.compile(r"\s*Start\s+\d+: (\S+)")


class Test:
    """One test of ctest: a program of many tests, or a script."""

    def __init__(self, entry):
        self.name = entry["name"]
        self.command = entry.get("command", [])
        properties = {item["name"]: item["value"] for item in entry.get("properties", [])}
        self.labels = properties.get("LABELS", [])
        self.cost = float(properties.get("COST", UNKNOWN_SECONDS))

    def is_program(self):
        return PROGRAM_LABEL in self.labels

    def tests(self):
        """The names of a program's tests, those of all its parts."""
        only = self.command[self.command.index("--only") + 1]
        return gtest_program.matching(_listed(self.command[-1]), only)


@functools.lru_cache(maxsize=None)
def _listed(program):
    return gtest_program.listed(program)


def read_tests(build, config, label):
    command = ["ctest", "--test-dir", str(build), "--show-only=json-v1"]
    command += ["-C", config] if config else []
    command += ["-L", label] if label else []
    result = subprocess.run(command, capture_output=True, text=True, check=False)
    if result.returncode != 0:
        sys.exit(f"ctest cannot list the tests:\n{result.stdout}{result.stderr}")
    return [Test(entry) for entry in json.loads(result.stdout)["tests"]]


def select(tests, expression):
    """The tests whose names match, and the programs that have such tests."""
    return [test for test in tests
            if gtest_program.matching(test.tests() if test.is_program() else [test.name], expression)]


class Estimate:
    """How long tests take, by what they took the last time."""

    def __init__(self, file, tests, jobs):
        self._file = file
        self._jobs = jobs
        self._known = json.loads(file.read_text(encoding="utf-8")) if file.is_file() else {}
        self._left = {test.name: self._known.get(test.name, test.cost) for test in tests}

    def took(self, name, seconds):
        self._left.pop(name, None)
        self._known[name] = seconds

    def seconds_left(self, started):
        """`started`: when the tests began that run now, by name."""
        now = time.monotonic()
        left = {name: max(seconds - (now - started.get(name, now)), 0.5) for name, seconds in self._left.items()}
        return max([sum(left.values()) / self._jobs, *left.values()], default=0.0)

    def save(self):
        self._file.parent.mkdir(parents=True, exist_ok=True)
        self._file.write_text(json.dumps(self._known, indent=1, sort_keys=True), encoding="utf-8")


def run_ctest(command, tests, estimate, progress):
    """Passes on what ctest says of failures, and returns its status, its closing lines and the seconds of each test."""
    seconds, started, closing = {}, {}, []
    process = subprocess.Popen(command, text=True, errors="replace", stdin=subprocess.DEVNULL, stdout=subprocess.PIPE,
                               stderr=subprocess.STDOUT)
    for line in process.stdout:
        line = line.rstrip("\n")
        began, ended = _STARTED.match(line), _ENDED.match(line)
        if began:
            started[began[1]] = time.monotonic()
        elif ended:
            name, outcome, took = ended[1], ended[2], float(ended[3])
            started.pop(name, None)
            seconds[name] = took
            estimate.took(name, took)
            if outcome != "Passed":
                progress.say(line)
            progress.done(len(seconds), len(tests), estimate.seconds_left(started), f"{name} {took:.1f} s")
        elif closing or re.match(r"\d+% tests passed", line):
            closing.append(line)
        elif line and not line.startswith(("Internal ctest", "Test project ")):
            progress.say(line)
    progress.end()
    return process.wait(), closing, seconds


def results_of(build, tests, seconds):
    """The seconds of every single test."""
    every = {}
    for test in tests:
        file = build / "Testing" / "programs" / f"{test.name}.json"
        if test.is_program() and test.name in seconds and file.is_file():
            every |= json.loads(file.read_text(encoding="utf-8"))["seconds"]
        elif test.name in seconds:
            every[test.name] = seconds[test.name]
    return every


def report(every, closing, began):
    print("\nThe slowest:")
    for name, took in sorted(every.items(), key=lambda item: -item[1])[:SLOWEST]:
        print(f"  {took:7.1f} s  {name}")
    print(f"\n{len(every):,} tests ran, in {time.monotonic() - began:.0f} s, many of them in one program:\n")
    print("\n".join(closing))


def ctest_command(options, tests, everything):
    command = ["ctest", "--test-dir", str(options.build), "--output-on-failure", "--no-label-summary", "--no-tests=error",
               "-j", str(options.jobs)]
    command += ["-C", options.config] if options.config else []
    if len(tests) != len(everything):
        command += ["-R", f"^({'|'.join(re.escape(test.name) for test in tests)})$"]
    elif options.label:
        command += ["-L", options.label]
    return command


def main(arguments):
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("build", type=pathlib.Path)
    parser.add_argument("--jobs", type=int, default=2)
    parser.add_argument("--match", default="", help="a regular expression over the names of tests")
    parser.add_argument("--names", nargs="*", help="the tests of ctest alone whose names are like one of these patterns")
    parser.add_argument("--config", default="")
    parser.add_argument("--label", default="")
    options = parser.parse_args(arguments)
    everything = read_tests(options.build, options.config, options.label)
    tests = [test for test in everything
             if options.names is None or any(fnmatch.fnmatchcase(test.name, name) for name in options.names)]
    if options.match:
        tests = select(tests, options.match)
        os.environ[gtest_program.REGEX] = options.match
    if not tests:
        print(f"test: no test's name matches '{options.match}'" if options.match else "test: there is no test to run",
              file=sys.stderr)
        return 2
    for file in (options.build / "Testing" / "programs").glob("*.json"):
        file.unlink()
    began = time.monotonic()
    # A part of the tests says nothing of how long all of them take.
    times = options.build / "Testing" / ("times-of-parts.json" if options.match else "times.json")
    estimate = Estimate(times, tests, options.jobs)
    progress = Progress()
    status, closing, seconds = run_ctest(ctest_command(options, tests, everything), tests, estimate, progress)
    estimate.save()
    report(results_of(options.build, tests, seconds), closing, began)
    return status


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
