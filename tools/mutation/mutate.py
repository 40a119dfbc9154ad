#!/usr/bin/env python3
"""Changes the driver one operator, constant or status at a time, and runs the tests that reach the change.

usage: mutate.py write ROOT PLAIN-BUILD TREE      writes the driver with all changes in it, and mutants.json
       mutate.py run ROOT TREE BUILD [SOURCE...] [--jobs N] [--tests REGEX] [--json FILE]
                                                  runs the test programs that BUILD made of it

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import argparse
import dataclasses
import json
import pathlib
import re
import sys
import time

import programs
import report
from mutant import Mutant


def write(arguments):
    import sources  # libclang is wanted here alone

    root, tree = arguments.root.resolve(), arguments.tree.resolve()
    mutants = sources.write_changed(root, arguments.plain.resolve(), tree)
    text = json.dumps([dataclasses.asdict(mutant) for mutant in mutants], indent=1)
    (tree / "mutants.json").write_text(text, encoding="utf-8")
    print(f"{len(mutants)} mutants")
    return 0


def read_mutants(tree, wanted):
    """The mutants of the sources that are named, or of all."""
    entries = json.loads((tree / "mutants.json").read_text(encoding="utf-8"))
    mutants = [Mutant(**entry) for entry in entries]
    for name in wanted:
        if not any(mutant.file.endswith(name) for mutant in mutants):
            sys.exit(f"mutate: there is nothing to change in '{name}'")
    return [mutant for mutant in mutants if not wanted or any(mutant.file.endswith(name) for name in wanted)]


def note(text):
    print(f"== {text}", file=sys.stderr, flush=True)


class Run:
    """Takes the mutants through the programs, the quickest first; a mutant that is killed leaves."""

    def __init__(self, mutants, killed, jobs):
        self._alive = [mutant for mutant in mutants if mutant.number not in killed]
        self._jobs = jobs
        self.outcomes = {mutant.number: programs.Outcome("unreached") for mutant in mutants} | killed

    def _take(self, mutant, outcome):
        self.outcomes[mutant.number] = outcome

    def through(self, program):
        start = time.monotonic()
        programs.run_mutants(program, self._alive, self._jobs, self._take)
        before = len(self._alive)
        self._alive = [mutant for mutant in self._alive if self.outcomes[mutant.number].result not in report.KILLED]
        note(f"{program.name}: {before - len(self._alive)} of {before} killed ({time.monotonic() - start:.0f} s)")


def run(arguments):
    mutants = read_mutants(arguments.tree, arguments.sources)
    scratch = arguments.build.resolve() / "mutation"
    scratch.mkdir(exist_ok=True)
    listed = (arguments.build / "driver_tests.txt").read_text(encoding="utf-8").split()
    all_programs = [programs.Program(path, scratch) for path in listed
                    if re.search(arguments.tests, pathlib.Path(path).name)]
    for program in all_programs:
        program.reach()
    note(f"{len(mutants)} mutants, {sum(len(program.tests) for program in all_programs)} tests")
    killed = report.killed_before(arguments.again, mutants) if arguments.again else {}
    progress = Run(mutants, killed, arguments.jobs)
    for program in sorted(all_programs, key=lambda program: program.seconds):
        progress.through(program)
    explanations = report.read_explanations(arguments.root / "tests" / "mutation" / "equivalent.toml")
    result = report.Report(mutants, progress.outcomes, explanations)
    if arguments.json:
        arguments.json.write_text(json.dumps(result.as_json(), indent=1) + "\n", encoding="utf-8")
    for part in (result.details(), result.table()):
        if part:
            print(part)
    return 0 if result.share() < report.TARGET and not result.stale() else 1


def main():
    parser = argparse.ArgumentParser(usage=__doc__.split("\n\n")[1])
    actions = parser.add_subparsers(required=True)
    action = actions.add_parser("write")
    for name in ("root", "plain", "tree"):
        action.add_argument(name, type=pathlib.Path)
    action.set_defaults(action=write)
    action = actions.add_parser("run")
    for name in ("root", "tree", "build"):
        action.add_argument(name, type=pathlib.Path)
    action.add_argument("--jobs", type=int, default=1)
    action.add_argument("--tests", default="")
    action.add_argument("--json", type=pathlib.Path)
    action.add_argument("--again", type=pathlib.Path)
    action.add_argument("sources", nargs="*")
    action.set_defaults(action=run)
    arguments = parser.parse_args()
    try:
        return arguments.action(arguments)
    except (OSError, programs.TestFailure, report.ExplanationError) as error:
        print(f"mutate: {error}", file=sys.stderr)
        return 2


if __name__ == "__main__":
    sys.exit(main())
