"""The areas of the code that is changed.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import dataclasses


@dataclasses.dataclass(frozen=True)
class Area:
    """The folders and files of an area, and what of CMake's images and libraries a test program has to contain to run its
    code. A file belongs to the area whose folder is the nearest above it."""
    folders: tuple
    contents: frozenset


AREAS = {
    "driver": Area(("TvqSmbiosPkg/src", "TvqSmbiosPkg/Library", "TvqSmbiosPkg/Include/Library",
                    "TvqSmbiosPkg/Include/TvqCpp.h", "TvqSmbiosPkg/Include/TvqSpan.h"),
                   frozenset({"driver", "tvq_smbios_table", "tvq_devices", "tvq_blobs"})),
    "platform": Area(("TvqPlatformPkg/src", "TvqSmbiosPkg/Application"), frozenset({"platform", "platform_test", "agent"})),
    "agent": Area(("TvqPlatformPkg/src/agent", "TvqPlatformPkg/src/compare", "TvqPlatformPkg/src/states"), frozenset({"agent"})),
    "table": Area(("host/table",), frozenset({"tvq_table", "tvq_lint", "tvq_cli"})),
    "run": Area(("host/run",), frozenset({"tvq_cli"})),
    "lint": Area(("host/lint",), frozenset({"tvq_lint", "tvq_cli"})),
    "cli": Area(("host/cli",), frozenset({"tvq_cli"})),
}
# What foreign code wants of a C library.
_FOREIGN = "TvqPlatformPkg/src/xml/crt/"


def area_of(file):
    """The name of the area of a file, which is named as from the root; None if it is in none."""
    folders = [(folder, name) for name, area in AREAS.items() for folder in area.folders if f"{file}/".startswith(f"{folder}/")]
    return None if file.startswith(_FOREIGN) else max(folders, default=(None, None))[1]
