#!/usr/bin/env python3
"""Runs the agent and TvqPlatformTest many times in one boot, from the firmware's shell, and checks what they
report each time.

Exit status: 0 everything is as expected, 1 it is not.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import dataclasses
import pathlib
import sys

import virtual_machine
import agent_report
import run_test

LOAD = "load TVQ\\TvqPlatform.efi TVQ\\TVQSMBIOS.efi"
LOAD_PLATFORM = "load TVQ\\TvqPlatform.efi"
SUCCESS = agent_report.SUCCESS


def failed(reason):
    return agent_report.FAILED + reason


@dataclasses.dataclass(frozen=True)
class Run:
    """One run of the agent: its words, the last line of its report, and lines that the report and the log have."""

    words: str
    ending: str = SUCCESS
    has: tuple = ()
    has_not: tuple = ()
    log_has: tuple = ()
    log_has_not: tuple = ()


@dataclasses.dataclass(frozen=True)
class TvqPlatformTest:
    """One run of TvqPlatformTest: its last line, and lines that it has."""

    ending: str
    has: tuple = ()


WHOLE = Run("", has=("Start: Success", "Records: 15"), has_not=("Left behind",))
GONE = Run("unload", has=("Unload: Success",))

# A line for the shell, a run of the agent, or one of TvqPlatformTest.
LIFE = (
    LOAD,
    Run("unload", failed("the driver cannot be unloaded: Unsupported")),
    WHOLE,
    Run("", has=("was started before", "Records: 15")),
    Run("again", has=("Start: Success", "Records: 15"), log_has=("MakeDIMMs", "status = Already started")),
    Run("stop", has=("Stop: 15 records taken off",)),
    WHOLE,
    Run("stop unload", has=("Stop: 15 records taken off", "Unload: Success")),
    WHOLE,
    # Without taking the records off first, they are left behind and in the way.
    GONE,
    Run("unload", failed("the driver cannot be unloaded: Not Found")),
    Run(
        "",
        failed("the driver made no record"),
        has=("Start: Success", "Left behind: 15 records", "SMBIOSServiceTagString  TVQ2S01"),
    ),
    Run("stop", has=("Stop: 15 records taken off",)),
    WHOLE,
)

NOT_LOADED = failed("\\TVQ\\TVQSMBIOS.efi cannot be loaded: Not Found")
WITHOUT = (
    LOAD_PLATFORM,
    # What the driver needs to be loaded.
    *(
        step
        for part in ("services", "library", "aux")
        for step in (f"TvqFaults without {part}", Run("", NOT_LOADED, has_not=("Start:",)), f"TvqFaults with {part}")
    ),
    # What it does without until it appears. No line is kept back for it.
    "TvqFaults without log",
    Run("", has=("Start: Success", "Records: 15"), log_has_not=("MakeDIMMs", "SMTVQGet")),
    "TvqFaults with log",
    Run("", has=("Records: 15",), log_has=("SMTVQGet",), log_has_not=("MakeDIMMs",)),
    Run("stop unload", has=("Unload: Success",)),
    # What it needs to be started.
    "TvqFaults without prerequisite",
    Run("", failed("the driver's start failed: Not Found"), has=("Records: none",), log_has_not=("MakeDIMMs",)),
    "TvqFaults with prerequisite",
    Run("", has=("Start: Success", "Records: 15"), log_has=("MakeDIMMs",)),
    # What only comparing needs, and not where nothing changed.
    "TvqFaults without management",
    Run("", has=("Summary: ",), has_not=("not verified",)),
    "TvqFaults with management",
    "TvqFaults without xml",
    Run("", has=("Summary: ",), has_not=("not verified",)),
    "TvqFaults with xml",
    Run("", has=("Summary: ",), has_not=("not verified",)),
)

MOVED = (
    "TvqFaults names",
    Run("as-is", has=("Start: Success", "SMBIOSServiceTagString  TVQ0001", "ServiceTag   TVQ0001")),
    "TvqFaults move",
    Run("as-is", has=("was started before", "SMBIOSServiceTagString  MOVED01", "ServiceTag   MOVED01")),
    Run("stop unload", has=("Unload: Success",)),
    Run("as-is", has=("Start: Success", "SMBIOSServiceTagString  MOVED01")),
)

PLATFORM_TEST = (
    "TvqFaults names",
    TvqPlatformTest(
        "TvqPlatformTest: 6 OK, 4 failed, 4 optional parts missing",
        has=("Platform services table\n  is there ... FAIL\n  Without it the driver is not loaded",),
    ),
    LOAD,
    TvqPlatformTest("TvqPlatformTest: 39 OK, 0 failed, 0 optional parts missing"),
    "TvqFaults without xml",
    TvqPlatformTest("TvqPlatformTest: 35 OK, 0 failed, 1 optional parts missing", has=("XML parser\n  is there ... no\n",)),
)
# This firmware has a 64-bit entry point alone.
PLATFORM_TEST_AARCH64 = (
    LOAD,
    TvqPlatformTest("TvqPlatformTest: 33 OK, 1 failed, 0 optional parts missing", has=("SMBIOS table\n  is there ... FAIL\n",)),
)


def script(steps):
    """The lines for the shell: the n-th step leaves reportN.txt behind, and if it is the agent, logN.txt."""
    for index, step in enumerate(steps):
        if isinstance(step, Run):
            yield f"TvqAgent {step.words}"
            for name in ("report", "log"):
                yield f"cp -q TVQ\\{name}.txt TVQ\\{name}{index}.txt"
        elif isinstance(step, TvqPlatformTest):
            yield f"TvqPlatformTest >a TVQ\\report{index}.txt"
        else:
            yield step


def texts_problems(what, text, has, has_not):
    yield from (f"{what} lacks '{wanted}'" for wanted in has if wanted not in text)
    yield from (f"{what} has '{unwanted}'" for unwanted in has_not if unwanted in text)


def ending_problems(report, ending):
    last = agent_report.last_line(report)
    if last != ending:
        yield f"the report ends with '{last}', expected: '{ending}'"


def step_problems(step, report, log):
    """Yields what is not as expected of one run."""
    yield from ending_problems(report, step.ending)
    if isinstance(step, TvqPlatformTest):
        yield from texts_problems("the report", report, step.has, ())
    else:
        yield from texts_problems("the report", report, step.has, step.has_not)
        yield from texts_problems("the log", log, step.log_has, step.log_has_not)


def read(folder, name):
    path = folder / name
    return path.read_bytes().decode("latin-1").replace("\r\n", "\n") if path.is_file() else ""


def problems(steps, folder):
    for index, step in enumerate(steps):
        if isinstance(step, str):
            continue
        report = read(folder, f"report{index}.txt")
        found = list(step_problems(step, report, read(folder, f"log{index}.txt")))
        for problem in found:
            yield f"step {index + 1}, {type(step).__name__} '{getattr(step, 'words', '')}': {problem}"
        if found:
            yield report


SCENARIOS = {
    "life": LIFE,
    "without": WITHOUT,
    "moved": MOVED,
    "platform_test": PLATFORM_TEST,
    "platform_test_aarch64": PLATFORM_TEST_AARCH64,
}


def parse_arguments(arguments):
    parser = virtual_machine.argument_parser(__doc__.splitlines()[0])
    parser.add_argument("--tvq", required=True, help="the program tvq")
    parser.add_argument("--table", type=pathlib.Path, help="a table for the agent (default: the firmware's own)")
    parser.add_argument("scenario", choices=SCENARIOS)
    return parser.parse_args(arguments)


def main(arguments):
    options = parse_arguments(arguments)
    steps = SCENARIOS[options.scenario]
    machine = virtual_machine.VirtualMachine(options)
    table = virtual_machine.dump_of(options, options.table) if options.table else None
    machine.boot(table, script=tuple(script(steps)))
    found = list(problems(steps, machine.out))
    if table:
        expected = run_test.expected_files(run_test.export(options.tvq, table, as_is=False))
        found += run_test.record_problems(expected, run_test.saved_files(machine.out), None)
    print("\n".join(found) or f"{len(steps)} steps in one boot, all as expected")
    return 1 if found else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
