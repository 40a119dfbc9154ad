/** @file
  The numbers that tell a part from all others of its make.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "numbers.h"

#include <IndustryStandard/SmbiosFields.h>
#include <Library/TvqBlobLib.h>
#include <Library/TvqDeviceLib.h>

#include "../smbios/names/slot_place.h"
#include "../states/machine_identity.h"
#include "../text.h"

namespace tvqplatform {

namespace blobs = tvq::blobs;
namespace devices = tvq::devices;
using smbios::Text;

namespace {

using devices::kUuidSize;

/// Characters of a serial number that are compared where a table was not kept.
constexpr UINTN kBlobSerialLength = 15;

bool IsUsableUuid(Text text) {
  UINT8 uuid[kUuidSize];
  CopyMem(uuid, text.Data(), sizeof(uuid));
  return !devices::SaysNone(uuid) && !devices::IsMadeUp(uuid);
}

Text Trimmed(Text text) {
  const Text trimmed = WithoutOuterBlanks(text);
  return trimmed.Length() == 0 ? Text() : trimmed;
}

/// The text between "17[" and "]", which may be missing behind as many characters as a PPIN has.
Text PpinIn(Text text) {
  constexpr UINTN kTagLength = sizeof(devices::kPpinTag) - 1;
  for (UINTN start = 0; start + kTagLength <= text.Length(); start++) {
    if (CompareMem(text.Data() + start, devices::kPpinTag, kTagLength) != 0) {
      continue;
    }
    const Text rest(text.Data() + start + kTagLength, text.Length() - start - kTagLength);
    for (UINTN end = 0; end < rest.Length(); end++) {
      if (rest[end] == ']') {
        return Trimmed(Text(rest.Data(), end));
      }
    }
    return rest.Length() < devices::kPpinLength ? Text() : Text(rest.Data(), devices::kPpinLength);
  }
  return Text();
}

}  // namespace

const CHAR8* NameOf(NumberKind kind) {
  constexpr const CHAR8* kNames[kNumberKinds] = {"PPIN", "UUID", "SerialNumber", "PartNumber"};
  return kNames[static_cast<UINTN>(kind)];
}

Text TextOf(const CHAR8* text) {
  return Text(reinterpret_cast<const UINT8*>(text), Length(text));
}

bool IsUsable(NumberKind kind, Text number) {
  return kind == NumberKind::kUuid ? number && IsUsableUuid(number) : IsUsableNumber(number);
}

INTN CompareTexts(Text left, Text right) {
  for (UINTN i = 0; i < left.Length() && i < right.Length(); i++) {
    if (left[i] != right[i]) {
      return static_cast<INTN>(left[i]) - static_cast<INTN>(right[i]);
    }
  }
  if (left.Length() != right.Length()) {
    return static_cast<INTN>(left.Length()) - static_cast<INTN>(right.Length());
  }
  return static_cast<INTN>(static_cast<bool>(left)) - static_cast<INTN>(static_cast<bool>(right));
}

Numbers NumbersInTable(const smbios::Structure& device) {
  Numbers numbers;
  switch (device.Type()) {
    case SMBIOS_TYPE_SYSTEM_INFORMATION:
      numbers[NumberKind::kSerial] = device.GetString(SMBIOS_FIELD(1, SerialNumber));
      if (device.Has(SMBIOS_FIELD(1, Uuid))) {
        const UINTN offset = SMBIOS_FIELD(1, Uuid).Offset;
        numbers[NumberKind::kUuid] = Text(device.Formatted().Data() + offset, kUuidSize);
      }
      break;
    case SMBIOS_TYPE_PROCESSOR_INFORMATION:
      numbers[NumberKind::kSerial] = device.GetString(SMBIOS_FIELD(4, SerialNumber));
      numbers[NumberKind::kPart] = device.GetString(SMBIOS_FIELD(4, PartNumber));
      break;
    case SMBIOS_TYPE_MEMORY_DEVICE:
      numbers[NumberKind::kSerial] = device.GetString(SMBIOS_FIELD(17, SerialNumber));
      numbers[NumberKind::kPart] = device.GetString(SMBIOS_FIELD(17, PartNumber));
      break;
    default:
      break;
  }
  numbers[NumberKind::kSerial] = Trimmed(numbers[NumberKind::kSerial]);
  numbers[NumberKind::kPart] = Trimmed(numbers[NumberKind::kPart]);
  return numbers;
}

Numbers NumbersInBlobs(tvq::Span<const UINT8> data) {
  Numbers numbers;
  // It comes first, unless it could not be built.
  const blobs::Blob blob = blobs::ReadBlob(data);
  if (blob.Type != blobs::kInventory) {
    return numbers;
  }
  const blobs::Bytes text = blobs::BytesOf(blob.Whole, blobs::ReadInventory(blob.Whole).Wwn);
  UINTN length = 0;
  while (length < text.Size() && length < kBlobSerialLength && text[length] != 0) {
    length++;
  }
  numbers[NumberKind::kSerial] = Trimmed(Text(text.Data(), length));
  return numbers;
}

Ppins::Ppins(tvq::Span<const UINT8> table) : mAt(smbios::Walk(table).begin()) {}

Text Ppins::Next() {
  for (; mAt != smbios::RangeEnd(); ++mAt) {
    if ((*mAt).Type() != SMBIOS_TYPE_OEM_STRINGS) {
      continue;
    }
    UINTN number = 0;
    for (const Text text : (*mAt).Strings()) {
      const Text ppin = number++ < mString ? Text() : PpinIn(text);
      if (ppin) {
        mString = number;
        return ppin;
      }
    }
    mString = 0;
  }
  return Text();
}

}  // namespace tvqplatform
