"""The programs as they are shipped: hardened, stripped, without what only tests need; one of them runs on any Linux.

usage: shipped_test.py TVQ TVQ-STATIC SAMPLES

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import os
import pathlib
import re
import subprocess
import sys
import tempfile

import tables

# What the library with bookkeeping is made of, and what it stands on.
BOOKKEEPING = re.compile(r"tvq::host::(Pool|ServiceCalls)::\S*|\bdwfl_\w+|\bdwarf_getscopes")


def readelf(option, program):
    """What readelf says, in full lines."""
    return tables.run("readelf", "--wide", option, program).decode()


def demand(condition, program, what):
    """Ends the test with what is wrong."""
    if not condition:
        sys.exit(f"{program}: {what}")


def check_hardening(program):
    """Position-independent, its relocations read-only, no executable stack, checked calls."""
    header, segments, dynamic = (readelf(option, program) for option in ("-h", "-l", "-d"))
    symbols = readelf("-s", str(program) + ".debug")
    demand(re.search(r"Type:\s+DYN", header), program, "is no PIE")
    demand("GNU_RELRO" in segments, program, "has no RELRO segment")
    demand(re.search(r"\bNOW\b", dynamic), program, "binds symbols lazily, so that RELRO is partial")
    stack = re.search(r"GNU_STACK.*", segments)
    demand(stack and "RWE" not in stack[0], program, "has an executable stack")
    demand("__stack_chk_fail" in symbols, program, "was built without stack protector")
    demand(re.search(r"__(memcpy|snprintf|vsnprintf|read|realpath|fread)_chk", symbols), program, "was built without _FORTIFY_SOURCE")


def check_contents(program):
    """Stripped, with a file of debug information that belongs to it, and nothing that only tests need."""
    sections = readelf("-S", program)
    for section in (".symtab", ".debug_info"):
        demand(f" {section} " not in sections, program, f"has {section}")
    demand(".gnu_debuglink" in sections, program, "names no file of debug information")
    debug = pathlib.Path(str(program) + ".debug")
    demand(" .debug_info " in readelf("-S", debug), debug, "has no debug information")
    build_id = re.compile(r"Build ID: (\w+)")
    demand(build_id.search(readelf("-n", program))[1] == build_id.search(readelf("-n", debug))[1], debug, "is another program's")
    names = tables.run("nm", "--demangle", debug).decode()
    found = BOOKKEEPING.search(names)
    demand("tvq::" in names, debug, "has no names")
    demand(not found, program, f"has the bookkeeping of tests: {found and found[0]}")


def check_anywhere(program, table):
    """Runs where there is nothing but the program and a table."""
    demand("INTERP" not in readelf("-l", program), program, "needs a dynamic loader")
    demand("NEEDED" not in readelf("-d", program), program, "needs libraries")
    expected = tables.run(program, "show", table, status=(0, 1))
    command = ["/tvq", "show", "/table.bin"] if os.geteuid() == 0 else [program, "show", table]
    with tempfile.TemporaryDirectory() as folder:
        for source, name in ((program, "tvq"), (table, "table.bin")):
            copy = pathlib.Path(folder) / name
            copy.write_bytes(pathlib.Path(source).read_bytes())
            copy.chmod(0o755)
        enter = (lambda: os.chroot(folder)) if os.geteuid() == 0 else None
        done = subprocess.run(command, env={}, cwd=folder, preexec_fn=enter, capture_output=True, check=False)  # pylint: disable=subprocess-popen-preexec-fn
    demand(done.returncode in (0, 1) and done.stdout, program, f"does not run in an empty folder: {done.stderr.decode()}")
    demand(done.stdout.count(b"\n") == expected.count(b"\n"), program, "says something else in an empty folder")


def check_sameness(program, static, files):
    """Both do the same, and the same in every run."""
    for table in files:
        first, second, other = (tables.run(tool, "export", table) for tool in (program, program, static))
        demand(first == second, program, f"writes something else about {table} in a second run")
        demand(first == other, static, f"writes something else about {table} than {program}")


def main(arguments):
    """Checks both programs."""
    program, static, samples = arguments
    if not pathlib.Path(static).exists():
        print(f"{static} was not built")
        sys.exit(tables.SKIPPED)
    _, files = tables.program_and_tables([program, samples])
    for each in (program, static):
        check_hardening(each)
        check_contents(each)
    check_anywhere(static, files[0])
    check_sameness(program, static, files)


if __name__ == "__main__":
    main(sys.argv[1:])
