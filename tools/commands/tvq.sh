#!/usr/bin/env bash
#? Run the command `tvq`, built first when it is out of date
#?
#? usage: ./dev tvq [--static] [ARGUMENT...]
#?
#?   --static   runs the program that is one file and runs on any Linux of this architecture; without arguments, says
#?              where it is
#
# SPDX-License-Identifier: BSD-2-Clause-Patent
source "$ROOT/tools/lib/common.sh"
source "$LIB/setup.sh"
source "$LIB/host.sh"

EnsureSetup
if [[ "${1:-}" == --static ]]; then
  shift
  StaticHost
  tvq="$BUILD/host/host/cli/tvq-static"
  [[ -x "$tvq" ]] || Fail "the host build made no program named tvq-static: libsodium.a is missing"
  if (($# == 0)); then
    echo "$tvq"
    exit
  fi
else
  Host
  tvq="$(find "$BUILD/host" -name tvq -type f -executable -print -quit)"
  [[ -n "$tvq" ]] || Fail "the host build made no program named tvq"
fi
exec "$tvq" "$@"
