#!/usr/bin/env bash
#? Install what is missing: Debian packages, the EDK II and expat sources, BaseTools
#?
#? usage: ./dev setup [-v]
#?
#? The sources come from Debian's source packages into $TVQ_CACHE_DIR (default: ~/.cache/tvqsmbios).
#? EDK2_DIR and EXPAT_DIR in the environment name trees to use in their place.
#? The other commands do this by themselves when something is missing.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent
source "$ROOT/tools/lib/common.sh"
source "$LIB/setup.sh"

for argument; do
  case "$argument" in
    -v) VERBOSE=1 ;;
    *) UsageError "setup: unknown argument '$argument'" ;;
  esac
done

EnsureSetup
Note "everything is set up (EDK II $(cat "$EDK2_DIR/.tvq-version" 2>/dev/null || echo "in $EDK2_DIR"))"
