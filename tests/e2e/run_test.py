#!/usr/bin/env python3
"""Boots the driver with a table and compares every inventory it saved with what `tvq export` says of the same table.

Exit status: 0 they are equal byte for byte, 1 they are not or there was no report of success.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import argparse
import json
import pathlib
import subprocess
import sys

sys.path.insert(0, str(pathlib.Path(__file__).resolve().parent.parent.parent / "tools"))
import boot_qemu  # noqa: E402
import tables  # noqa: E402

BLOBS = ("inventoryBlob", "configurationBlob", "endBlob")
# The agent cuts names here, so that there is room for a number.
STEM_LENGTH = 48


def file_name(fqdd, taken):
    """The name that the agent gives the file of a record; `taken` holds the earlier ones in lower case."""
    text = (fqdd or "")[:STEM_LENGTH]
    base = "".join(c if c.isascii() and (c.isalnum() or c in "._-") else "_" for c in text) or "record"
    name, number = base, 2
    while name.lower() in taken:
        name, number = f"{base}-{number}", number + 1
    taken.add(name.lower())
    return f"{name}.tvq"


def expected_files(export):
    """The files that an export stands for: a dictionary of name to bytes. A blob that is missing adds nothing."""
    taken = set()
    return {
        file_name(record["fqdd"], taken): b"".join(bytes.fromhex(record[blob] or "") for blob in BLOBS)
        for record in export["records"]
    }


def saved_files(folder):
    return {path.name: path.read_bytes() for path in pathlib.Path(folder).glob("*.tvq")}


def first_difference(left, right):
    for offset, (one, other) in enumerate(zip(left, right)):
        if one != other:
            return offset
    return min(len(left), len(right))


def compare(expected, saved):
    """Yields a line for every difference."""
    for name in sorted(expected.keys() - saved.keys()):
        yield f"{name}: the firmware saved no such file"
    for name in sorted(saved.keys() - expected.keys()):
        yield f"{name}: saved by the firmware, but tvq has no such record"
    for name in sorted(expected.keys() & saved.keys()):
        want, have = expected[name], saved[name]
        if want != have:
            offset = first_difference(want, have)
            yield (
                f"{name}: differs from offset {offset:#x} on (tvq {len(want)} bytes: {want[offset:offset + 8].hex()}, "
                f"firmware {len(have)} bytes: {have[offset:offset + 8].hex()})"
            )


def export(tvq, table, as_is):
    """What the driver makes of the table in a process; conformed like the agent does it, unless `as_is`."""
    command = [tvq, "export", "--table", str(table)] + ([] if as_is else ["--conform"])
    result = subprocess.run(command, capture_output=True, text=True, check=False)
    if result.returncode != 0:
        sys.exit(f"{' '.join(command)} ended with {result.returncode}:\n{result.stderr}")
    return json.loads(result.stdout)


def boot(options, table):
    """Boots with the table; the report of success or the end of the test."""
    machine = boot_qemu.Boot(
        images=boot_qemu.image_paths(options.images, options.target),
        out=options.out / "firmware",
        table=table,
        words=("as-is", "poweroff") if options.as_is else ("poweroff",),
        timeout=120,
    )
    try:
        report = boot_qemu.run(machine)
    except boot_qemu.BootFailure as failure:
        sys.exit(f"{failure}\n{failure.hint}\n{failure.details}")
    if not boot_qemu.succeeded(report):
        sys.exit(f"the agent reported no success:\n{report}")
    return report


def parse_arguments(arguments):
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("--images", type=pathlib.Path, required=True, help="EDK II's output folder")
    parser.add_argument("--target", choices=("DEBUG", "RELEASE"), default="DEBUG")
    parser.add_argument("--tvq", required=True, help="the program tvq")
    parser.add_argument("--out", type=pathlib.Path, required=True, help="where the files of the boot go")
    parser.add_argument("--as-is", action="store_true", help="publish the table unchanged")
    table = parser.add_mutually_exclusive_group(required=True)
    table.add_argument("--table", type=pathlib.Path)
    table.add_argument("--built-in", choices=sorted(tables.BUILT_IN))
    return parser.parse_args(arguments)


def main(arguments):
    options = parse_arguments(arguments)
    options.out.mkdir(parents=True, exist_ok=True)
    table = options.table
    if options.built_in:
        table = options.out / f"{options.built_in}.bin"
        table.write_bytes(tables.BUILT_IN[options.built_in]())
    expected = expected_files(export(options.tvq, table, options.as_is))
    if not expected:
        sys.exit(f"tvq found no record in {table}: there is nothing to compare")
    print(boot(options, table))
    differences = list(compare(expected, saved_files(options.out / "firmware")))
    print("\n".join(differences) or f"{len(expected)} files are equal byte for byte")
    return 1 if differences else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
