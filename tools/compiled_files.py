#!/usr/bin/env python3
"""Prints the files of this repository that a CMake build compiles, one on each line.

usage: compiled_files.py BUILD-FOLDER ROOT

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import json
import pathlib
import sys


def own_files(commands, root, build):
    """The compiled files under `root` that the build did not make itself, each once."""
    paths = {pathlib.Path(command["directory"], command["file"]).resolve() for command in commands}
    return sorted(path for path in paths if path.is_relative_to(root) and not path.is_relative_to(build))


def main(arguments):
    if len(arguments) != 2:
        print(__doc__, file=sys.stderr)
        return 2
    build, root = (pathlib.Path(argument).resolve() for argument in arguments)
    commands = json.loads((build / "compile_commands.json").read_text(encoding="utf-8"))
    # Everything under build/ is made, not written.
    for path in own_files(commands, root, root / "build"):
        print(path)
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
