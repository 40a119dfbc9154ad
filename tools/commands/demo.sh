#!/usr/bin/env bash
#? Show how replaced parts are found: boot twice, and replace three parts in between
#?
#? usage: ./dev demo [--out DIR] [-v]
#?
#?   --out DIR    where the agent's files go (default: build/demo)
#?   -v           show the output of the tools and of the serial line while they work
#?
#? Both boots are of the sample samples/two-socket.smbios. Before the second one the serial number of one module, the
#? part number of another and the core count of one processor change. What the agent found is on stdout, progress on
#? stderr. Exit status: 0 exactly these three were reported replaced, 1 anything else, 2 wrong usage.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent
source "$ROOT/tools/lib/common.sh"
source "$LIB/setup.sh"

EnsureSetup
exec python3 -B "$TOOLS/demo.py" "$@"
