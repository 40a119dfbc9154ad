#!/usr/bin/env bash
#? Boot the driver on OVMF in QEMU and show what the agent found
#?
#? usage: ./dev run [--table FILE | --qemu-table] [--as-is] [--out DIR] [-v]
#?
#?   --table FILE    the table to publish: what dmidecode --dump-bin writes, or a bare table
#?   --qemu-table    the table that QEMU itself publishes
#?   --as-is         publish the table unchanged, even where devices clash
#?   --out DIR       where the agent's files go (default: build/run/<name of the table>)
#?   -v              show the output of the tools and of the serial line while they work
#?
#? The report is on stdout, progress on stderr. Exit status: 0 the agent reported success, 1 it did not, 2 wrong usage.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent
source "$ROOT/tools/lib/common.sh"
source "$LIB/setup.sh"

EnsureSetup
exec python3 "$TOOLS/run_agent.py" "$@"
