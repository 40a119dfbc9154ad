#!/usr/bin/env bash
#? Boot the driver on UEFI firmware in QEMU and show what the agent found
#?
#? usage: ./dev run [--arch ARCH] [--table FILE | --qemu-table] [--as-is] [--accept] [--out DIR] [-v]
#?
#?   --arch ARCH     the machine to boot: x64 (the default), aarch64, u-boot (AARCH64 with another UEFI), or
#?                   riscv64 (that UEFI too)
#?   --table FILE    the table to publish: what dmidecode --dump-bin writes, a bare table, or the source of one, as
#?                   those in samples/ (default: samples/two-socket.smbios)
#?   --qemu-table    the table that QEMU itself publishes: two sockets, four modules
#?   --as-is         publish the table unchanged, even where devices clash
#?   --accept        save the state of this boot in place of the saved one
#?   --out DIR       where the agent's files go (default: build/run/<name of the table>, but for x64 with its name)
#?   -v              show the output of the tools and of the serial line while they work
#?
#? The first boot with a folder saves the state of all devices there, every later one is compared with it.
#? The report is on stdout, progress on stderr. Exit status: 0 the agent reported success, 1 it did not, 2 wrong usage.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent
source "$ROOT/tools/lib/common.sh"
source "$LIB/setup.sh"

EnsureSetup
exec python3 -B "$TOOLS/run_agent.py" "$@"
