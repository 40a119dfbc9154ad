# shellcheck shell=bash
# Firmware that stops at the first byte read or written outside a block of memory: OVMF of the EDK II tree with its heap
# guard, for pool and pages, and its stack guard. Built once and kept in the cache. Sourced after firmware.sh.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

GUARDED="$CACHE/guarded"
# A guard stands at one end of a block of pool: behind its last byte, or before its first one.
GUARDS=(tail head)
declare -A GUARD_MASKS=([tail]=0x03 [head]=0x83)
# Loader and boot-services memory, code and data.
GUARDED_TYPES=0x1E

BuildGuarded() {
  local space=gEfiMdeModulePkgTokenSpaceGuid mask="${GUARD_MASKS[$1]}" output
  mkdir -p "$GUARDED/Conf"
  InEdk2 "$GUARDED" build -a X64 -t GCC5 -b DEBUG -n "$JOBS" -p OvmfPkg/OvmfPkgX64.dsc \
    -D FD_SIZE_4MB -D SECURE_BOOT_ENABLE=TRUE -D NETWORK_ENABLE=FALSE \
    --pcd "$space.PcdHeapGuardPropertyMask=$mask" --pcd "$space.PcdCpuStackGuard=TRUE" \
    --pcd "$space.PcdHeapGuardPageType=$GUARDED_TYPES" --pcd "$space.PcdHeapGuardPoolType=$GUARDED_TYPES"
  output="$GUARDED/Build/OvmfX64/DEBUG_GCC5/FV"
  mkdir -p "$GUARDED/$1"
  cp "$output/OVMF_CODE.fd" "$output/OVMF_VARS.fd" "$GUARDED/$1/"
}

# What the firmware is made of; another tree or another recipe makes it anew.
GuardedOrigin() { echo "$EDK2_DIR $(cat "$EDK2_DIR/.tvq-version" 2>/dev/null) $(sha256sum "$LIB/guarded.sh" | cut -c 1-16)"; }

GuardedFirmware() {
  local guard origin
  origin="$(GuardedOrigin)"
  Lock "$GUARDED.lock"
  for guard in "${GUARDS[@]}"; do
    [[ "$(cat "$GUARDED/$guard/origin" 2>/dev/null)" != "$origin" ]] || continue
    Step "Building OVMF with a guard at the $guard of every block" "guarded-$guard" BuildGuarded "$guard"
    echo "$origin" >"$GUARDED/$guard/origin"
  done
  Unlock
}
