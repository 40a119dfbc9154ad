#!/usr/bin/env python3
"""Audits built EFI images: what the firmware loads must hold nothing that nobody initialises, resolves or protects.

Of every image: its PE headers are sound, it is for the expected subsystem, it imports nothing, its sections are the expected
ones and none is both writable and executable. Of the ELF file that the linker left beside it (.debug): no symbol is
undefined. Neither has a constructor section, because no code of EDK II would run it.

Exit status: 0 all images pass, 1 some do not, 2 wrong usage.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import argparse
import dataclasses
import json
import os
import pathlib
import struct
import subprocess
import sys

MACHINES = {0x8664: "X64", 0xAA64: "AARCH64", 0x5064: "RISCV64"}
SUBSYSTEMS = {10: "application", 11: "driver"}
EXPECTED_PE_SECTIONS = {".text", ".rdata", ".data", ".reloc"}
# .eh_frame is emptied by the objcopy step of the tool chain, yet the section stays.
# .dynamic is the linker's, of a position-independent program; older linker scripts of EDK II discard it.
EXPECTED_ELF_SECTIONS = {".text", ".data", ".dynamic", ".eh_frame"}
CONSTRUCTOR_SECTIONS = (".preinit_array", ".init_array", ".fini_array", ".ctors", ".dtors", ".init", ".fini", ".CRT")
MEM_EXECUTE, MEM_READ, MEM_WRITE = 0x20000000, 0x40000000, 0x80000000
PE32_PLUS = 0x20B
# The entry of the data directory.
IMPORTS = 1
PAGE = 0x1000
NX_COMPAT = 0x0100
# From the start of the optional header.
CHECKSUM, DLL_CHARACTERISTICS = 64, 70


class NotAnImage(Exception):
    """The file cannot be read as a PE32+ image; the text says why."""


@dataclasses.dataclass
class Section:
    """One section of the PE file."""

    name: str
    address: int
    size: int
    flags: int

    def rights(self):
        pairs = ((MEM_READ, "R"), (MEM_WRITE, "W"), (MEM_EXECUTE, "X"))
        return "".join(letter if self.flags & bit else "-" for bit, letter in pairs)


@dataclasses.dataclass
class Image:
    """What the audit looks at, as read from the PE headers."""

    machine: int
    subsystem: int
    entry: int
    alignment: int
    imports: int
    characteristics: int
    checksum: int
    sections: list
    size: int


def unpack(layout, data, offset):
    """struct.unpack_from that names a truncated file as such."""
    if offset + struct.calcsize(layout) > len(data):
        raise NotAnImage(f"truncated: the headers go on past its {len(data)} bytes")
    return struct.unpack_from(layout, data, offset)


def parse_section(data, offset):
    name, size, address, raw_size, raw_offset = unpack("<8sIIII", data, offset)
    (flags,) = unpack("<I", data, offset + 36)
    text = name.rstrip(b"\0").decode("ascii", "replace")
    if raw_offset + raw_size > len(data):
        raise NotAnImage(f"truncated: section {text} ends at {raw_offset + raw_size} of {len(data)} bytes")
    return Section(text, address, max(size, raw_size), flags)


def optional_header(data):
    """Where the optional header begins."""
    return unpack("<I", data, 0x3C)[0] + 24


def checksum(data):
    """The checksum that the file should have: its own field counts as zero."""
    at = optional_header(data) + CHECKSUM
    blank = data[:at] + bytes(4) + data[at + 4 :] + bytes(len(data) % 2)
    total = sum(struct.unpack(f"<{len(blank) // 2}H", blank))
    while total >> 16:
        total = (total & 0xFFFF) + (total >> 16)
    return total + len(data)


def parse_image(data):
    """Reads the headers of a PE32+ image."""
    if not data.startswith(b"MZ"):
        raise NotAnImage("no PE image: it does not start with MZ")
    (header,) = unpack("<I", data, 0x3C)
    signature, machine, count, optional_size = unpack("<4sHH12xH", data, header)
    if signature != b"PE\0\0":
        raise NotAnImage("no PE image: the PE signature is missing")
    optional = optional_header(data)
    (magic,) = unpack("<H", data, optional)
    if magic != PE32_PLUS:
        raise NotAnImage(f"no PE32+ image: its optional header has magic {magic:#x}")
    (entry,) = unpack("<I", data, optional + 16)
    (alignment,) = unpack("<I", data, optional + 32)
    (subsystem,) = unpack("<H", data, optional + 68)
    (found,) = unpack("<I", data, optional + CHECKSUM)
    (characteristics,) = unpack("<H", data, optional + DLL_CHARACTERISTICS)
    (directories,) = unpack("<I", data, optional + 108)
    imports = unpack("<II", data, optional + 112 + 8 * IMPORTS)[1] if directories > IMPORTS else 0
    first = optional + optional_size
    sections = [parse_section(data, first + 40 * index) for index in range(count)]
    return Image(machine, subsystem, entry, alignment, imports, characteristics, found, sections, len(data))


def check_headers(image, expected_subsystem, page_aligned):
    """Yields what is wrong with the headers."""
    if image.machine not in MACHINES:
        yield f"machine type {image.machine:#x} is none of {', '.join(MACHINES.values())}"
    found = SUBSYSTEMS.get(image.subsystem, f"unknown ({image.subsystem})")
    if found != expected_subsystem:
        yield f"its subsystem is {found}, expected {expected_subsystem}"
    if image.imports:
        yield f"it imports symbols ({image.imports} bytes of names), and nobody provides any"
    if page_aligned and image.alignment != PAGE:
        yield f"its section alignment is {image.alignment:#x}, expected {PAGE:#x}"


def check_protection(image, data):
    """Yields what keeps firmware that protects pages from taking the image as it is."""
    if not image.characteristics & NX_COMPAT:
        yield "NX_COMPAT is not set"
    if image.checksum != checksum(data):
        yield f"its checksum is {image.checksum:#x}, that of the file {checksum(data):#x}"


def check_sections(image):
    """Yields what is wrong with the sections."""
    if not image.sections:
        yield "it has no sections"
    for section in image.sections:
        if section.name.startswith(CONSTRUCTOR_SECTIONS):
            yield f"constructor section {section.name}, which nothing would run"
        elif section.name not in EXPECTED_PE_SECTIONS:
            yield f"unexpected section {section.name}"
        if section.flags & MEM_WRITE and section.flags & MEM_EXECUTE:
            yield f"section {section.name} is both writable and executable"
        if image.alignment == 0 or section.address % image.alignment:
            yield f"section {section.name} starts at {section.address:#x}, off the alignment {image.alignment:#x}"
    in_order = sorted(image.sections, key=lambda section: section.address)
    for before, after in zip(in_order, in_order[1:]):
        if before.address + before.size > after.address:
            yield f"sections {before.name} and {after.name} overlap"
    if not any(s.address <= image.entry < s.address + s.size and s.flags & MEM_EXECUTE for s in image.sections):
        yield f"its entry point {image.entry:#x} is in no executable section"


def run_tool(*command):
    """The standard output of a binutils program; its complaint as NotAnImage."""
    result = subprocess.run(command, capture_output=True, text=True, check=False, env={**os.environ, "LC_ALL": "C"})
    if result.returncode != 0:
        raise NotAnImage(f"{command[0]}: {result.stderr.strip()}")
    return result.stdout


def parse_elf_sections(text):
    """The (name, size, flags) of every section in the output of `readelf -SW`."""
    for line in text.splitlines():
        fields = line.partition("]")[2].split()
        if len(fields) >= 9 and line.lstrip().startswith("[") and fields[0] != "Name":
            flags = fields[6] if not fields[6].isdigit() else ""
            yield fields[0], int(fields[4], 16), flags


def check_elf(path):
    """Yields what is wrong with the ELF file that the image was made of."""
    if not path.is_file():
        yield f"{path.name} is not beside it, so its symbols cannot be checked"
        return
    for line in run_tool("nm", "--undefined-only", str(path)).splitlines():
        yield f"undefined symbol {line.split()[-1]}"
    for name, size, flags in parse_elf_sections(run_tool("readelf", "--sections", "--wide", str(path))):
        if name.startswith(CONSTRUCTOR_SECTIONS):
            yield f"constructor section {name}, which nothing would run"
        elif "A" in flags and size and name not in EXPECTED_ELF_SECTIONS:
            yield f"unexpected section {name} in {path.name}"


def audit(path, applications=(), page_aligned=False, has_elf=True, nx_compat=False):
    """The findings on one image, as the dictionary that --json prints."""
    path = pathlib.Path(path)
    kind = "application" if path.stem in applications else "driver"
    report = {"image": str(path), "kind": kind, "problems": []}
    try:
        data = path.read_bytes()
        image = parse_image(data)
        report |= {
            "machine": MACHINES.get(image.machine, hex(image.machine)),
            "size": image.size,
            "alignment": image.alignment,
            "sections": [{"name": s.name, "size": s.size, "rights": s.rights()} for s in image.sections],
        }
        report["problems"] += check_headers(image, kind, page_aligned or nx_compat)
        report["problems"] += check_protection(image, data) if nx_compat else ()
        report["problems"] += check_sections(image)
        if has_elf:
            report["problems"] += check_elf(path.with_suffix(".debug"))
    except (NotAnImage, OSError) as error:
        report["problems"].append(getattr(error, "strerror", None) or str(error))
    return report


def describe(report):
    """The columns of one line."""
    path = pathlib.Path(report["image"])
    sections = [f"{s['name']} {s['rights']}" for s in report.get("sections", [])]
    return [
        path.stem,
        "/".join(path.parts[-4:-1]),
        report["kind"],
        f"{report.get('size', 0)} bytes",
        f"align {report.get('alignment', 0):#x}",
        ", ".join(sections),
        "FAIL" if report["problems"] else "OK",
    ]


def render(reports):
    """The text for people: one aligned line per image, its problems indented below it."""
    rows = [describe(report) for report in reports]
    widths = [max(len(row[column]) for row in rows) for column in range(len(rows[0]))]
    right_aligned = 3
    lines = []
    for row, report in zip(rows, reports):
        cells = (
            cell.rjust(width) if column == right_aligned else cell.ljust(width)
            for column, (cell, width) in enumerate(zip(row, widths))
        )
        lines.append("  ".join(cells).rstrip())
        lines += [f"    {problem}" for problem in report["problems"]]
    return "\n".join(lines)


def parse_arguments(arguments):
    parser = argparse.ArgumentParser(description=__doc__.splitlines()[0])
    parser.add_argument("images", nargs="+", metavar="IMAGE", help="an .efi file, its .debug file beside it")
    parser.add_argument("--page-aligned", action="store_true", help="the images were linked with 4 KiB sections")
    parser.add_argument("--nx-compat", action="store_true", help="the images were made ready to go out (harden_efi.py)")
    parser.add_argument(
        "--no-elf", action="store_true", help="the linker made PE files at once, and stopped at undefined symbols itself"
    )
    parser.add_argument(
        "--application", action="append", metavar="NAME", help="the images with this name are no drivers (TvqAgent and the like)"
    )
    parser.add_argument("--json", action="store_true", help="print the findings as JSON")
    return parser.parse_args(arguments)


def main(arguments):
    options = parse_arguments(arguments)
    applications = options.application or ["TvqAgent", "TvqPlatformTest", "TvqFaults"]
    reports = [audit(image, applications, options.page_aligned, not options.no_elf, options.nx_compat) for image in options.images]
    print(json.dumps(reports, indent=2) if options.json else render(reports))
    return 1 if any(report["problems"] for report in reports) else 0


if __name__ == "__main__":
    sys.exit(main(sys.argv[1:]))
