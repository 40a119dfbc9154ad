"""The queries of docs/fleet.md find what happened at a site, and nothing else.

usage: fleet_test.py TVQ sqlite3 [--hosts N] [--days N] [--swaps N]
       fleet_test.py TVQ clickhouse --packages FOLDER ...

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import argparse
import itertools
import json
import os
import pathlib
import re
import shlex
import shutil
import subprocess
import sys
import tempfile
import time

import databases
import machines
import queries
import site_of_machines

SKIPPED = 77
FIRST_LINES = 500


class Timer:
    """How long each step took, by the clock and of the processor; servers that still run count by the clock alone."""

    def __init__(self):
        self.seconds, self._start, self._busy = 0.0, time.monotonic(), self._processor()

    @staticmethod
    def _processor():
        times = os.times()
        return times.user + times.system + times.children_user + times.children_system

    def lap(self):
        """In words; `seconds` are those by the clock."""
        now, busy = time.monotonic(), self._processor()
        self.seconds, taken = now - self._start, busy - self._busy
        self._start, self._busy = now, busy
        return f"{self.seconds:.1f} s, {taken:.1f} s of the processor"


def check(what, found, wanted):
    """Both are sets or dictionaries."""
    if found != wanted:
        only = [item for item in found if item not in wanted], [item for item in wanted if item not in found]
        sys.exit(f"{what}: {len(found)} are found in place of {len(wanted)}; too many: {only[0][:5]}, missing: {only[1][:5]}")
    print(f"  {what}: {len(wanted)}, and nothing else")


def wandered(rows):
    return {(row["part"], row["serial"], row["former"], row["host"]) for row in rows}


def recalled(rows):
    return {(row["host"], row["label"], row["fqdd"], row["serial"]) for row in rows}


def uneven(rows):
    return {row["host"]: (int(row["parts"]), int(row["sizes"]), int(row["slow"])) for row in rows}


def doubles(rows):
    return {(row["class"], row["part"], row["serial"]) for row in rows}


def alike(rows):
    return {row["machine"] for row in rows}


def changed(rows):
    return {(row["host"], row["fqdd"], row["label"], row["verdict"]): int(row["since"]) for row in rows}


def check_queries(database, site):
    for section, read, wanted in (
        ("Parts that wandered", wandered, set(site.wandered)),
        ("Machines with a recalled part", recalled, site.recalled()),
        ("Mixed or slow memory", uneven, site.uneven()),
        ("Serial numbers seen twice", doubles, site.doubles),
        ("Machines that count as one", alike, site.alike),
        ("What changed last week", changed, site.changed_last_week()),
    ):
        if not wanted:
            sys.exit(f"nothing is to be found of: {section}")
        timer = Timer()
        rows = database.query(section)
        found = read(rows)
        if len(found) != len(rows):
            sys.exit(f"{section}: {len(rows)} rows for {len(found)} different ones")
        check(f"{section} ({timer.lap()})", found, wanted)


def check_page(tvq, folder):
    """What the page says to type on one machine leaves what its tables describe. The folder has a table and its state."""
    metrics, rows = folder / "tvq.prom", folder / "rows.ndjson"
    for command in queries.commands():
        for path, ours in (("/var/lib/parts", folder / "even.state"), ("/var/lib/prometheus/node-exporter/tvq.prom", metrics)):
            command = command.replace(path, str(ours))
        # The table is that of the folder, not of this machine.
        name = shlex.split(command)[1]
        command = command.replace(f"tvq {name}", f"{shlex.quote(str(tvq))} {name} --quiet --from-dump {folder / 'even.bin'}", 1)
        subprocess.run(["bash", "-ec", command], cwd=folder, check=True)
    written = set(re.findall(r"(?m)^# TYPE (tvq_\w+)", metrics.read_text(encoding="utf-8")))
    check("metrics of the page", set(queries.table("Hear of it: Prometheus")), written)
    devices = [json.loads(line) for line in rows.read_text(encoding="utf-8").splitlines()]
    if {device["verdict"] for device in devices} != {"same"}:
        sys.exit(f"rows of a machine that nobody touched: {devices}")
    check("columns of the page", set(queries.table("Ask all: rows")), set(devices[0]) - {"schema", "schemaVersion"})


def write_rows(lines, file):
    count = 0
    with open(file, "w", encoding="utf-8") as rows:
        for line in lines:
            rows.write(line)
            count += 1
    return count, file.stat().st_size


def run(arguments, folder):
    timer = Timer()
    models = machines.models(arguments.tvq, folder)
    print(f"{len(models)} tables through the program: {timer.lap()}")
    check_page(arguments.tvq, folder)
    timer.lap()
    site = site_of_machines.Site(models, arguments.hosts, arguments.days, arguments.swaps)
    lines = site.lines()
    # The page's commands load the first lines, and those of later days into what is there.
    first, loaded = folder / "first.ndjson", folder / "rows.ndjson"
    write_rows(itertools.islice(lines, FIRST_LINES), first)
    count, size = write_rows(lines, folder / "later.ndjson")
    print(f"{arguments.hosts} hosts, {arguments.days} days: {count + FIRST_LINES} rows of {size / count:.0f} bytes, written in {timer.lap()}")
    # One of them comes back.
    if len(site.wandered) != arguments.swaps + 2:
        sys.exit(f"parts wandered {len(site.wandered)} times, not {arguments.swaps + 2}")
    database = databases.Sqlite(folder) if arguments.database == "sqlite3" else databases.ClickHouse(folder, arguments.packages)
    try:
        first.rename(loaded)
        database.load()
        (folder / "later.ndjson").rename(loaded)
        timer.lap()
        database.load()
        taken = timer.lap()
        print(f"{database.name}: loaded in {taken}: {count / timer.seconds:.0f} rows/s, {database.size() / (count + FIRST_LINES):.1f} bytes a row")
        check_queries(database, site)
    finally:
        database.stop()


def main():
    parser = argparse.ArgumentParser()
    parser.add_argument("tvq", type=lambda name: pathlib.Path(name).resolve())
    parser.add_argument("database", choices=("sqlite3", "clickhouse"))
    parser.add_argument("--packages", help="where Debian's packages are unpacked")
    parser.add_argument("--hosts", type=int, default=200)
    parser.add_argument("--days", type=int, default=12)
    parser.add_argument("--swaps", type=int, default=8)
    arguments = parser.parse_args()
    if arguments.database == "sqlite3" and shutil.which("sqlite3") is None:
        print("sqlite3 is missing")
        sys.exit(SKIPPED)
    with tempfile.TemporaryDirectory(prefix="tvq-fleet-") as folder:
        run(arguments, pathlib.Path(folder))


if __name__ == "__main__":
    main()
