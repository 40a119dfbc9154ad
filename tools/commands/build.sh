#!/usr/bin/env bash
#? Build the firmware images (DEBUG and RELEASE, audited), the host tools, or both
#?
#? usage: ./dev build [firmware|host|tables|all] [-v] [--arch ARCH | --toolchain NAME | --all] [--target DEBUG|RELEASE]
#?
#?   firmware           the images in build/firmware/Build; every one is audited
#?   host               the command `tvq` in build/host
#?   tables             only the sample tables and the program that builds tables of their source, in build/host
#?   all                firmware and host (the default)
#?   -v                 shows the output of the tools while they work
#?   --arch ARCH        firmware for this architecture: X64 (the default), AARCH64 or RISCV64
#?   --toolchain NAME   firmware of this tool chain, by the name that the EDK II tree has for it: in 2022.11 GCC5 (the default),
#?                      CLANG38 or CLANGPDB for X64, GCC49 for AARCH64, GCC5_RISCV64 for RISCV64
#?   --all              firmware of every tool chain
#?   --target TARGET    firmware of this target alone, without the audit and the page-aligned driver
#
# SPDX-License-Identifier: BSD-2-Clause-Patent
source "$ROOT/tools/lib/common.sh"
source "$LIB/setup.sh"
source "$LIB/firmware.sh"
source "$LIB/host.sh"

what=all
target=
arch="${ARCHITECTURES[0]}"
toolchain=
every=0
while (($#)); do
  case "$1" in
    firmware | host | tables | all) what="$1" ;;
    -v) VERBOSE=1 ;;
    --arch)
      RequireOneOf --arch "${2:-}" "${ARCHITECTURES[@]}"
      arch="$2"
      shift
      ;;
    --toolchain)
      toolchain="${2:-none}"
      (($# < 2)) || shift
      ;;
    --all) every=1 ;;
    --target)
      RequireOneOf --target "${2:-}" "${TARGETS[@]}"
      target="$2"
      shift
      ;;
    *) UsageError "build: unknown argument '$1'; ./dev help build tells more" ;;
  esac
  shift
done

BuildFirmware() {
  local toolchain
  if [[ -n "$target" ]]; then
    for toolchain in "${toolchains[@]}"; do
      FirmwareTarget "$toolchain" "$target"
    done
  else
    Firmware "${toolchains[@]}"
    cat "$LOGS/audit.log"
  fi
}

EnsureSetup
mapfile -t toolchains < <(AllToolchains)
if [[ -n "$toolchain" ]]; then
  RequireOneOf --toolchain "$toolchain" "${toolchains[@]}"
  toolchains=("$toolchain")
elif ((every == 0)); then
  toolchains=("$(FirstToolchain "$arch")")
fi
if [[ "$what" != host && "$what" != tables && " ${toolchains[*]} " == *_RISCV64\ * ]]; then
  InstallRiscv64
fi
case "$what" in
  firmware) BuildFirmware ;;
  host) Host ;;
  tables) Tables ;;
  all)
    BuildFirmware
    Host
    ;;
esac
