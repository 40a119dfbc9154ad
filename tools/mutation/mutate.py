#!/usr/bin/env python3
"""Changes the code one operator, constant or status at a time, and runs the tests that reach the change.

usage: mutate.py write ROOT PLAIN-BUILD TREE [NAME...] [--jobs N]
                         copies the repository with all changes of what is named in it, and writes TREE.json
       mutate.py targets TREE BUILD [NAME...] [--tests REGEX]
                         names the test programs that contain what is named
       mutate.py run ROOT TREE BUILD [NAME...] [--jobs N] [--changed[=REV]] [--sample N] [--tests REGEX] [--json FILE]
                     [--again FILE]
                         runs the test programs that BUILD made of it

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import argparse
import concurrent.futures
import dataclasses
import json
import pathlib
import re
import sys
import time

import programs
import results
import selection
from areas import AREAS, area_of
from mutant import Mutant


# Seconds.
_MINUTE = 60.0


def _list_of(tree):
    """Where the mutants of a tree are listed."""
    return tree.with_name(f"{tree.name}.json")


def write(arguments):
    import sources  # libclang is wanted here alone

    root, tree = arguments.root.resolve(), arguments.tree.resolve()
    changed, uncompiled = sources.write_changed(root, arguments.plain.resolve(), tree, arguments.jobs,
                                                lambda file: selection.is_named(file, arguments.names))
    mutants = [dataclasses.asdict(mutant) for file in changed.values() for mutant in file.mutants]
    left = {name: file.left for name, file in changed.items()}
    _list_of(tree).write_text(json.dumps({"mutants": mutants, "left": left, "uncompiled": uncompiled}, indent=1),
                              encoding="utf-8")
    print(f"{len(mutants)} mutants")
    return 0


def note(text):
    print(f"== {text}", file=sys.stderr, flush=True)


class Run:
    """Takes the mutants through the programs, the quickest first; a mutant that is killed leaves. Those that are explained
    do not wait for slow tests."""

    def __init__(self, mutants, killed, explained, jobs, every_minute=lambda: None):
        self._alive = [mutant for mutant in mutants if mutant.number not in killed]
        self._explained = explained
        self._jobs = jobs
        self._every_minute = every_minute
        self.outcomes = {mutant.number: programs.Outcome("unreached") for mutant in mutants} | killed

    def _take(self, name, done):
        """What notes an outcome, and says each minute how many there are. `done` is the time of the last such note."""
        taken = 0

        def take(mutant, outcome):
            nonlocal taken, done
            self.outcomes[mutant.number] = outcome
            taken += 1
            if time.monotonic() - done >= _MINUTE:
                done = time.monotonic()
                note(f"{name}: {taken} so far, now in {mutant.file}")
                self._every_minute()

        return take

    def through(self, program, slow, scratch):
        start = time.monotonic()
        mutants = [mutant for mutant in self._alive if not (slow and mutant.number in self._explained)]
        reached = programs.run_mutants(program, slow, mutants, self._jobs, scratch, self._take(program.name, start))
        before = len(self._alive)
        self._alive = [mutant for mutant in self._alive if self.outcomes[mutant.number].result not in results.KILLED]
        if reached:
            note(f"{program.name}{', slow tests' if slow else ''}: {before - len(self._alive)} of {reached} killed, "
                 f"{before} were alive ({time.monotonic() - start:.0f} s)")


def _listed(tree):
    return json.loads(_list_of(tree).read_text(encoding="utf-8"))


def _mutants(listed, names):
    return selection.named([Mutant(**entry) for entry in listed["mutants"]], names)


def _program_paths(build, mutants, pattern):
    """The test programs that contain the mutants' files."""
    wanted = frozenset().union(*(AREAS[area_of(file)].contents for file in {mutant.file for mutant in mutants}))
    lines = [line.split() for line in (build / "unit_tests.txt").read_text(encoding="utf-8").splitlines()]
    return [pathlib.Path(path) for path, *contents in lines
            if wanted & set(contents) and re.search(pattern, pathlib.Path(path).name)]


def targets(arguments):
    mutants = _mutants(_listed(arguments.tree), arguments.names)
    print(" ".join(path.name for path in _program_paths(arguments.build, mutants, arguments.tests)))
    return 0


def _programs(paths, scratch, jobs):
    """The test programs, with what each of their tests reaches."""
    found = [programs.Program(path, scratch) for path in paths]
    with concurrent.futures.ThreadPoolExecutor(jobs) as pool:
        list(pool.map(programs.Program.reach, found))
    return found


def keep(path, result):
    """Writes what is known so far, so that a run that is cut off is gone on with by --again."""
    if path:
        fresh = path.with_name(f"{path.name}.new")
        fresh.write_text(json.dumps(result.as_json(), indent=1) + "\n", encoding="utf-8")
        fresh.replace(path)


def run(arguments):
    start = time.monotonic()
    everything = _listed(arguments.tree)
    mutants = _mutants(everything, arguments.names)
    paths = _program_paths(arguments.build, mutants, arguments.tests)
    if arguments.changed is not None:
        mutants = selection.on_lines(mutants, selection.changed_lines(arguments.root, arguments.changed))
    if arguments.sample:
        mutants = selection.sample(mutants, arguments.sample)
    if not mutants:
        print("mutate: there is nothing to change")
        return 0
    scratch = arguments.build.resolve() / "mutation"
    scratch.mkdir(exist_ok=True)
    all_programs = _programs(paths, scratch, arguments.jobs)
    note(f"{len(mutants)} mutants, {sum(len(program.tests) for program in all_programs)} tests")
    killed = results.killed_before(arguments.again, mutants) if arguments.again else {}
    explanations = results.read_explanations(arguments.root / "tests" / "mutation" / "equivalent")
    progress = Run(mutants, killed, results.explained(explanations, mutants), arguments.jobs,
                   lambda: keep(arguments.json, result))
    is_part = arguments.changed is not None or bool(arguments.sample)
    result = results.Report(mutants, progress.outcomes, explanations, everything["left"], is_part)
    for slow in (False, True):
        for program in sorted(all_programs, key=lambda program: program.seconds(slow)):
            with programs.folder_of_mutants() as folder:
                progress.through(program, slow, folder)
            keep(arguments.json, result)
    note(f"took {time.monotonic() - start:.0f} s")
    for part in (result.details(), result.table(), selection.uncompiled(everything["uncompiled"])):
        if part:
            print(part)
    return 0 if result.is_good() else 1


def main():
    parser = argparse.ArgumentParser(usage=__doc__.split("\n\n")[1])
    actions = parser.add_subparsers(required=True)
    action = actions.add_parser("write")
    for name in ("root", "plain", "tree"):
        action.add_argument(name, type=pathlib.Path)
    action.add_argument("--jobs", type=int, default=1)
    action.add_argument("names", nargs="*")
    action.set_defaults(action=write)
    action = actions.add_parser("targets")
    for name in ("tree", "build"):
        action.add_argument(name, type=pathlib.Path)
    action.add_argument("--tests", default="")
    action.add_argument("names", nargs="*")
    action.set_defaults(action=targets)
    action = actions.add_parser("run")
    for name in ("root", "tree", "build"):
        action.add_argument(name, type=pathlib.Path)
    action.add_argument("--jobs", type=int, default=1)
    action.add_argument("--changed")
    action.add_argument("--sample", type=int)
    action.add_argument("--tests", default="")
    action.add_argument("--json", type=pathlib.Path)
    action.add_argument("--again", type=pathlib.Path)
    action.add_argument("names", nargs="*")
    action.set_defaults(action=run)
    arguments = parser.parse_args()
    try:
        return arguments.action(arguments)
    except (OSError, programs.TestFailure, results.ExplanationError, selection.SelectionError) as error:
        print(f"mutate: {error}", file=sys.stderr)
        return 2


if __name__ == "__main__":
    sys.exit(main())
