#!/usr/bin/env bash
# Unpacks Debian source packages into the cache.
#
# usage: fetch_sources.sh NAME[=SUITE]...
#
# With a suite, the package is the one of that suite of Debian's archive, and its folder is called NAME-SUITE.
#
# Each is unpacked in a temporary folder inside the cache and renamed when complete, so that an interrupted run leaves nothing
# half-made under its final name.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent
source "$ROOT/tools/lib/common.sh"

# Everything apt keeps for this lies in a folder of our own, so that the machine's apt configuration stays as it is.
AptOptions() {
  local work="$1"
  printf '%s\n' -o "Dir::Etc::sourcelist=/dev/null" -o "Dir::Etc::sourceparts=$work/sources" \
    -o "Dir::State::lists=$work/lists" -o "Dir::Cache=$work/cache" -o "Acquire::Retries=3" -o "Acquire::Languages=none"
}

# DeriveSourceLists WORK [SUITE]
DeriveSourceLists() {
  local work="$1" change=() list parts
  # shellcheck source=/dev/null
  [[ -z "${2:-}" ]] || change=(--suite "$(. /etc/os-release && echo "$VERSION_CODENAME")=$2")
  eval "$(apt-config shell list Dir::Etc::sourcelist/f parts Dir::Etc::sourceparts/d)"
  mkdir -p "$work"/{sources,lists/partial,cache/archives/partial}
  python3 "$TOOLS/deb_sources.py" "${change[@]}" "$work/sources" "$list" "$parts"
}

# The versions that the lists offer, the newest first.
OfferedVersions() { apt-cache "${apt[@]}" showsrc "$1" | sed -n 's/^Version: //p' | sort -V -r -u; }

UnpackedTree() { find "$2" -mindepth 1 -maxdepth 1 -type d -name "$1-*" -print -quit; }

# A version may be listed and still not be there (an archive that moved on): then the next one serves.
UnpackNewest() {
  local name="$1" folder="$2" version
  mkdir -p "$folder"
  for version in $(OfferedVersions "$name"); do
    if (cd "$folder" && apt-get "${apt[@]}" source "$name=$version"); then
      echo "$version" >"$(UnpackedTree "$name" "$folder")/.tvq-version"
      return 0
    fi
    echo "$name $version cannot be had, trying an older one"
  done
  echo "no version of the source package $name can be had from this machine's apt sources"
  return 1
}

# Fetch NAME[=SUITE]
Fetch() (
  name="${1%%=*}"
  suite="${1#"$name"}"
  suite="${suite#=}"
  work="$(mktemp -d -p "$CACHE")"
  trap 'rm -rf "$work"' EXIT
  mapfile -t apt < <(AptOptions "$work")
  DeriveSourceLists "$work" "$suite"
  # A list that does not answer is no reason to stop; a package that cannot be had is.
  apt-get "${apt[@]}" update || echo "apt-get update reported an error"
  UnpackNewest "$name" "$work/$name"
  target="$CACHE/$name${suite:+-$suite}"
  rm -rf "$target"
  mv "$(UnpackedTree "$name" "$work/$name")" "$target"
)

mkdir -p "$CACHE"
for name; do
  Fetch "$name"
done
