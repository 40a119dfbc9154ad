"""What the bytes of the driver's image are: code by its origin, texts, and the rest.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import re
import subprocess
from collections import Counter

LOG, TEXTS, OWN, PRINT, LIBRARIES, REST = ("log texts", "other texts", "the driver's own code", "PrintLib",
                                           "other MdePkg libraries", "headers, relocations, data")
GROUPS = (OWN, LOG, TEXTS, PRINT, LIBRARIES, REST)

_SYMBOL = re.compile(r"([0-9a-f]+) ([0-9a-f]+) [tTwWrR] \S+\t(.*):\d+$")
_ASCII = re.compile(rb"[\x09\x0a\x0d\x20-\x7e]{2,}\0")
# Not from the last character of an ASCII text on.
_WIDE = re.compile(rb"(?<![\x0a\x0d\x20-\x7e])(?:[\x0a\x0d\x20-\x7e]\0){2,}\0\0")
_ROUTINE = re.compile(r"Logger(?: \w+)?\(\"(\w+)\"")


class SizeError(Exception):
    """The image or what belongs to it cannot be read."""


def _origin(file):
    if "/BasePrintLib/" in file:
        return PRINT
    return LIBRARIES if "/MdePkg/" in file else OWN


def symbols(listing):
    """The address, size and origin of every function in what `nm -lS` prints; one of those at the same address."""
    found = {}
    for line in listing.splitlines():
        match = _SYMBOL.match(line)
        if match:
            found.setdefault(int(match[1], 16), (int(match[2], 16), _origin(match[3])))
    return [(address, size, origin) for address, (size, origin) in sorted(found.items())]


def routine_names(sources):
    """The names that log lines are printed under."""
    return {name for source in sources for name in _ROUTINE.findall(source)}


def is_log_text(text, routines):
    """Formats and messages have blanks, directives or line ends; the elements of documents have none, or brackets."""
    return text in routines or (bool(re.search(r"[ %\n]", text)) and "<" not in text)


def _without_code(image, functions):
    """The image with its code blanked out, so that no text is found in it."""
    left = bytearray(image)
    for address, size, _ in functions:
        left[address:address + size] = bytes(size)
    return bytes(left)


def breakdown(image, functions, routines):
    """The bytes of each group. Sections lie in the file where they lie in memory: the driver is linked so."""
    sizes = Counter()
    for _, size, origin in functions:
        sizes[origin] += size
    left = _without_code(image, functions)
    for pattern, encoding, end in ((_WIDE, "utf-16-le", 2), (_ASCII, "ascii", 1)):
        for match in pattern.finditer(left):
            text = match[0][:-end].decode(encoding)
            sizes[LOG if is_log_text(text, routines) else TEXTS] += len(match[0])
        left = pattern.sub(lambda match: bytes(len(match[0])), left)
    sizes[REST] = len(image) - sum(sizes.values())
    return sizes


def measure(image, debug, sources):
    """The size of the image and its breakdown, by the file with its symbols."""
    try:
        content = image.read_bytes()
        texts = [path.read_text(encoding="utf-8") for path in sources]
        listing = subprocess.run(["nm", "-lS", "--defined-only", debug], capture_output=True, text=True, check=True)
    except (OSError, subprocess.CalledProcessError) as error:
        raise SizeError(f"the size of {image.name} cannot be measured: {error}") from error
    return len(content), breakdown(content, symbols(listing.stdout), routine_names(texts))
