#!/usr/bin/env bash
#? Build the firmware images (DEBUG and RELEASE, audited), the host tools, or both
#?
#? usage: ./dev build [firmware|host|tables|all] [-v] [--target DEBUG|RELEASE]
#?
#?   firmware          the images in build/firmware/Build; every one is audited
#?   host              the command `tvq` in build/host
#?   tables            only the sample tables and the program that builds tables of their source, in build/host
#?   all               firmware and host (the default)
#?   -v                shows the output of the tools while they work
#?   --target TARGET   firmware of this target alone, without the audit and the page-aligned driver
#
# SPDX-License-Identifier: BSD-2-Clause-Patent
source "$ROOT/tools/lib/common.sh"
source "$LIB/setup.sh"
source "$LIB/firmware.sh"
source "$LIB/host.sh"

what=all
target=
while (($#)); do
  case "$1" in
    firmware | host | tables | all) what="$1" ;;
    -v) VERBOSE=1 ;;
    --target)
      target="${2:-}"
      [[ "$target" == DEBUG || "$target" == RELEASE ]] || UsageError "build: --target takes DEBUG or RELEASE"
      shift
      ;;
    *) UsageError "build: unknown argument '$1'; ./dev help build tells more" ;;
  esac
  shift
done

BuildFirmware() {
  if [[ -n "$target" ]]; then
    FirmwareTarget "$target"
  else
    Firmware
    cat "$LOGS/audit.log"
  fi
}

EnsureSetup
case "$what" in
  firmware) BuildFirmware ;;
  host) Host ;;
  tables) Tables ;;
  all)
    BuildFirmware
    Host
    ;;
esac
