# shellcheck shell=bash
# Firmware of our own: OVMF of the EDK II tree with the lines that docs/integrators.md tells an integrator to add, and with a guard
# that stops it at the first byte read or written outside a block of memory, or behind the stack. Sourced after firmware.sh.
#
#   volume   driver and reference platform in the firmware volume; a guard behind the last byte of a block
#   tail     the same without the two
#   head     the same with the guard before the first byte of a block
#
# All are one build in the cache, where EDK II's own part of it is made once.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

OVMF="$CACHE/ovmf"
declare -A GUARD_MASKS=([volume]=0x03 [tail]=0x03 [head]=0x83)
declare -A IN_VOLUME=([volume]=TRUE [tail]=FALSE [head]=FALSE)
# Loader and boot-services memory, code and data.
GUARDED_TYPES=0x1E

# OvmfFolder KIND: where its files go.
OvmfFolder() { echo "$OVMF/$1"; }

BuildOvmf() {
  local kind="$1" space=gEfiMdeModulePkgTokenSpaceGuid toolchain output
  toolchain="$(FirstToolchain X64)"
  mkdir -p "$OVMF/Conf" "$OVMF/$kind"
  python3 -B "$TOOLS/volume_platform.py" "$ROOT/docs/integrators.md" "$EDK2_DIR/OvmfPkg/OvmfPkgX64.dsc" "$OVMF/platform"
  InEdk2 "$OVMF" build -a X64 -t "$toolchain" -b DEBUG -n "$JOBS" -p "$OVMF/platform/OvmfPkgX64.dsc" \
    -D FD_SIZE_4MB -D SECURE_BOOT_ENABLE=TRUE -D NETWORK_ENABLE=FALSE \
    -D "TVQ_IN_VOLUME=${IN_VOLUME[$kind]}" -D "EXPAT_DIR=$EXPAT_DIR" \
    --pcd "$space.PcdHeapGuardPropertyMask=${GUARD_MASKS[$kind]}" --pcd "$space.PcdCpuStackGuard=TRUE" \
    --pcd "$space.PcdHeapGuardPageType=$GUARDED_TYPES" --pcd "$space.PcdHeapGuardPoolType=$GUARDED_TYPES"
  output="$OVMF/Build/OvmfX64/DEBUG_$toolchain/FV"
  cp "$output/OVMF_CODE.fd" "$output/OVMF_VARS.fd" "$(OvmfFolder "$kind")/"
}

# What the firmware is made of; another tree, another recipe or, in the volume, other sources of ours make it anew.
OvmfOrigin() {
  local ours=("$LIB/ovmf.sh" "$TOOLS/volume_platform.py")
  if [[ "${IN_VOLUME[$1]}" == TRUE ]]; then
    mapfile -t -O "${#ours[@]}" ours < <(cd "$ROOT" && find "${PACKAGES[@]}" docs/integrators.md -type f | sort)
  fi
  echo "$EDK2_DIR $EXPAT_DIR $(cat "$EDK2_DIR/.tvq-version" 2>/dev/null)" \
    "$(cd "$ROOT" && sha256sum "${ours[@]}" | sha256sum | cut -c 1-16)"
}

# OwnOvmf KIND...: builds those that are not there. Clones share the cache and take turns.
OwnOvmf() {
  local kind origin trees="$EDK2_DIR $EXPAT_DIR"
  Lock "$OVMF.lock"
  if [[ "$(cat "$OVMF/trees" 2>/dev/null)" != "$trees" ]]; then
    rm -rf "${OVMF:?}"
    mkdir -p "$OVMF"
    echo "$trees" >"$OVMF/trees"
  fi
  for kind; do
    origin="$(OvmfOrigin "$kind")"
    [[ "$(cat "$OVMF/$kind/origin" 2>/dev/null)" != "$origin" ]] || continue
    Step "Building OVMF, $kind" "ovmf-$kind" BuildOvmf "$kind"
    echo "$origin" >"$OVMF/$kind/origin"
  done
  Unlock
}
