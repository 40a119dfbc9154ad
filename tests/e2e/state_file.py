"""Reads and writes the agent's saved state: the format of TvqPlatformPkg/src/states/state_format.h.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import struct
import zlib

HEADER = struct.Struct("<8sIIQII")
SECTION = struct.Struct("<II")
DEVICE = struct.Struct("<IHBB")
DEVICE_SECTION = 4
BLOB = struct.Struct("<IIII")
CONFIGURATION = 5
DOCUMENT_OFFSET = 80


def read(state):
    """The generation, and each section's type and bytes."""
    generation, sections, at = HEADER.unpack_from(state)[3], [], HEADER.size
    while at < len(state):
        kind, size = SECTION.unpack_from(state, at)
        at += SECTION.size
        sections.append((kind, state[at : at + size]))
        at += size
    return generation, sections


def write(generation, sections):
    body = b"".join(SECTION.pack(kind, len(content)) + content for kind, content in sections)

    def header(crc):
        return HEADER.pack(b"TVQSTATE", 2, len(sections), generation, len(body), crc)

    sums = struct.pack("<II", zlib.crc32(header(0)), zlib.crc32(body))
    return header(zlib.crc32(sums)) + body


def split_device(content):
    """A device's header with its FQDD, the FQDD, and its blobs."""
    size = DEVICE.size + 2 * DEVICE.unpack_from(content)[3]
    return content[:size], content[DEVICE.size : size].decode("utf-16-le"), content[size:]


def fqdds(state):
    return [split_device(content)[1] for kind, content in read(state)[1] if kind == DEVICE_SECTION]


def with_documents(state, documents):
    """The state with other configuration documents: a dictionary of FQDD to document."""
    generation, sections = read(state)
    changed = []
    for kind, content in sections:
        if kind == DEVICE_SECTION:
            head, fqdd, blobs = split_device(content)
            content = head + (with_document(blobs, documents[fqdd]) if fqdd in documents else blobs)
        changed.append((kind, content))
    return write(generation, changed)


def with_document(data, document):
    """The stored data of a device with another configuration document."""
    blobs, at = b"", 0
    while at < len(data):
        revision, kind, cookie, size = BLOB.unpack_from(data, at)
        blob = data[at : at + size]
        if kind == CONFIGURATION:
            blob = BLOB.pack(revision, kind, cookie, DOCUMENT_OFFSET + len(document) + 1) + bytes(64) + document + b"\0"
        blobs += blob
        at += size
    return blobs
