"""`tvq show` has every name, maker, number, label and version that dmidecode prints, and the same numbers.

usage: dmidecode_test.py TVQ SAMPLES [TABLE...]       compares these tables instead, and counts

The tables are the samples, captured ones where they are, and some of this test's own: every structure that is compared at many
lengths, full of FFh, with empty strings and with 255 of them.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import json
import pathlib
import re
import shutil
import struct
import subprocess
import sys
import tempfile

import tables

TABLE_OFFSET = 0x20
WIDTH = 80
# What dmidecode prints where a table says nothing.
NOTHING = {"", "Not Specified", "<BAD INDEX>", "Not Present", "Not Settable", "None", "Unknown", "No Module Installed",
           "<OUT OF SPEC>", "00ff:ff:1f.7", "ffff:ff:1f.7"}
# In a table of such a name numbers say nothing, and dmidecode takes some of them at their word.
TEXTS_ONLY = "all-ones"
SIZES = {"bytes": 1, "kB": 1 << 10, "MB": 1 << 20, "GB": 1 << 30, "TB": 1 << 40}


def number(text):
    """The number in "2933 MT/s", "72 bits" or "3"."""
    found = re.match(r"\d+", text)
    return int(found.group()) if found else None


def size(text):
    """Bytes: "16 GB"."""
    if text == "No Module Installed":
        return 0
    found = re.fullmatch(r"(\d+) (\w+)", text)
    return int(found.group(1)) * SIZES[found.group(2)] if found else None


# What dmidecode calls it, what tvq does, and how to read dmidecode's text where it is no text of the table.
FACTS = {
    0: ("firmware", {"Vendor": "vendor", "Version": "version", "Release Date": "date", "BIOS Revision": "release",
                     "Firmware Revision": "controllerRelease", "ROM Size": ("romSizeInBytes", size)}),
    1: ("systems", {"Manufacturer": "manufacturer", "Product Name": "product", "Version": "version", "Serial Number": "serial",
                    "UUID": "uuid", "SKU Number": "sku", "Family": "family"}),
    2: ("boards", {"Manufacturer": "manufacturer", "Product Name": "product", "Version": "version", "Serial Number": "serial",
                   "Asset Tag": "assetTag", "Location In Chassis": "location"}),
    3: ("chassis", {"Manufacturer": "manufacturer", "Version": "version", "Serial Number": "serial", "Asset Tag": "assetTag",
                    "SKU Number": "sku"}),
    4: ("processors", {"Socket Designation": "label", "Manufacturer": "manufacturer", "Version": "version",
                       "Serial Number": "serial", "Asset Tag": "assetTag", "Part Number": "partNumber",
                       "Core Count": ("coreCount", number), "Core Enabled": ("enabledCoreCount", number),
                       "Thread Count": ("threadCount", number), "Current Speed": ("currentSpeedInMHz", number),
                       "Max Speed": ("maximumSpeedInMHz", number)}),
    9: ("slots", {"Designation": "label", "Bus Address": "address"}),
    17: ("modules", {"Locator": "label", "Bank Locator": "bank", "Manufacturer": "manufacturer", "Serial Number": "serial",
                     "Asset Tag": "assetTag", "Part Number": "partNumber", "Firmware Version": "firmwareVersion",
                     "Size": ("sizeInBytes", size), "Speed": ("ratedSpeedInMTs", number),
                     "Configured Memory Speed": ("configuredSpeedInMTs", number), "Rank": ("rank", number),
                     "Total Width": ("totalWidthInBits", number), "Data Width": ("dataWidthInBits", number)}),
    39: ("powerSupplies", {"Location": "location", "Name": "name", "Manufacturer": "manufacturer", "Serial Number": "serial",
                           "Asset Tag": "assetTag", "Model Part Number": "partNumber", "Revision": "revision",
                           "Max Power Capacity": ("maximumPowerInWatts", number)}),
    41: ("onboardDevices", {"Reference Designation": "label", "Bus Address": "address"}),
}


# ---- Tables of this test's own ----

def dump(version, structures):
    """A file as `dmidecode --dump-bin` writes it."""
    table = b"".join(structures) + structure(127, 0xFEFF)
    major, minor = version
    entry = bytearray(struct.pack("<5sBBBBBBBIQ", b"_SM3_", 0, 24, major, minor, 0, 1, 0, len(table), TABLE_OFFSET))
    entry[5] = -sum(entry) & 0xFF
    return bytes(entry).ljust(TABLE_OFFSET, b"\0") + table


def structure(kind, handle, body=b"", strings=()):
    texts = b"".join(text.encode("latin-1") + b"\0" for text in strings) or b"\0"
    return struct.pack("<BBH", kind, 4 + len(body), handle) + body + texts + b"\0"


# The formatted parts as of SMBIOS 3.7, without the header: every string number is one of the first nine, every number one that
# stands for itself.
BODIES = {
    0: bytes.fromhex("0102 00e0 03 0f 0800000000000000 0300 0504 0301 1000"),
    1: bytes.fromhex("01020304 00112233445566778899aabbccddeeff 06 0506"),
    2: bytes.fromhex("0102030405 09 06 0003 0a 00"),
    3: bytes.fromhex("01 17 020304 03030302 00000000 02 01 00 03 05"),
    4: bytes.fromhex("01 03 b3 02 ffffffffffffffff 03 92 6400 a00f 6009 41 2b ffffffffffff 040506 ff ff ff fc00 b300 2001 1001 4002 4002"),
    9: bytes.fromhex("01 c3 0d 04 04 0700 04 03 0100 17 08 0d 00 05 0d 0000 00"),
    16: bytes.fromhex("03 03 06 00000080 feff 0400 0000000040000000"),
    17: bytes.fromhex("0010 feff 4800 4000 ff7f 09 00 01 02 22 8020 ffff 03040506 02 00800000 ffff b004 b004 4c04 03 0800 07 802c 0000"
                      " 0000 0000 0000000000000000 0000000004000000 0000000000000000 0000000000000000 00190000 f8120000 802c 0100 802c 0100"),
    39: bytes.fromhex("01 01020304050607 2003 0200 ffff ffff ffff"),
    41: bytes.fromhex("01 85 01 0000 3b 08"),
}
STRINGS = [f"Text {n}" for n in range(1, 10)]
VERSIONS = [(2, 0), (2, 3), (2, 5), (2, 6), (2, 7), (2, 8), (3, 0), (3, 2), (3, 3), (3, 7)]


def own_tables():
    """Pairs of a name and a dump."""
    # Not those where dmidecode does not look yet, although a module's extended speed is there.
    lengths = sorted({*range(0, 0x54, 5), 0x14, 0x16, 0x18, 0x1E, 0x24, 0x29, 0x2C, 0x53, 0x58, 0x5E, 0x62})
    for i, length in enumerate(lengths):
        parts = [structure(kind, kind, body[:length], STRINGS) for kind, body in BODIES.items()]
        yield f"formatted-{length + 4}-bytes", dump(VERSIONS[i % len(VERSIONS)], parts)
    ones = [structure(kind, kind, b"\xff" * len(body)) for kind, body in BODIES.items()]
    yield "all-ones-without-strings", dump((3, 7), ones)
    many = [f"String {n} of 255" for n in range(1, 256)]
    yield "all-ones-with-255-strings", dump((3, 7), [structure(kind, kind, b"\xff" * len(body), many) for kind, body in BODIES.items()])
    yield "all-zero", dump((3, 7), [structure(kind, kind, bytes(len(body)), STRINGS) for kind, body in BODIES.items()])
    blanks = [" ", "  padded  ", "\t", "x" * 200, "a\x7fb", "caf\xe9", "-", "   ", "comma, \"quotes\" and \\"]
    yield "odd-strings", dump((2, 7), [structure(kind, kind, body, blanks) for kind, body in BODIES.items()])


# ---- What dmidecode prints ----

def printed(file):
    """(type, number among its type, key, value) for each line of a structure that is compared."""
    text = tables.run("dmidecode", "--from-dump", file, status=(0, 1)).decode("latin-1")
    counts = {}
    kind = None
    for line in text.splitlines():
        if found := re.match(r"Handle 0x[0-9A-F]+, DMI type (\d+),", line):
            kind = int(found.group(1))
            counts[kind] = counts.get(kind, -1) + 1
        elif kind in FACTS and (found := re.match(r"\t([^\t:]+): ?(.*)", line)):
            yield kind, counts[kind], found.group(1), found.group(2).strip()


def as_printed(value):
    """dmidecode prints a dot for what is no ASCII."""
    return "".join(character if " " <= character < "\x7f" else "." for character in str(value)).strip()


def normalized(text):
    """Without blanks and lines' ends, as a value may go on in the next line, and a dot for odd characters, as dmidecode has it."""
    return re.sub(r"\\x[0-9A-F]{2}|[^ -~]", ".", re.sub(r"\s+", "", text))


class Comparison:
    def __init__(self, tvq, file):
        self.file = file
        show = lambda *options: tables.run(tvq, "show", file, "--quiet", *options, status=(0, 1)).decode()
        self.machine = json.loads(show("--json"))["machine"]
        self.narrow, self.wide = show(), show("--wide")
        self.narrow_text, self.wide_text = normalized(self.narrow), normalized(self.wide)
        self.count = 0
        self.missing = []

    def run(self):
        for kind, index, key, value in printed(self.file):
            member, names = FACTS[kind]
            if key in names:
                self.compare(f"{member}[{index}]", self.machine[member][index], key, names[key], value)
        for line in self.narrow.splitlines():
            if len(line) > WIDTH:
                self.missing.append(f"a line of {len(line)} characters: {line}")
        return self

    def compare(self, part, facts, key, name, value):
        name, read = name if isinstance(name, tuple) else (name, None)
        fact = facts[name]
        if read is not None and TEXTS_ONLY in self.file.name:
            return
        if read is not None:
            wanted = read(value)
            if wanted is None and value not in NOTHING:
                self.missing.append(f"{part} {key}: what is '{value}'?")
            if fact != wanted and not (fact is None and wanted in (None, 0)):
                self.missing.append(f"{part} {key}: {value}, in JSON {fact}")
            self.count += wanted not in (None, 0)
            return
        if fact is None and value in NOTHING:
            return
        self.count += 1
        if fact is None or as_printed(fact) != value:
            self.missing.append(f"{part} {key}: '{value}', in JSON '{fact}'")
        for text, where in ((self.wide_text, "wide"), (self.narrow_text, "narrow")):
            if normalized(value) not in text:
                self.missing.append(f"{part} {key}: '{value}' is not in the {where} text")


def with_entry_point(file, folder):
    """dmidecode wants one in front of a bare table."""
    data = file.read_bytes()
    if data[:4] == b"_SM_" or data[:5] == b"_SM3_":
        return file
    # What Windows hands out has eight bytes in front: version and length among them.
    version = (3, 0)
    if int.from_bytes(data[4:8], "little") == len(data) - 8:
        version, data = (data[1], data[2]), data[8:]
    target = folder / file.name
    target.write_bytes(dump(version, [data]))
    return target


def main(arguments):
    if shutil.which("dmidecode") is None:
        print("there is no dmidecode")
        sys.exit(tables.SKIPPED)
    tvq, files = tables.program_and_tables(arguments[:2])
    total, missing = 0, 0
    with tempfile.TemporaryDirectory() as name:
        folder = pathlib.Path(name)
        if arguments[2:]:
            files = [pathlib.Path(argument) for argument in arguments[2:]]
        else:
            for title, data in own_tables():
                files.append(folder / f"{title}.own")
                files[-1].write_bytes(data)
        for file in files:
            done = Comparison(tvq, with_entry_point(file, folder)).run()
            total += done.count
            missing += len(done.missing)
            print(f"{file.name}: {done.count} values, {len(done.missing)} missing or different")
            for line in done.missing[:20]:
                print(f"  {line}")
    print(f"{len(files)} tables: {total} values, {missing} missing or different")
    sys.exit(1 if missing or total == 0 else 0)


if __name__ == "__main__":
    main(sys.argv[1:])
