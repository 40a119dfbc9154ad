#!/usr/bin/env bash
#? Build the firmware images (DEBUG and RELEASE, audited), the host tools, or both
#?
#? usage: ./dev build [firmware|host|all] [-v] [--target DEBUG|RELEASE]
#?
#?   firmware          the images in build/firmware/Build; every one is audited
#?   host              the command `tvq` in build/host
#?   all               both (the default)
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
    firmware | host | all) what="$1" ;;
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

EnsureSetup
if [[ "$what" != host ]]; then
  if [[ -n "$target" ]]; then
    FirmwareTarget "$target"
  else
    Firmware
    cat "$LOGS/audit.log"
  fi
fi
[[ "$what" == firmware ]] || Host
