# shellcheck shell=bash
# Prometheus, its node exporter and ClickHouse for the tests of many machines: Debian's packages, unpacked into a folder of the
# build. Installed they would start servers on the developer's machine. Sourced after packages.sh.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

FLEET="$BUILD/fleet"
FLEET_PACKAGES=(prometheus prometheus-node-exporter clickhouse-server clickhouse-client)

# FleetPackages: these, and what they need that is not installed here.
FleetPackages() {
  printf '%s\n' "${FLEET_PACKAGES[@]}"
  # Pages for browsers are asked for by nobody.
  apt-get install --simulate --no-install-recommends "${FLEET_PACKAGES[@]}" | sed -n 's/^Inst \([^ ]*\) .*/\1/p' |
    grep -Ev '^(libjs-|fonts-)'
}

UnpackFleetPackages() {
  local packages file
  rm -rf "$FLEET"
  mkdir -p "$FLEET/debs" "$FLEET/root.new"
  mapfile -t packages < <(FleetPackages | sort -u)
  (cd "$FLEET/debs" && apt-get download "${packages[@]}")
  for file in "$FLEET"/debs/*.deb; do
    dpkg-deb -x "$file" "$FLEET/root.new"
  done
  mv "$FLEET/root.new" "$FLEET/root"
}

# FleetTools: they are there, in $FLEET/root.
FleetTools() {
  if [[ -z "$(type -P apt-get)" || -z "$(type -P dpkg-deb)" ]]; then
    Fail "--fleet needs Debian's apt-get and dpkg-deb, to unpack ${FLEET_PACKAGES[*]}"
  fi
  [[ -d "$FLEET/root" ]] || Step "Unpacking ${FLEET_PACKAGES[*]}" fleet-packages UnpackFleetPackages
}
