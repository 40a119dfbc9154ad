/** @file
  The saved state.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "state.h"

#include "../text.h"

namespace tvqplatform {

namespace {

/// CRC-32 of header and body, with the header's own field taken as 0.
UINT32 Checksum(const STATE_HEADER& header, tvq::Span<const UINT8> body) {
  STATE_HEADER blank = header;
  blank.Crc32 = 0;
  // CalculateCrc32 goes over one range, so the sum is that of the two ranges' sums.
  UINT32 sums[2] = {CalculateCrc32(&blank, sizeof(blank)), 0};
  sums[1] = body.Empty() ? 0 : CalculateCrc32(const_cast<UINT8*>(body.Data()), body.Size());
  return CalculateCrc32(sums, sizeof(sums));
}

bool IsState(const STATE_HEADER& header) {
  return CompareMem(header.Magic, kStateMagic, sizeof(kStateMagic)) == 0;
}

/// Takes `size` bytes off the front. Null: there are fewer.
const UINT8* Take(tvq::Span<const UINT8>& bytes, UINTN size) {
  if (size > bytes.Size()) {
    return nullptr;
  }
  const UINT8* front = bytes.Data();
  bytes = {front + size, bytes.Size() - size};
  return front;
}

/// Takes one device off the front. False: it is cut or makes no sense.
[[nodiscard]] bool TakeDevice(tvq::Span<const UINT8>& body, SavedDevice& device) {
  STATE_DEVICE header;
  const UINT8* bytes = Take(body, sizeof(header));
  if (bytes == nullptr) {
    return false;
  }
  CopyMem(&header, bytes, sizeof(header));
  if (header.FqddLength >= kStateFqddSize) {
    return false;
  }
  const UINTN fqddSize = header.FqddLength * sizeof(CHAR16);
  const UINT8* fqdd = Take(body, fqddSize);
  const UINT8* data = fqdd == nullptr ? nullptr : Take(body, header.DataSize);
  if (data == nullptr) {
    return false;
  }
  ZeroMem(device.Fqdd, sizeof(device.Fqdd));
  if (fqddSize != 0) {
    CopyMem(device.Fqdd, fqdd, fqddSize);
  }
  device.ComponentClass = header.ComponentClass;
  device.Data = {data, header.DataSize};
  return true;
}

[[nodiscard]] bool AppendDevice(const DeviceInventory& device, GrowingArray<UINT8>& file) {
  const CHAR16* fqdd = device.Fqdd == nullptr ? tvq::Ucs2(u"") : device.Fqdd;
  const UINTN fqddLength = MIN(Length(fqdd), kStateFqddSize - 1);
  STATE_DEVICE header = {device.Identity.ComponentClass, static_cast<UINT32>(fqddLength), 0};
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
  STATE_HEADER header;
  const UINT8* bytes = Take(file, sizeof(header));
  if (bytes == nullptr) {
    return EFI_VOLUME_CORRUPTED;
  }
  CopyMem(&header, bytes, sizeof(header));
  if (!IsState(header)) {
    return EFI_VOLUME_CORRUPTED;
  }
  if (header.Version != kStateVersion) {
    return EFI_INCOMPATIBLE_VERSION;
  }
  if (header.BodySize != file.Size() || header.Crc32 != Checksum(header, file)) {
    return EFI_VOLUME_CORRUPTED;
  }
  mGeneration = header.Generation;
  return ReadDevices(file, header.DeviceCount);
}

EFI_STATUS SavedState::ReadDevices(tvq::Span<const UINT8> body, UINT32 count) {
  for (UINT32 i = 0; i < count; i++) {
    SavedDevice device;
    if (!TakeDevice(body, device)) {
      return EFI_VOLUME_CORRUPTED;
    }
    if (!mDevices.Append(device)) {
      return EFI_OUT_OF_RESOURCES;
    }
  }
  return body.Empty() ? EFI_SUCCESS : EFI_VOLUME_CORRUPTED;
}

StateBytes::~StateBytes() {
  mBytes.Free();
}

bool StateBytes::Write(const Inventory& inventory, UINT64 generation) {
  mBytes.Shrink(0);
  STATE_HEADER header = {};
  CopyMem(header.Magic, kStateMagic, sizeof(kStateMagic));
  header.Version = kStateVersion;
  header.DeviceCount = static_cast<UINT32>(inventory.Size());
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
