# shellcheck shell=bash
# The EDK II and expat source trees: Debian's source packages in the cache, or what EDK2_DIR and EXPAT_DIR name. Sourced.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

IsEdk2() { [[ -f "$1/edksetup.sh" && -f "$1/MdePkg/MdePkg.dec" && -d "$1/BaseTools" ]]; }

IsExpat() { [[ -f "$1/lib/xmlparse.c" && -f "$1/lib/expat.h" ]]; }

# MissingSubmodules TREE: those that MdePkg and BaseTools are not whole without. Debian's source packages do without some.
MissingSubmodules() {
  local path
  [[ -f "$1/.gitmodules" && -e "$1/.git" ]] || return 0
  while read -r path; do
    [[ "$path" != MdePkg/* && "$path" != BaseTools/* ]] || [[ -n "$(ls -A "$1/$path" 2>/dev/null)" ]] || echo "$path"
  done < <(sed -n 's/^[[:space:]]*path *= *//p' "$1/.gitmodules")
}

UseGivenEdk2() {
  local missing
  IsEdk2 "$EDK2_DIR" || Fail "EDK2_DIR=$EDK2_DIR is no EDK II tree (edksetup.sh, MdePkg and BaseTools are looked for there)"
  missing="$(MissingSubmodules "$EDK2_DIR" | tr '\n' ' ')"
  [[ -z "$missing" ]] || Fail "EDK2_DIR=$EDK2_DIR lacks submodules: git -C $EDK2_DIR submodule update --init $missing"
  EDK2_DIR="$(cd "$EDK2_DIR" && pwd)"
}

# Both a release, which has lib/, and the repository, which has expat/lib/, will do.
UseGivenExpat() {
  ! IsExpat "$EXPAT_DIR/expat" || EXPAT_DIR="$EXPAT_DIR/expat"
  IsExpat "$EXPAT_DIR" || Fail "EXPAT_DIR=$EXPAT_DIR is no expat source tree (lib/xmlparse.c is looked for there)"
  EXPAT_DIR="$(cd "$EXPAT_DIR" && pwd)"
}

# Sets and exports EDK2_DIR and EXPAT_DIR, whether or not the trees in the cache are there yet.
LocateSources() {
  if [[ -n "${EDK2_DIR:-}" ]]; then UseGivenEdk2; else EDK2_DIR="$CACHE/edk2"; fi
  if [[ -n "${EXPAT_DIR:-}" ]]; then UseGivenExpat; else EXPAT_DIR="$CACHE/expat/expat"; fi
  export EDK2_DIR EXPAT_DIR
  RequirePlainPath "The EDK II tree" "$EDK2_DIR"
  RequirePlainPath "The expat tree" "$EXPAT_DIR"
}

MissingSources() {
  IsEdk2 "$EDK2_DIR" || echo edk2
  IsExpat "$EXPAT_DIR" || echo expat
}

# A current EDK II beside the one of this Debian release, for EDK2_DIR.
CURRENT_EDK2="$CACHE/edk2-sid"

FetchCurrentEdk2() {
  Lock "$CACHE/.lock"
  [[ -f "$CURRENT_EDK2/.tvq-version" ]] ||
    Step "Fetching EDK II of Debian's sid" setup-current-edk2 bash "$TOOLS/fetch_sources.sh" edk2=sid
  Unlock
}

FetchMissingSources() {
  local missing
  mapfile -t missing < <(MissingSources)
  ((${#missing[@]} == 0)) ||
    Step "Fetching sources (${missing[*]})" setup-sources bash "$TOOLS/fetch_sources.sh" "${missing[@]}"
}

# The programs of BaseTools that `build` may call; all of them are there once its make ran through.
BaseToolsBuilt() {
  local tool
  for tool in EfiRom GenCrc32 GenFfs GenFv GenFw GenSec VfrCompile VolInfo; do
    [[ -x "$EDK2_DIR/BaseTools/Source/C/bin/$tool" ]] || return 1
  done
}

BuildBaseTools() {
  BaseToolsBuilt || Step "Building BaseTools" setup-basetools make -C "$EDK2_DIR/BaseTools/Source/C" -j"$JOBS"
}
