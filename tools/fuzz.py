#!/usr/bin/env python3
"""The command behind `./dev fuzz`: runs a fuzzer that was built before, and says in the end what came of it.

The results go to stdout, progress to stderr. Exit status: 0 no finding, 1 a finding, 2 trouble.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import argparse
import os
import pathlib
import re
import subprocess
import sys
import time

import machine

BUILD = machine.ROOT / "build" / "fuzz"
TESTS = machine.ROOT / "tests" / "fuzz"

MAXIMUM_LENGTH = 8192
SECONDS_FOR_AN_INPUT = 20
DEFAULT_SECONDS = 60

# What libFuzzer ends with when somebody stops it.
INTERRUPTED = 72

# Leaks are found by counting the pool's blocks, which is exact. The rest, like the schedule without entropy, keeps the
# tools' own share of the time low.
SANITIZER_OPTIONS = "detect_leaks=0:malloc_context_size=4:quarantine_size_mb=16"

PROGRESS = re.compile(r"#(\d+)(?::|\s+\w+)\s+cov: (\d+) ft: (\d+) corp: (\d+)(?:/(\S+))?")
EDGES = re.compile(r"Loaded 1 PC tables \((\d+) PCs\)")
EXECUTIONS = re.compile(r"stat::number_of_executed_units:\s+(\d+)|Done (\d+) runs")
ARTIFACT = re.compile(r"Test unit written to (\S+)")
REASON = re.compile(r"(firmware host: .*|SUMMARY: .*|ALARM: .*)")


class Outcome:
    """What the fuzzer's lines say."""

    def __init__(self):
        self.executions = 0
        self.covered = 0
        self.edges = 0
        self.features = 0
        self.corpus = 0
        self.hangs = 0
        self.findings = []
        self.reasons = []

    def take(self, line):
        """Takes one line of the fuzzer's output; True when it tells how far the fuzzer is."""
        progress = PROGRESS.match(line)
        if progress:
            executions, covered, features, corpus = (int(text) for text in progress.groups()[:4])
            self.executions = max(self.executions, executions)
            self.covered, self.features, self.corpus = covered, features, corpus
            return True
        if match := EDGES.search(line):
            self.edges = int(match[1])
        elif match := EXECUTIONS.search(line):
            self.executions = max(self.executions, int(match[1] or match[2]))
        elif match := ARTIFACT.search(line):
            self.findings.append(match[1])
        elif match := REASON.search(line):
            self.reasons.append(match[1])
        return False

    def closing_lines(self, target, seconds, root=machine.ROOT):
        """The report, one fact on a line."""
        rate = self.executions / seconds if seconds > 0 else 0
        lines = [
            f"Target      {target}",
            f"Executions  {self.executions:,} in {seconds:,.0f} s, {rate:,.0f} a second",
            f"Coverage    {self.covered:,} of {self.edges:,} edges, {self.features:,} features",
            f"Corpus      {self.corpus:,} inputs in {relative(corpus_of(target), root)}",
        ]
        if self.hangs:
            lines.append(f"Would hang  {self.hangs:,} inputs: on firmware, a slot query that matches nothing never returns")
        if not self.findings:
            return [*lines, "Findings    none"]
        for finding in self.findings:
            lines.append(f"Finding     {relative(finding, root)}")
        lines += [f"            {reason}" for reason in self.reasons[:3]]
        lines.append(f"Replay      ./dev fuzz {target} --replay {relative(self.findings[0], root)}")
        lines.append(f"Keep it     in tests/fuzz/findings/{target}, named for what is wrong with it: ./dev test replays it")
        return lines


def relative(path, root):
    return os.path.relpath(path, root)


def corpus_of(target):
    return BUILD / "corpus" / target


def positive(text):
    number = int(text)
    if number < 1:
        raise argparse.ArgumentTypeError("takes a number from 1 on")
    return number


def parse_arguments(arguments):
    parser = argparse.ArgumentParser(prog="./dev fuzz", description="Feeds the driver with mutated input.")
    parser.add_argument("target", choices=["table", "verify", "load", "state"])
    parser.add_argument("--seconds", type=positive, metavar="N", help="stop after this time")
    parser.add_argument("--runs", type=positive, metavar="N", help="stop after so many executions")
    parser.add_argument("--jobs", type=positive, default=1, metavar="N", help="processes at a time")
    parser.add_argument("--replay", nargs="+", type=pathlib.Path, metavar="FILE", help="run these inputs once")
    parser.add_argument("-v", "--verbose", action="store_true", help="show the output of the tools")
    return parser.parse_args(arguments)


def command_line(options):
    """The fuzzer and its arguments; its folders are made."""
    findings = BUILD / "findings" / options.target
    corpus = corpus_of(options.target)
    for folder in (findings, corpus):
        folder.mkdir(parents=True, exist_ok=True)
    command = [str(program_of(options.target)), f"-max_len={MAXIMUM_LENGTH}", f"-timeout={SECONDS_FOR_AN_INPUT}",
               "-detect_leaks=0", "-entropic=0", "-print_final_stats=1", f"-artifact_prefix={findings}/",
               f"-dict={TESTS}/dictionaries/{options.target}.dict"]
    if options.jobs > 1:
        command.append(f"-fork={options.jobs}")
    if options.runs:
        command.append(f"-runs={options.runs}")
    if options.seconds or not options.runs:
        command.append(f"-max_total_time={options.seconds or DEFAULT_SECONDS}")
    seeds = [BUILD / "tests" / "fuzz" / "seeds" / options.target, TESTS / "seeds" / options.target,
             TESTS / "findings" / options.target]
    return command + [str(corpus)] + [str(folder) for folder in seeds if folder.is_dir()]


def program_of(target):
    return BUILD / "tests" / "fuzz" / f"tvq_fuzz_{target}"


def hangs_of(target):
    """A file that grows by a byte for each input on which firmware would hang, whichever process meets it."""
    return BUILD / f"{target}.hangs"


def show_progress(outcome, seconds, width=100):
    text = f"{outcome.executions:,} executions in {seconds:,.0f} s, {outcome.covered:,} edges, {outcome.corpus:,} inputs"
    print(f"\r{text:<{width}}", end="", file=sys.stderr, flush=True)


def fuzz(options):
    """Runs the fuzzer; returns its outcome, its exit status and the seconds it took."""
    outcome = Outcome()
    on_terminal = sys.stderr.isatty() and not options.verbose
    start = time.monotonic()
    shown = start
    hangs = hangs_of(options.target)
    hangs.write_bytes(b"")
    environment = dict(os.environ, ASAN_OPTIONS=SANITIZER_OPTIONS, TVQ_FUZZ_HANGS=str(hangs))
    with subprocess.Popen(command_line(options), stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True,
                          errors="replace", env=environment) as process:
        try:
            for line in process.stdout:
                if options.verbose:
                    print(line, end="", file=sys.stderr)
                if outcome.take(line) and on_terminal and time.monotonic() - shown > 1:
                    shown = time.monotonic()
                    show_progress(outcome, shown - start)
        except KeyboardInterrupt:
            # The fuzzer is interrupted too, and says how far it came.
            for line in process.stdout:
                outcome.take(line)
    if on_terminal:
        print(file=sys.stderr)
    outcome.hangs = hangs.stat().st_size
    return outcome, process.returncode, time.monotonic() - start


def replay(options):
    """Runs inputs once, one after the other, with the sanitizers' report."""
    missing = [str(path) for path in options.replay if not path.is_file()]
    if missing:
        print(f"fuzz: there is no file {missing[0]}", file=sys.stderr)
        return 2
    environment = dict(os.environ, ASAN_OPTIONS="detect_leaks=0")
    command = [str(program_of(options.target)), *(str(path) for path in options.replay)]
    failed = subprocess.run(command, env=environment, check=False).returncode != 0
    print("Findings    " + ("see above" if failed else "none"))
    return 1 if failed else 0


def main(arguments):
    options = parse_arguments(arguments)
    if options.replay:
        return replay(options)
    outcome, status, seconds = fuzz(options)
    print("\n".join(outcome.closing_lines(options.target, seconds)))
    if outcome.findings:
        return 1
    if status not in (0, INTERRUPTED):
        print(f"fuzz: the fuzzer ended with status {status}; -v shows what it says", file=sys.stderr)
        return 2
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
