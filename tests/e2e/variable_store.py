"""Enrols images by hash, as a firmware's setup menu does, in the store of variables that QEMU's firmware has in its flash.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import hashlib
import struct
import uuid

import virtual_machine  # noqa: F401
import audit_efi

SIGNATURE_DATABASE = uuid.UUID("d719b2cb-3d3a-4596-a3bc-dad00e67656f")
SHA256 = uuid.UUID("c1c41626-504c-4092-aca9-41f936934328")
OWNER = uuid.UUID("5a2b7c1e-6f0d-4c8b-9e35-0d1f7a4b6c92")
# A volume's header tells its size; the store's own header follows.
VOLUME_HEADER_SIZE_AT, STORE_HEADER_SIZE = 48, 28
VARIABLE = struct.Struct("<HBBIQ16sIII16s")
START, ADDED, DELETED = 0x55AA, 0x3F, 0x3D
# From the start of the optional header: the entry of the data directory for signatures.
SIGNATURES = 112 + 8 * 4


def hash_of(image):
    """The hash that stands for an image without a signature: its checksum and the place of signatures do not count."""
    optional = audit_efi.optional_header(image)
    checksum, signatures = optional + audit_efi.CHECKSUM, optional + SIGNATURES
    return hashlib.sha256(image[:checksum] + image[checksum + 4 : signatures] + image[signatures + 8 :]).digest()


def signature_list(images):
    entries = b"".join(OWNER.bytes_le + hash_of(image) for image in images)
    return SHA256.bytes_le + struct.pack("<III", 28 + len(entries), 0, 48) + entries


def variables(store):
    """Where each variable begins and the fields of its header; the last one is where the next one would begin, without fields."""
    (header,) = struct.unpack_from("<H", store, VOLUME_HEADER_SIZE_AT)
    at = header + STORE_HEADER_SIZE
    while struct.unpack_from("<H", store, at)[0] == START:
        fields = VARIABLE.unpack_from(store, at)
        yield at, fields
        at += -(-(VARIABLE.size + fields[7] + fields[8]) // 4) * 4
    yield at, None


def enrol(store, images):
    """The store with a db that knows these images too."""
    result = bytearray(store)
    found = list(variables(store))
    end = found[-1][0]
    for at, fields in found[:-1]:
        _, state, _, _, _, _, _, name_size, data_size, vendor = fields
        name_at = at + VARIABLE.size
        name = store[name_at : name_at + name_size].decode("utf-16-le").rstrip("\0")
        if state == ADDED and name == "db" and vendor == SIGNATURE_DATABASE.bytes_le:
            data = store[name_at + name_size : name_at + name_size + data_size] + signature_list(images)
            result[at + 2] = DELETED
            header = VARIABLE.pack(*fields[:8], len(data), vendor)
            new = header + store[name_at : name_at + name_size] + data
            result[end : end + len(new)] = new
            return bytes(result)
    raise ValueError("the store has no db")
