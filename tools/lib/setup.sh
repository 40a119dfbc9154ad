# shellcheck shell=bash
# What must be there before anything can be built. Says nothing and takes well under a second when it is. Sourced.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent
source "$LIB/packages.sh"
source "$LIB/sources.sh"

EnsureSetup() {
  RequirePlainPath "This clone" "$ROOT"
  InstallWantedPackages
  LocateSources
  if [[ -z "$(MissingSources)" ]] && BaseToolsBuilt; then
    return 0
  fi
  # Clones share the cache; whoever waited here finds the work done.
  Lock "$CACHE/.lock"
  FetchMissingSources
  BuildBaseTools
  Unlock
}
