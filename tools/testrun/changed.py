#!/usr/bin/env python3
"""Names the tests of what changed in the work tree: those in the folders of tests/unit that mirror the changed files' own, the
programs of changed tests, and the tests of changed scripts.

usage: changed.py ROOT BUILD [REVISION]       prints "program NAME" and "test NAME" lines; says on stderr what it leaves out

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import json
import pathlib
import subprocess
import sys

# Where the tests of a folder are, the longest first; what is under it is mirrored under the other.
MIRRORS = (
    ("TvqSmbiosPkg/Application/TvqPlatformTest", "tests/unit/driver/platform_test"),
    ("TvqSmbiosPkg/Library/SmbiosTableLib", "tests/unit/driver/smbios_table_lib"),
    ("TvqSmbiosPkg/Library/ZorvLib", "tests/unit/driver/zorvlib"),
    ("TvqSmbiosPkg/src", "tests/unit/driver"),
    ("TvqSmbiosPkg/Include", "tests/unit/driver"),
    ("TvqPlatformPkg/src", "tests/unit/platform"),
    ("TvqPlatformPkg/Include", "tests/unit/platform"),
    ("host", "tests/unit/host"),
)
UNIT, SCRIPTS = "tests/unit", ("tools", "tests/tools", "host/cmake")
# Tests of the driver as a whole take long, and belong to no folder of it.
WHOLE = "/whole/"


def changed_files(root, revision):
    def git(*words):
        result = subprocess.run(["git", "-c", f"safe.directory={root}", "-C", str(root), *words], capture_output=True,
                                text=True, check=False)
        if result.returncode != 0:
            sys.exit(f"changed: {result.stderr.strip()}")
        return result.stdout.split()

    return sorted({*git("diff", "--name-only", revision), *git("ls-files", "--others", "--exclude-standard")})


def mirror(folder):
    """The folder of the tests of a product's folder; None where there is none."""
    for product, tests in MIRRORS:
        if folder == product or folder.startswith(product + "/"):
            return tests + folder[len(product):]
    return None


def programs_with(programs, is_wanted):
    """The programs with tests in a folder that is wanted."""
    return {name for name, sources in programs.items()
            if any(source.endswith("_test.cpp") and WHOLE not in source and is_wanted(source.rpartition("/")[0])
                   for source in sources)}


def programs_in(folder, programs):
    """The programs with tests in the folder itself; if there are none, below it."""
    return programs_with(programs, lambda place: place == folder) or programs_below(folder, programs)


def programs_below(folder, programs):
    """The programs with tests in the folder or below it; if there are none, in the nearest folder above that has some."""
    while folder.startswith(UNIT) and folder != UNIT:
        found = programs_with(programs, lambda place, folder=folder: f"{place}/".startswith(f"{folder}/"))
        if found:
            return found
        folder = folder.rpartition("/")[0]
    return set()


def tests_of(file, programs):
    """The programs and other tests of one changed file."""
    folder = file.rpartition("/")[0]
    if file.startswith(UNIT + "/"):
        compiled = {name for name, sources in programs.items() if file in sources}
        return compiled or programs_below(folder, programs), set()
    name = pathlib.PurePath(file).stem
    if file.startswith("tests/tools/test_"):
        return set(), {f"tools.{name.removeprefix('test_')}"}
    if any(file.startswith(place + "/") for place in SCRIPTS) or file == "dev":
        return set(), {"tools.*"}
    tests = mirror(folder)
    return (programs_in(tests, programs) if tests else set()), set()


def main(arguments):
    root, build = map(pathlib.Path, arguments[:2])
    programs = json.loads((build / "test_programs.json").read_text(encoding="utf-8"))
    found_programs, found_tests, without = set(), set(), []
    for file in changed_files(root, *arguments[2:3] or ["HEAD"]):
        of_program, of_test = tests_of(file, programs)
        found_programs |= of_program
        found_tests |= of_test
        if not of_program and not of_test:
            without.append(file)
    for name in sorted(found_programs):
        print(f"program {name}")
    for name in sorted(found_tests):
        print(f"test {name}")
    if without:
        print(f"dev: no test of their own: {', '.join(without)}", file=sys.stderr)


if __name__ == "__main__":
    main(sys.argv[1:])
