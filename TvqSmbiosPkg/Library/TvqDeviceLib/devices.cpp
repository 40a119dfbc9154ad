/** @file
  What the structures of a table are to TVQSMBIOS.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

extern "C" {
#include <Uefi.h>
}

#include <IndustryStandard/SmbiosFields.h>
#include <Library/TvqDeviceLib.h>
#include <Protocol/TvqRecord.h>

namespace tvq::devices {

namespace {

static_assert(sizeof(Key::Data) == sizeof(TVQ_DEVICE_PATH::Data), "all that tells records apart");

Kind KindOfMemory(U8 memoryType, U16 size) {
  if (IsHbm(memoryType)) {
    return Kind::kHbm;
  }
  if (size == 0) {
    return Kind::kEmptySlot;
  }
  return IsLogical(memoryType) ? Kind::kLogical : Kind::kModule;
}

bool ContainsPrefix(Text text) {
  for (smbios::SizeType start = 0; start + kLocatorPrefixLength <= text.Length(); start++) {
    smbios::SizeType alike = 0;
    while (alike < kLocatorPrefixLength &&
           text[start + alike] == static_cast<UINT8>(kLocatorPrefix[alike])) {
      alike++;
    }
    if (alike == kLocatorPrefixLength) {
      return true;
    }
  }
  return false;
}

smbios::Field<U8> NameField(const Structure& device) {
  return device.Type() == SMBIOS_TYPE_PROCESSOR_INFORMATION ? SMBIOS_FIELD(4, Socket)
                                                            : SMBIOS_FIELD(17, DeviceLocator);
}

/// The byte of the table that stands so far behind the start of one of the structure's texts.
U8 ByteBehind(const Structure& structure, Text text, smbios::SizeType distance) {
  const auto start = static_cast<smbios::SizeType>(text.Data() - structure.ToEndOfTable().Data());
  return structure.PeekByte(start + distance);
}

/// The driver widens the characters of a locator with their sign.
void PutWide(U8* bytes, U8 character) {
  bytes[0] = character;
  bytes[1] = character > 0x7F ? 0xFF : 0;
}

}  // namespace

Kind KindOf(const Structure& structure) {
  switch (structure ? structure.Type() : smbios::kEndOfTable) {
    case SMBIOS_TYPE_PROCESSOR_INFORMATION:
      return IsSocketPopulated(structure.Get(SMBIOS_FIELD(4, Status))) ? Kind::kProcessor
                                                                       : Kind::kEmptySocket;
    case SMBIOS_TYPE_MEMORY_DEVICE:
      return KindOfMemory(structure.Get(SMBIOS_FIELD(17, MemoryType)),
                          structure.Get(SMBIOS_FIELD(17, Size)));
    default:
      return Kind::kNone;
  }
}

U8 RecordTypeOf(Kind kind) {
  return kind == Kind::kProcessor ? U8{TVQ_DEVICE_TYPE_CPU}
         : kind == Kind::kModule  ? U8{TVQ_DEVICE_TYPE_DIMM}
                                  : U8{0};
}

Text NameOf(const Structure& device) {
  return device.GetString(NameField(device));
}

bool IsName(const Structure& structure, smbios::SizeType number) {
  return number != 0 && KindOf(structure) != Kind::kNone &&
         structure.Get(NameField(structure)) == number;
}

U8 SocketNumber(const Structure& processor) {
  const Text designation = processor.GetString(SMBIOS_FIELD(4, Socket));
  return designation ? static_cast<U8>(ByteBehind(processor, designation, kSocketDigit) - '0')
                     : U8{0};
}

LocatorKey KeyOfLocator(const Structure& module) {
  LocatorKey key;
  const Text locator = module.GetString(SMBIOS_FIELD(17, DeviceLocator));
  if (!locator) {
    return key;
  }
  smbios::SizeType distance = ContainsPrefix(locator) ? kLocatorPrefixLength : 0;
  for (U8& character : key.Characters) {
    character = ByteBehind(module, locator, distance++);
  }
  return key;
}

Key KeyOf(const Structure& device) {
  Key key;
  if (device.Type() == SMBIOS_TYPE_PROCESSOR_INFORMATION) {
    key.Data[0] = RecordTypeOf(Kind::kProcessor);
    key.Data[1] = SocketNumber(device);
    return key;
  }
  const LocatorKey locator = KeyOfLocator(device);
  key.Data[0] = RecordTypeOf(Kind::kModule);
  PutWide(&key.Data[1], locator.Characters[0]);
  PutWide(&key.Data[3], locator.Characters[1]);
  PutWide(&key.Data[5], locator.Characters[2]);
  return key;
}

Key KeyOfPath(Bytes devicePath) {
  Key key;
  if (devicePath.Size() == sizeof(TVQ_DEVICE_PATH)) {
    smbios::SizeType at = OFFSET_OF(TVQ_DEVICE_PATH, Data);
    for (U8& byte : key.Data) {
      byte = devicePath[at++];
    }
  }
  return key;
}

FqddMap CheckFqddMap(const Structure& map) {
  static_assert(kFqddGroups == SMBIOS_FIELD(225, Format).End(), "the groups follow the format");
  constexpr smbios::SizeType kGroupSize = sizeof(SMBIOS_TVQ_FQDD_GROUP);
  if (map.Get(SMBIOS_FIELD(225, Format)) != SMBIOS_TVQ_FQDD_MAP_FORMAT) {
    return FqddMap::kOtherFormat;
  }
  const smbios::SizeType groups = (map.Length() - kFqddGroups) / kGroupSize;
  const smbios::SizeType held = map.Formatted().Size() - kFqddGroups;
  return groups != 0 && held <= (groups - 1) * kGroupSize ? FqddMap::kCutOff : FqddMap::kUsable;
}

FqddMap FindFqddMap(Bytes table) {
  FqddMap found = FqddMap::kMissing;
  for (const Structure& structure : smbios::Walk(table)) {
    if (EndsTable(structure)) {
      break;
    }
    if (structure.Type() != SMBIOS_TYPE_TVQ_FQDD_MAP) {
      continue;
    }
    found = CheckFqddMap(structure);
    if (found != FqddMap::kUsable) {
      break;
    }
  }
  return found;
}

}  // namespace tvq::devices
