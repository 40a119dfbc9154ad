#!/usr/bin/env bash
#? Change the code one operator, constant or status at a time, and see whether the unit tests tell
#?
#? usage: ./dev mutate [--changed[=REV]] [--sample N] [--tests REGEX] [--json FILE] [--again FILE] [--sanitize] [-v]
#?                     [NAME...]
#?
#?   NAME             an area (driver, platform, agent, table, run, lint, cli) or a source, as src/smbios/fqdd.cpp
#?                    (default: everything)
#?   --changed[=REV]  only lines that differ from a revision (default: HEAD)
#?   --sample N       only N changes of each area, the same ones every time: what share survives shows in a minute
#?   --tests REGEX    only the test programs whose names match
#?   --json FILE      write what became of every mutant there as well, each minute
#?   --again FILE     run only what an earlier run, which wrote FILE with --json, did not kill
#?   --sanitize       with AddressSanitizer and UndefinedBehaviorSanitizer, which tell a byte too far; slower
#?   -v               show the output of the tools while they build
#?
#? The tests are built once from a copy of the repository with all changes in it; a number switches one on. Each mutant runs
#? the tests that reach it, in a process of its own, the quickest first, until one fails. Those that survive are listed, but
#? for the changes that are none by tests/mutation/equivalent. Exit status: 0 under 5 % survive in every area, 1 more do or
#? an explanation is out of date, 2 trouble.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent
source "$ROOT/tools/lib/common.sh"
source "$LIB/setup.sh"
source "$LIB/host.sh"

names=()
options=()
tests=()
build=mutate
while (($#)); do
  case "$1" in
    -v) VERBOSE=1 ;;
    --sanitize) build=mutate-sanitized ;;
    --changed) options+=(--changed=HEAD) ;;
    --changed=?*) options+=("$1") ;;
    --json | --again | --tests | --sample)
      [[ -n "${2:-}" ]] || UsageError "mutate: $1 takes an argument"
      if [[ "$1" == --tests ]]; then tests=("$1" "$2"); else options+=("$1" "$2"); fi
      shift
      ;;
    -*) UsageError "mutate: unknown argument '$1'; ./dev help mutate tells more" ;;
    *) names+=("$1") ;;
  esac
  shift
done

# A copy of the repository, which is built in its own folder `build`.
TREE="$BUILD/mutate-tree"

# The Python that Debian's libclang belongs to.
Mutate() { /usr/bin/python3 -B "$TOOLS/mutation/mutate.py" "$@"; }

# How the sources are compiled is asked of a tree of its own, which nobody builds.
ChangeSources() {
  ConfigureHost mutate-plain && Mutate write "$ROOT" "$BUILD/mutate-plain" "$TREE" "${names[@]}" --jobs "$JOBS"
}

# BuildPrograms: the test programs that contain what is named.
BuildPrograms() {
  local ROOT="$TREE" targets
  local BUILD="$TREE/build"
  # Its list of programs is written when it is configured.
  Configured "$build" || Step "Configuring the changed sources" mutate-configure ConfigureHost "$build"
  read -ra targets < <(Mutate targets "$TREE" "$BUILD/$build" "${names[@]}" "${tests[@]}")
  ((${#targets[@]})) || Fail "no test program contains ${names[*]}"
  Step "Building ${#targets[@]} programs of the changed sources" mutate-build \
    ninja -C "$BUILD/$build" -j "$JOBS" "${targets[@]}"
}

EnsureSetup
InstallPackages clang-14 python3-clang-14
Lock "$TREE.lock"
Step "Changing the sources" mutate-change ChangeSources
BuildPrograms
Unlock
Mutate run "$ROOT" "$TREE" "$TREE/build/$build" "${names[@]}" --jobs "$JOBS" "${tests[@]}" "${options[@]}"
