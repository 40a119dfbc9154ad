#!/usr/bin/env python3
"""Adds to a platform of EDK II what a page of the documentation tells an integrator to add.

usage: volume_platform.py PAGE PLATFORM.dsc FOLDER

Copies the platform's DSC and its FDF to FOLDER. The DSC gets, at its end, the blocks of the page that are marked as dsc; the FDF
gets those marked as fdf at the end of the firmware volume of the DXE drivers, in force with -D TVQ_IN_VOLUME=TRUE. So the lines
stand on the page alone, and a page that is wrong is a build that fails.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import pathlib
import re
import sys

VOLUME = "[FV.DXEFV]"


class PlatformError(Exception):
    """A page or a platform that does not have what is looked for."""


def blocks(page, language):
    """The lines of the page's code blocks in a language, in their order."""
    found = re.findall(rf"^```{language}\n(.*?)^```$", page, re.MULTILINE | re.DOTALL)
    if not found:
        raise PlatformError(f"the page has no block that is marked as {language}")
    return "\n".join(found)


def with_full_includes(text, folder):
    """A file's includes, found from elsewhere: those without a folder lie beside it."""
    return re.sub(r"^(\s*!include\s+)([^/\s$]+)$", rf"\g<1>{folder}/\g<2>", text, flags=re.MULTILINE)


def added_to_volume(fdf, lines):
    """The FDF with lines at the end of the volume's section."""
    start = fdf.find(VOLUME)
    if start < 0:
        raise PlatformError(f"the FDF has no section {VOLUME}")
    following = re.compile(r"^\[", re.MULTILINE).search(fdf, start + len(VOLUME))
    end = following.start() if following else len(fdf)
    return f"{fdf[:end]}!if $(TVQ_IN_VOLUME) == TRUE\n{lines}!endif\n\n{fdf[end:]}"


def flash_definition(dsc):
    found = re.search(r"^\s*FLASH_DEFINITION\s*=\s*(\S+)", dsc, re.MULTILINE)
    if not found:
        raise PlatformError("the DSC names no FLASH_DEFINITION")
    return found


def write_platform(page, dsc_path, folder):
    """Writes both files; EDK II's tree is two folders above the DSC."""
    dsc = dsc_path.read_text(encoding="utf-8")
    definition = flash_definition(dsc)
    fdf_path = dsc_path.parent.parent / definition[1]
    fdf = with_full_includes(fdf_path.read_text(encoding="utf-8"), pathlib.PurePath(definition[1]).parent)
    folder.mkdir(parents=True, exist_ok=True)
    target = folder / fdf_path.name
    dsc = f"{dsc[:definition.start(1)]}{target}{dsc[definition.end(1):]}"
    # What the blocks leave undefined the command line defines.
    target.write_text(added_to_volume(fdf, blocks(page, "fdf")), encoding="utf-8")
    (folder / dsc_path.name).write_text(f"{dsc}\n{blocks(page, 'dsc')}", encoding="utf-8")


def main(arguments):
    if len(arguments) != 3:
        print(__doc__, file=sys.stderr)
        return 2
    page, dsc, folder = map(pathlib.Path, arguments)
    try:
        write_platform(page.read_text(encoding="utf-8"), dsc.resolve(), folder.resolve())
    except PlatformError as error:
        print(f"volume_platform.py: {page}: {error}", file=sys.stderr)
        return 1
    return 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
