"""Reads and writes the agent's saved state: the format of TvqPlatformPkg/src/agent/state.h.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import struct
import zlib

HEADER = struct.Struct("<8sIIQII")
DEVICE = struct.Struct("<III")
BLOB = struct.Struct("<IIII")
CONFIGURATION = 5
DOCUMENT_OFFSET = 80


def read(state):
    """The generation, and for each device its class, FQDD and stored data."""
    _, _, count, generation, _, _ = HEADER.unpack_from(state)
    devices, at = [], HEADER.size
    for _ in range(count):
        kind, length, size = DEVICE.unpack_from(state, at)
        at += DEVICE.size
        fqdd = state[at : at + 2 * length].decode("utf-16-le")
        at += 2 * length
        devices.append((kind, fqdd, state[at : at + size]))
        at += size
    return generation, devices


def write(generation, devices):
    body = b"".join(
        DEVICE.pack(kind, len(fqdd), len(data)) + fqdd.encode("utf-16-le") + data for kind, fqdd, data in devices
    )

    def header(crc):
        return HEADER.pack(b"TVQSTATE", 1, len(devices), generation, len(body), crc)

    sums = struct.pack("<II", zlib.crc32(header(0)), zlib.crc32(body))
    return header(zlib.crc32(sums)) + body


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
