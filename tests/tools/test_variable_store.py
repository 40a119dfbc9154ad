"""Tests of tests/e2e/variable_store.py, which enrols images by hash in a store of variables.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

import pathlib
import struct
import subprocess
import tempfile
import unittest

import scripts  # noqa: F401
import pe_builder
import variable_store

OTHER = b"\x11" * 16


def variable(name, data, vendor=variable_store.SIGNATURE_DATABASE.bytes_le, state=variable_store.ADDED):
    text = f"{name}\0".encode("utf-16-le")
    header = variable_store.VARIABLE.pack(variable_store.START, state, 0, 0x27, 0, b"", 0, len(text), len(data), vendor)
    content = header + text + data
    return content + b"\xff" * (-len(content) % 4)


def store(*variables):
    volume = bytearray(72)
    struct.pack_into("<H", volume, variable_store.VOLUME_HEADER_SIZE_AT, len(volume))
    return bytes(volume) + bytes(variable_store.STORE_HEADER_SIZE) + b"".join(variables) + b"\xff" * 4096


def contents(data):
    """Name, state and data of each variable."""
    found = []
    for at, fields in variable_store.variables(data):
        if fields:
            name_at = at + variable_store.VARIABLE.size
            data_at = name_at + fields[7]
            found.append((data[name_at : data_at - 2].decode("utf-16-le"), fields[1], data[data_at : data_at + fields[8]]))
    return found


class Enrol(unittest.TestCase):
    def test_the_db_grows_by_the_hashes_and_nothing_else_changes(self):
        image = pe_builder.build(directories=16)
        before = store(variable("dbx", b"no"), variable("db", b"certificate"), variable("x", b"odd", OTHER))
        after = variable_store.enrol(before, [image, image])
        entry = variable_store.OWNER.bytes_le + variable_store.hash_of(image)
        added = variable_store.SHA256.bytes_le + struct.pack("<III", 28 + 96, 0, 48) + entry + entry
        self.assertEqual(
            contents(after),
            [
                ("dbx", variable_store.ADDED, b"no"),
                ("db", variable_store.DELETED, b"certificate"),
                ("x", variable_store.ADDED, b"odd"),
                ("db", variable_store.ADDED, b"certificate" + added),
            ],
        )
        self.assertEqual(len(after), len(before))

    def test_a_db_that_was_deleted_or_is_of_another_vendor_is_none(self):
        for other in (variable("db", b"", state=variable_store.DELETED), variable("db", b"", OTHER)):
            with self.assertRaisesRegex(ValueError, "no db"):
                variable_store.enrol(store(other), [])


class Hash(unittest.TestCase):
    def test_it_is_the_one_that_a_signature_holds(self):
        with tempfile.TemporaryDirectory() as name:
            folder = pathlib.Path(name)
            image = pe_builder.build(alignment=0x1000, directories=16)
            (folder / "image.efi").write_bytes(image)
            request = ["openssl", "req", "-x509", "-newkey", "rsa:2048", "-nodes", "-subj", "/CN=Test", "-keyout", "key", "-out", "pem"]
            subprocess.run(request, cwd=folder, check=True, capture_output=True)
            sign = ["sbsign", "--key", "key", "--cert", "pem", "--output", "signed.efi", "image.efi"]
            subprocess.run(sign, cwd=folder, check=True, capture_output=True)
            signature = (folder / "signed.efi").read_bytes()[len(image) :]
        self.assertIn(variable_store.hash_of(image), signature)

    def test_neither_checksum_nor_the_place_of_signatures_counts(self):
        image = bytearray(pe_builder.build(directories=16))
        before = variable_store.hash_of(bytes(image))
        optional = 0x40 + 24
        image[optional + 64] ^= 1
        image[optional + variable_store.SIGNATURES] ^= 1
        self.assertEqual(variable_store.hash_of(bytes(image)), before)
        image[-1] ^= 1
        self.assertNotEqual(variable_store.hash_of(bytes(image)), before)


if __name__ == "__main__":
    unittest.main()
