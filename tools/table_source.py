"""Changes fields in the readable source of a table, and builds its dump.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import re
import subprocess

# What the name of such a file ends with.
SUFFIX = ".smbios"


class SourceError(Exception):
    """A source that cannot be built or has no such block; the text says where and why."""


def own_label(line):
    """The label of the block that the line begins; None when it begins no block or one without a label."""
    match = re.match(r"\[(?:(?!\blike\b)[^\]@])*@([\w-]+)", line)
    return match[1] if match else None


def block_range(lines, label):
    """The first line of a block and the line behind its last."""
    for first, line in enumerate(lines):
        if own_label(line) == label:
            following = (index for index in range(first + 1, len(lines)) if lines[index].startswith("["))
            return first, next(following, len(lines))
    raise SourceError(f"there is no block @{label}")


def set_field(text, label, name, value):
    """The source with one field of one block changed or added, or without it for None. A block that is like this one changes
    with it."""
    lines = text.splitlines()
    first, end = block_range(lines, label)
    field = re.compile(rf"{re.escape(name)}\s*=")
    found = [index for index in range(first + 1, end) if field.match(lines[index])]
    if value is None:
        del lines[found[0]]
    elif found:
        lines[found[0]] = f"{name} = {value}"
    else:
        lines.insert(first + 1, f"{name} = {value}")
    return "\n".join(lines) + "\n"


def build_dump(program, source, dump):
    """Builds the dump of a source file with the program that the host build makes for this."""
    try:
        result = subprocess.run([program, source, dump], capture_output=True, text=True, check=False)
    except FileNotFoundError as error:
        raise SourceError(f"{program} is missing; ./dev build tables builds it") from error
    if result.returncode != 0:
        raise SourceError(result.stderr.strip())
