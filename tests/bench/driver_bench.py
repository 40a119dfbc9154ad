#!/usr/bin/env python3
"""Measures the driver and shows every figure beside its target. `./dev bench` builds what this runs.

Exit status: 0 all targets are met, 1 one is missed, 2 something could not be measured.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import argparse
import json
import math
import statistics
import sys
import tempfile
from pathlib import Path

import callgrind
import image_size
import report
import tables
import whole_process
from measure import MeasureError, Workbench, instructions_of_dmidecode
from report import Figure, Section

_TROUBLE = (MeasureError, callgrind.ProfileError, tables.TableError, image_size.SizeError, whole_process.TimingError, OSError)
_SIZES = (50, 100, 200, 400, 800, 1600, 2000)


def progress(text):
    """What is going on, for whoever waits."""
    print(f"bench: {text}", file=sys.stderr)


class Subject:
    """The table that is measured, and its name in the report."""

    def __init__(self, path):
        if path is not None:
            self.name, self.file = path.name, path.read_bytes()
        else:
            self.name, self.file = "the generated table", tables.virtual_server()


def _start(plain, logged, key, target, words=""):
    facts, phase = plain.facts, plain.phases["start"]
    what = f"{facts['records']} records{words}"
    return Figure(key, what, phase.driver, target=target, logged=logged and logged.phases["start"].driver,
                  around=phase.around)


def start_section(bench, subject):
    """The start on the table, and on the same table with a module in every slot."""
    progress("start, Get and Verify")
    plain, logged = (bench.measure(work, subject.file) for work in ("all", "all-logged"))
    progress("the same with all modules populated")
    populated = tables.populated(subject.file)
    full, full_logged = (bench.measure(work, populated) for work in ("start", "start-logged"))
    title = f"Start, instructions ({subject.name}: {plain.facts['structures']} structures)"
    figures = [_start(plain, logged, "start", 1_500_000), _start(full, full_logged, "start-full", 2_300_000, ", all modules")]
    return Section(title, figures), plain, logged


def _per_byte(plain, logged, key, what, phase, target):
    size = plain.facts["blob_bytes"]
    return Figure(key, what, plain.phases[phase].driver / size, target=target,
                  logged=logged.phases[phase].driver / size, around=plain.phases[phase].around / size)


def operations_section(plain, logged):
    """Get and Verify of all records."""
    figures = [_per_byte(plain, logged, "get", "Get, for each byte, first time", "get", 60),
               _per_byte(plain, logged, "get-again", "Get, for each byte, second time", "get again", 8)]
    costs = [(measurement.phases["verify"].driver, measurement.phases["verify"].shares["expat"])
             for measurement in (plain, logged)]
    shares = [100 * driver / expat for driver, expat in costs]
    figures.append(Figure("verify", "Verify, on top of expat", shares[0], "%", 25, shares[1],
                          100 * plain.phases["verify"].around / costs[0][1]))
    facts = plain.facts
    note = f"{facts['blob_bytes']:,} bytes of blobs; Verify takes {costs[0][0]:,} and expat {costs[0][1]:,} instructions"
    notes = [note]
    unreadable = facts["records"] - facts["compared"]
    if unreadable:
        notes.append(f"{unreadable} of {facts['records']} documents are not well-formed: names of sockets have bytes that XML does not take")
    return Section("Operations on all records, instructions", figures, notes)


def hottest_section(plain):
    """Where the start's instructions go."""
    phase = plain.phases["start"]
    figures = [Figure(name, name, cost) for name, cost in phase.hottest(5)]
    return Section("Hottest routines of the start, instructions", figures)


def doubling(points):
    """By what factor twice the structures cost more, between each table and the next."""
    return [(large / small) ** (math.log(2) / math.log(more / fewer))
            for (fewer, small), (more, large) in zip(points, points[1:])]


def growth_section(bench):
    """The start on tables of growing size."""
    points = []
    for count in _SIZES:
        progress(f"the start on {count:,} structures")
        start = bench.measure("start", tables.of_size(count))
        points.append((start.facts["structures"], start.phases["start"].driver))
        largest = start.facts["bytes"]
    figure = Figure("growth", "twice the structures, worst step", max(doubling(points)), "times", 2.1)
    notes = [f"up to {points[-1][0]:,} structures in {largest:,} bytes; a tenth each are processors and modules",
             "", *report.plot(points)]
    return Section("Growth of the start", [figure], notes)


def comparison_section(bench, subject):
    """What others take for the same table."""
    progress("dmidecode and the literal walk")
    walks = bench.measure("walks", subject.file).phases
    figures = [Figure("dmidecode", "dmidecode prints the table", instructions_of_dmidecode(subject.file)),
               Figure("walk-by-handle", "the start's 16 collections, each step from the table's start",
                      walks["walk by handle"].total),
               Figure("walk-by-position", "the same, two passes by position each", walks["walk by position"].total)]
    return Section("For comparison, instructions", figures)


def pool_section(bench, subject):
    """What the start leaves in the pool."""
    progress("the pool")
    pool = bench.pool(subject.file)
    records = pool["records"]
    figures = [Figure("pool-blocks", "blocks for each record", pool["blocks"] / records),
               Figure("pool-bytes", "bytes for each record", pool["bytes"] / records),
               Figure("pool-unexpected", "blocks beyond those that are to stay", pool["unexpected"], target=0)]
    note = f"{pool['blocks']:,} blocks of {pool['bytes']:,} bytes in all, without those of the core"
    return Section(f"Pool after the start, {records} records", figures, [note])


def size_section(firmware):
    """The image of the release build."""
    root = Path(__file__).resolve().parents[2]
    sources = sorted(path for folder in ("src", "Library") for path in (root / "TvqSmbiosPkg" / folder).rglob("*.cpp"))
    size, parts = image_size.measure(firmware / "TVQSMBIOS.efi", firmware / "TVQSMBIOS.debug", sources)
    figures = [Figure("size", "TVQSMBIOS.efi", size, target=40 * 1024)]
    figures += [Figure(f"size-{group}", f"  {group}", parts[group]) for group in image_size.GROUPS]
    return Section("Image, bytes (RELEASE, X64, GCC5)", figures)


def time_section(bench, subject):
    """How long it takes here."""
    progress("wall time")
    names = {"Start": "start", "GetFirst": "Get of all records, first time", "GetAgain": "Get of all records, second time",
             "Verify": "Verify of all records"}
    times = bench.wall_time(subject.file)
    figures = [Figure(f"time-{name}", what, times[name], "us") for name, what in names.items()]
    return Section("Wall time on this machine, with everything around the driver", figures)


def process_section(tvq, file):
    """The whole command beside others."""
    progress("whole processes")
    with tempfile.NamedTemporaryFile(suffix=".bin") as table:
        table.write(file)
        table.flush()
        dmidecode = [whole_process.program("dmidecode"), "--from-dump", table.name]
        show = whole_process.ratio([tvq, "show", table.name], dmidecode)
    version = whole_process.ratio([tvq, "--version"], [whole_process.program("true")])
    figures = [Figure("process-show", "tvq show, over dmidecode on the same table", show, "times", 2),
               Figure("process-version", "tvq --version, over /bin/true", version, "times", 1.5)]
    return Section(f"Whole process, static: processor time, medians of {whole_process.RUNS} runs in turn", figures)


MANY_TABLES, MEDIAN_STRUCTURES = 1000, 80


def check_lines(text):
    """Nothing is measured where tables failed: each has a line with its inventory."""
    schemas = [json.loads(line)["schema"] for line in text.splitlines()]
    if schemas != ["tvq-export"] * MANY_TABLES:
        raise MeasureError(f"{schemas.count('tvq-export')} of {MANY_TABLES} tables were exported, in {len(schemas)} lines")


def many_section(tvq):
    """One run over many tables beside as many runs of another program. The processor time of all workers counts."""
    progress(f"{MANY_TABLES:,} tables in one run")
    with tempfile.NamedTemporaryFile(suffix=".bin") as table:
        table.write(tables.of_size(MEDIAN_STRUCTURES))
        table.flush()
        dmidecode = [whole_process.program("dmidecode"), "--from-dump", table.name]
        export = [tvq, "export", "--ndjson", *[table.name] * MANY_TABLES]
        others = statistics.median(whole_process.seconds(dmidecode) for _ in range(whole_process.RUNS))
        mine = whole_process.seconds(export) / MANY_TABLES
        check_lines(whole_process.answer(export, most=1))
        others = (others + statistics.median(whole_process.seconds(dmidecode) for _ in range(whole_process.RUNS))) / 2
    figures = [Figure("many-export", "tvq export, for each table, over dmidecode's whole process", mine / others, "times", 1)]
    return Section(f"{MANY_TABLES:,} tables of {MEDIAN_STRUCTURES} structures in one run, static: processor time", figures)


def measure(options):
    """All sections."""
    bench = Workbench(options.programs)
    subject = Subject(options.table)
    start, plain, logged = start_section(bench, subject)
    sections = [start, operations_section(plain, logged), hottest_section(plain)]
    if not options.quick:
        sections[1:1] = [growth_section(bench)]
        sections += [pool_section(bench, subject), size_section(options.firmware), comparison_section(bench, subject),
                     time_section(bench, subject), process_section(options.tvq, subject.file),
                     many_section(options.tvq)]
    return sections


def show(sections, as_json):
    """Prints the report and returns the exit status."""
    colour = sys.stdout.isatty()
    if as_json:
        print(json.dumps(report.as_json(sections), indent=2))
    else:
        print(report.table(sections, colour))
        print(report.summary(sections, colour))
    return 0 if all(figure.is_met for section in sections for figure in section.figures) else 1


def main(arguments=None):
    """The command line."""
    parser = argparse.ArgumentParser(description="Measures the driver.")
    parser.add_argument("--programs", type=Path, required=True, help="folder of the programs that are run")
    parser.add_argument("--firmware", type=Path, help="folder of the release build's images; not for --quick")
    parser.add_argument("--tvq", help="the static command; not for --quick")
    parser.add_argument("--table", type=Path, help="the table that is measured; a generated one without it")
    parser.add_argument("--quick", action="store_true", help="only the instructions of the start, Get and Verify")
    parser.add_argument("--json", action="store_true", help="the figures for programs")
    options = parser.parse_args(arguments)
    try:
        sections = measure(options)
    except _TROUBLE as error:
        print(f"bench: {error}", file=sys.stderr)
        return 2
    return show(sections, options.json)


if __name__ == "__main__":
    sys.exit(main())
