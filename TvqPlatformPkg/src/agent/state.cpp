/** @file
  The saved state.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "state.h"

#include "../text.h"

namespace tvqplatform {

namespace {

constexpr UINT32 kVersion = 1;

/// CRC-32 of header and body, with the header's own field taken as 0.
UINT32 Checksum(const STATE_HEADER& header, tvq::Span<const UINT8> body) {
  STATE_HEADER blank = header;
  blank.Crc32 = 0;
  // CalculateCrc32 goes over one range, so the sum is that of the two ranges' sums.
  UINT32 sums[2] = {CalculateCrc32(&blank, sizeof(blank)), 0};
  sums[1] = body.Empty() ? 0 : CalculateCrc32(const_cast<UINT8*>(body.Data()), body.Size());
  return CalculateCrc32(sums, sizeof(sums));
}

EFI_STATUS StatusOf(StateDefect defect) {
  switch (defect) {
    case StateDefect::kNone:
      return EFI_SUCCESS;
    case StateDefect::kNoMemory:
      return EFI_OUT_OF_RESOURCES;
    case StateDefect::kNewer:
      return EFI_INCOMPATIBLE_VERSION;
    default:
      return EFI_VOLUME_CORRUPTED;
  }
}

[[nodiscard]] bool AppendDevice(const DeviceInventory& device, GrowingArray<UINT8>& file) {
  const CHAR16* fqdd = device.Fqdd == nullptr ? tvq::Ucs2(u"") : device.Fqdd;
  const UINTN fqddLength = MIN(Length(fqdd), kStateFqddSize - 1);
  STATE_DEVICE_1 header = {device.Identity.ComponentClass, static_cast<UINT32>(fqddLength), 0};
  for (UINTN slot = 0; slot < kBlobCount; slot++) {
    header.DataSize += static_cast<UINT32>(BlobBytes(device, slot).Size());
  }
  if (!file.Append(reinterpret_cast<const UINT8*>(&header), sizeof(header)) ||
      !file.Append(reinterpret_cast<const UINT8*>(fqdd), fqddLength * sizeof(CHAR16))) {
    return false;
  }
  for (UINTN slot = 0; slot < kBlobCount; slot++) {
    const tvq::Span<const UINT8> blob = BlobBytes(device, slot);
    if (!file.Append(blob.Data(), blob.Size())) {
      return false;
    }
  }
  return true;
}

}  // namespace

SavedState::~SavedState() {
  mDevices.Free();
}

EFI_STATUS SavedState::Read(tvq::Span<const UINT8> file) {
  mDevices.Free();
  const StateDefect defect = ReadState(file, mState);
  for (const SnapshotDevice& device : mState.Content.Devices) {
    SavedDevice saved = {{}, device.ComponentClass, device.Blobs};
    CopyMem(saved.Fqdd, device.Fqdd, sizeof(saved.Fqdd));
    if (!mDevices.Append(saved)) {
      return EFI_OUT_OF_RESOURCES;
    }
  }
  return StatusOf(defect);
}

StateBytes::~StateBytes() {
  mBytes.Free();
}

bool StateBytes::Write(const Inventory& inventory, UINT64 generation) {
  mBytes.Shrink(0);
  STATE_HEADER header = {};
  CopyMem(header.Magic, kStateMagic, sizeof(kStateMagic));
  header.Version = kVersion;
  header.Count = static_cast<UINT32>(inventory.Size());
  header.Generation = generation;
  if (!mBytes.AppendZeroed(sizeof(header))) {
    return false;
  }
  for (UINTN i = 0; i < inventory.Size(); i++) {
    if (!AppendDevice(inventory[i], mBytes)) {
      return false;
    }
  }
  const tvq::Span<const UINT8> body = {mBytes.Data() + sizeof(header),
                                       mBytes.Size() - sizeof(header)};
  header.BodySize = static_cast<UINT32>(body.Size());
  header.Crc32 = Checksum(header, body);
  CopyMem(mBytes.Data(), &header, sizeof(header));
  return true;
}

}  // namespace tvqplatform
