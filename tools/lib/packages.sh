# shellcheck shell=bash
# Installs the Debian packages that are missing. Plain bash, because a fresh machine has nothing else. Sourced.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

WantedPackages() { sed 's/#.*//; /^[[:space:]]*$/d' "$TOOLS/packages.txt"; }

# MissingPackages NAME...: those that are not installed.
MissingPackages() {
  local wanted installed
  wanted="$(printf '%s\n' "$@")"
  # dpkg-query answers with an error for names it never heard of; those are simply not in its answer.
  # shellcheck disable=SC2086 # one name a word
  installed="$(dpkg-query -W -f='${db:Status-Abbrev}${Package}\n' $wanted 2>/dev/null | sed -n 's/^.i //p')" || true
  comm -23 <(sort -u <<<"$wanted") <(sort -u <<<"$installed")
}

# AsRoot COMMAND...: directly or through sudo.
AsRoot() {
  if [[ "$(id -u)" == 0 ]]; then
    "$@"
  else
    sudo "$@"
  fi
}

RequireRoot() {
  [[ "$(id -u)" == 0 ]] && return 0
  if command -v sudo >/dev/null && { sudo -n true 2>/dev/null || { [[ -t 0 ]] && sudo -v; }; }; then
    return 0
  fi
  Note "these packages are missing, and installing them takes root rights:"
  echo "  $*" >&2
  Note "run this as root, then ./dev setup again:"
  echo "  apt-get update && apt-get install --no-install-recommends $*" >&2
  exit 1
}

AptInstall() {
  local apt=(env DEBIAN_FRONTEND=noninteractive apt-get -o DPkg::Lock::Timeout=120)
  # Third-party lists that do not answer are no reason to stop; a package that cannot be had is, below.
  AsRoot "${apt[@]}" update || echo "apt-get update reported an error"
  AsRoot "${apt[@]}" install -y --no-install-recommends "$@"
}

# InstallPackages NAME...: those that are missing.
InstallPackages() {
  local missing
  if [[ -z "$(type -P apt-get)" || -z "$(type -P dpkg-query)" ]]; then
    Fail "setup needs Debian's apt-get and dpkg-query; tools/packages.txt names what to install by hand"
  fi
  mapfile -t missing < <(MissingPackages "$@")
  ((${#missing[@]})) || return 0
  RequireRoot "${missing[@]}"
  Step "Installing packages (${#missing[@]})" setup-packages AptInstall "${missing[@]}"
}

# InstallWantedPackages: what every command needs.
InstallWantedPackages() {
  local wanted
  mapfile -t wanted < <(WantedPackages)
  InstallPackages "${wanted[@]}"
}
