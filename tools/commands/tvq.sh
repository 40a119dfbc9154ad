#!/usr/bin/env bash
#? Run the command `tvq`, built first when it is out of date
#
# SPDX-License-Identifier: BSD-2-Clause-Patent
source "$ROOT/tools/lib/common.sh"
source "$LIB/setup.sh"
source "$LIB/host.sh"

EnsureSetup
Host
tvq="$(find "$BUILD/host" -name tvq -type f -executable -print -quit)"
[[ -n "$tvq" ]] || Fail "the host build made no program named tvq"
exec "$tvq" "$@"
