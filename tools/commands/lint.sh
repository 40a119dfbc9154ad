#!/usr/bin/env bash
#? Check the files of this repository: format, scripts, licences, build lists, analysers
#?
#? usage: ./dev lint [--changed] [CHECK...]
#?        ./dev lint --mark
#?
#?   --changed    clang and tidy look only at what a compiler sees otherwise than in the commit that .ci/fully-linted names
#?   --mark       all checks; when they find nothing, .ci/fully-linted names this commit
#?
#?   format       clang-format has nothing to change
#?   shell        shellcheck is content with every script
#?   python       every Python file compiles
#?   licence      every file that can says under which licence it is
#?   whitespace   no tabs, no blanks at line ends, a line end at the end
#?   lists        every INF is in a DSC, every source file of a package in an INF
#?   includes     a folder of the driver includes nothing of those that are built on it
#?   results      no status of a function or a service is dropped without a word
#?   edk2         what EDK II's continuous integration asks of a package, as far as it needs no network
#?   cppcheck     cppcheck over all C and C++ files
#?   clang        the host build by Clang, without a warning
#?   tidy         clang-tidy over our own files of the host build
#?
#? Without names: all of them. Each prints OK or FAIL on a line with the time that it took, and what it found below.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent
source "$ROOT/tools/lib/common.sh"
source "$LIB/setup.sh"
source "$LIB/files.sh"
source "$LIB/host.sh"
source "$LIB/lint.sh"

CHECKS=(format shell python licence whitespace lists includes results edk2 cppcheck clang tidy)

CHANGED=0
mark=0
names=()
while (($#)); do
  case "$1" in
    --changed) CHANGED=1 ;;
    --mark) mark=1 ;;
    *)
      [[ " ${CHECKS[*]} " == *" $1 "* ]] || UsageError "lint: there is no check '$1'; the checks are: ${CHECKS[*]}"
      names+=("$1")
      ;;
  esac
  shift
done
if ((mark)); then
  ((CHANGED == 0 && ${#names[@]} == 0)) || UsageError "lint: --mark takes all checks of all files"
  RequireCommitted
fi
((${#names[@]})) || names=("${CHECKS[@]}")

EnsureSetup
status=0
cd "$ROOT"
for name in "${names[@]}"; do
  RunCheck "$name" || status=1
done
((mark == 0 || status)) || Mark
exit "$status"
