"""Runs the test programs: what each test reaches, and whether a mutant survives the tests that reach it.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import concurrent.futures
import dataclasses
import os
import pathlib
import queue
import subprocess
import tempfile


# Seconds. A mutant that loops for ever is found by quick tests, which are given little time.
_QUICK = 0.2
# So many of the quickest tests run before the others: most mutants do not survive them.
_FIRST = 8
# Seconds. Tests that take longer wait until the others of all programs have run.
_SLOW = 1.0


def _environment(folder):
    """That of a program whose files go to the folder."""
    return os.environ | {"TMPDIR": folder, "TEST_TMPDIR": folder}


class TestFailure(Exception):
    """A program whose tests fail without any mutant."""


@dataclasses.dataclass
class Test:
    """A test of a program, and the places of the code that it reaches."""
    name: str
    seconds: float
    points: frozenset


@dataclasses.dataclass
class Outcome:
    """What became of a mutant: killed, slow (killed by its limit of time), survived or unreached; and by which test."""
    result: str
    test: str = ""


class Program:
    """A test program."""

    def __init__(self, path, scratch):
        self.path = pathlib.Path(path)
        self.name = self.path.name
        self._record = scratch / f"{self.name}.reach"
        self._log = scratch / f"{self.name}.log"
        self.tests = []

    def reach(self):
        """Runs all tests once, without a mutant, unless that was done since the program was built."""
        if not self._record.is_file() or self._record.stat().st_mtime < self.path.stat().st_mtime:
            self._run_tests()
        for line in self._record.read_text(encoding="utf-8").splitlines():
            name, microseconds, _, *points = line.split()
            self.tests.append(Test(name, int(microseconds) / 1e6, frozenset(map(int, points))))

    def _of_pace(self, slow):
        return [test for test in self.tests if (test.seconds > _SLOW) == slow]

    def seconds(self, slow):
        """What its slow tests take, or the others."""
        return sum(test.seconds for test in self._of_pace(slow))

    def _run_tests(self):
        fresh = self._record.with_suffix(".new")
        # In a folder of its own, which nobody else may enter, as with a mutant.
        with open(self._log, "w", encoding="utf-8") as log, tempfile.TemporaryDirectory() as folder:
            status = subprocess.run([self.path.resolve(), "reach", fresh], stdout=log, stderr=log, cwd=folder,
                                    env=_environment(folder), check=False).returncode
        if status != 0:
            lines = map(str.split, fresh.read_text(encoding="utf-8").splitlines()) if fresh.is_file() else ()
            failed = [words[0] for words in lines if words[2] != "1"]
            raise TestFailure(f"{self.name} fails without a mutant ({', '.join(failed[:3]) or status}); see {self._log}")
        fresh.replace(self._record)

    def lines_for(self, mutant, slow):
        """What the program is told to run: of its slow tests that reach the mutant, or of the others, the quickest first."""
        tests = sorted((test for test in self._of_pace(slow) if mutant.point in test.points), key=lambda test: test.seconds)
        quick = sum(test.seconds < _QUICK for test in tests)
        first = min(quick, _FIRST)
        lines = []
        for group in (tests[:first], tests[first:quick], tests[quick:]):
            if group:
                # An endless loop shows by taking several times as long as the test does.
                limit = 1 + int(4 * max(test.seconds for test in group))
                lines.append(f"{mutant.number} {limit} {':'.join(test.name for test in group)}\n")
        return lines


class _Worker:
    """One running copy of a program, which takes a mutant after another."""

    def __init__(self, program, folder):
        self._process = subprocess.Popen([program.path, "run"], stdin=subprocess.PIPE, stdout=subprocess.PIPE,
                                         stderr=subprocess.DEVNULL, cwd=program.path.parent, text=True,
                                         env=_environment(folder))

    def run(self, lines):
        """Runs the lines until one kills the mutant."""
        for line in lines:
            outcome = self._run_line(line)
            if outcome.result != "survived":
                break
        return outcome

    def _run_line(self, line):
        self._process.stdin.write(line)
        self._process.stdin.flush()
        answer = self._process.stdout.readline().split()
        if len(answer) < 2:
            raise TestFailure(f"{self._process.args[0]} ended")
        return Outcome(answer[1], answer[2] if len(answer) > 2 else "")

    def close(self):
        self._process.stdin.close()
        self._process.wait()


def folder_of_mutants():
    """A folder that what mutants leave behind goes with. A tree's own would leave no room for the path of a test's socket,
    which has 107 characters at most."""
    return tempfile.TemporaryDirectory(ignore_cleanup_errors=True)


def run_mutants(program, slow, mutants, jobs, folder, report):
    """Runs the mutants that the program's slow tests reach, or its others, its files going to a folder of each worker's
    own; calls report(mutant, outcome) for each, and returns how many there were."""
    lines = [(mutant, found) for mutant in mutants if (found := program.lines_for(mutant, slow))]
    workers = queue.SimpleQueue()
    for number in range(min(jobs, len(lines))):
        own = pathlib.Path(folder, f"{number}")
        own.mkdir()
        workers.put(_Worker(program, str(own)))

    def run(item):
        worker = workers.get()
        try:
            return item[0], worker.run(item[1])
        finally:
            workers.put(worker)

    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        for mutant, outcome in pool.map(run, lines):
            report(mutant, outcome)
    while not workers.empty():
        workers.get().close()
    return len(lines)
