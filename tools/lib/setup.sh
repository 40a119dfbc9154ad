# shellcheck shell=bash
# What must be there before anything can be built. Says nothing and takes well under a second when it is. Sourced.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent
source "$LIB/packages.sh"
source "$LIB/sources.sh"

EnsureSetup() {
  RequirePlainPath "This clone" "$ROOT"
  InstallPackages
  LocateSources
  if [[ -z "$(MissingSources)" ]] && BaseToolsBuilt; then
    return 0
  fi
  # One at a time: clones share the cache. Whoever waited finds the work done.
  mkdir -p "$CACHE"
  exec {lock}>"$CACHE/.lock"
  flock "$lock"
  FetchMissingSources
  BuildBaseTools
  exec {lock}>&-
}
