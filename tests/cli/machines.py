"""Tables of machines that nobody built, in the source form of tables.

SPDX-License-Identifier: BSD-2-Clause-Patent
"""

_HEAD = """version = 3.3
[bios 0x0000]
vendor = "Test Firmware"
version = "1.0"
release-date = "01/02/2025"
[system 0x0001]
manufacturer = "Test Works"
product = "Machine of {sockets} sockets"
serial = "TEST0001"
uuid = 7d3f2a10-5b64-4c8e-9a21-0c5e1f2b3a41
[chassis 0x0300]
chassis-type = 0x17
height = 4
"""


def _processor(number):
    return f"""[processor 0x{0x400 + number:04X}]
socket = "CPU{number}"
processor-type = 3
version = "Test Processor 1000 @ 2.00GHz"
status = 0x41
current-speed = 2000
core-count = 64
core-enabled = 64
thread-count = 128
serial = "CPU-{number}"
"""


def _module(handle, labels, index):
    installed = index % 5 != 4
    size = 16384 if index % 11 else 8192
    return f"""[memory-device 0x{handle:04X}]
locator = "{labels[0]}"
bank = "{labels[1]}"
total-width = 72
data-width = 64
size = {size if installed else 0}
form-factor = 9
memory-type = {'0x1A' if installed else 2}
speed = {3200 if installed else 0}
configured-speed = {(2933 if index % 7 == 0 else 3200) if installed else 0}
serial = "{'S%07d' % index if installed else 'NO DIMM'}"
part-number = "TEST-16G"
attributes = 2
"""


def _slot(number):
    lanes = (16, 8, 4, 1)[number % 4]
    width = {16: 0x0D, 8: 0x0B, 4: 0x0A, 1: 0x08}[lanes]
    return f"""[slot 0x{0x900 + number:04X}]
designation = "PCIe Slot {number}"
slot-type = 0xA5
data-bus-width = {width}
usage = {3 + number % 2}
slot-length = 4
id = {number}
bus = {number}
"""


def machine(sockets, modules, slots=6):
    """A server whose slots name their processor and channel."""
    text = _HEAD.format(sockets=sockets)
    text += "".join(_processor(number) for number in range(1, sockets + 1))
    each = max(1, modules // sockets)
    for index in range(modules):
        socket, place = index // each + 1, index % each
        labels = (f"P{socket}-DIMM{chr(65 + place // 2)}{place % 2 + 1}", f"CPU{socket} Channel {place // 2} DIMM {place % 2}")
        text += _module(0x1100 + index, labels, index)
    return text + "".join(_slot(number) for number in range(1, slots + 1)) + "[end 0x7F00]\n"


HOSTILE = "<script>hacked=1</script><img src=x onerror=hacked=1>'\\\"&amp;]]>"


def hostile(source):
    """The source with a text that would be more than text in place of every text of it."""
    lines = []
    for line in source.splitlines():
        name, equals, value = line.partition("=")
        if equals and value.strip().startswith('"'):
            line = f'{name}= "{HOSTILE}"'
        lines.append(line)
    return "\n".join(lines) + "\n"


def changed(source):
    """The two-socket sample with another module, a slot that is empty now, another firmware, a board moved, another power
    supply, and a card in a slot that was free."""
    removed = source.replace('= "7A2C0005"', '= "NO DIMM"\nsize = 0\nextended-size = 0')
    removed = removed.replace('"PW0007002"', '"PW0009999"').replace("usage       = 0x03  # available", "usage       = 0x04", 1)
    return removed.replace('"7A2C0003"', '"7A2C9999"').replace('"2.4.1"', '"2.5.0"').replace('"Riser 1"', '"Riser 2"')
