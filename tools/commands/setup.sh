#!/usr/bin/env bash
#? Install what is missing: Debian packages, the EDK II and expat sources, BaseTools
#?
#? usage: ./dev setup [--edk2 current] [-v]
#?
#?   --edk2 current   fetches Debian's newest EDK II (sid) too, for EDK2_DIR
#?
#? The sources come from Debian's source packages into $TVQ_CACHE_DIR (default: ~/.cache/tvqsmbios).
#? EDK2_DIR and EXPAT_DIR in the environment name trees to use in their place.
#? The other commands do this by themselves when something is missing.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent
source "$ROOT/tools/lib/common.sh"
source "$LIB/setup.sh"

current=0
while (($#)); do
  case "$1" in
    -v) VERBOSE=1 ;;
    --edk2)
      [[ "${2:-}" == current ]] || UsageError "setup: --edk2 takes one of current"
      current=1
      shift
      ;;
    *) UsageError "setup: unknown argument '$1'" ;;
  esac
  shift
done

EnsureSetup
if ((current)); then
  FetchCurrentEdk2
  Note "EDK II $(cat "$CURRENT_EDK2/.tvq-version"): EDK2_DIR=$CURRENT_EDK2 ./dev build"
fi
Note "everything is set up (EDK II $(cat "$EDK2_DIR/.tvq-version" 2>/dev/null || echo "in $EDK2_DIR"))"
