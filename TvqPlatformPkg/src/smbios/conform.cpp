/** @file
  Conforms an SMBIOS table, so that TVQSMBIOS makes a record for every device in it.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "conform.h"

#include <IndustryStandard/SmbiosFields.h>

#include "../text.h"
#include "fqdd_map.h"
#include "names/socket_number.h"
#include "table_builder.h"

namespace tvqplatform {

using smbios::Structure;

namespace {

/// A text between quotation marks, cut to a line's worth; what is no printable ASCII character
/// shows as \xNN.
class Quoted {
 public:
  explicit Quoted(smbios::Text text) {
    if (!text) {
      AsciiSPrint(mText, sizeof(mText), "(none)");
      return;
    }
    UINTN used = AsciiSPrint(mText, sizeof(mText), "\"");
    for (UINTN i = 0; i < text.Length() && used + 6 < sizeof(mText); i++) {
      const UINT32 character = text[i];
      const bool isPrintable = character >= ' ' && character <= '~';
      used += AsciiSPrint(mText + used, sizeof(mText) - used, isPrintable ? "%c" : "\\x%02x",
                          character);
    }
    AsciiSPrint(mText + used, sizeof(mText) - used, "\"");
  }
  explicit Quoted(const CHAR8* text)
      : Quoted(smbios::Text(reinterpret_cast<const UINT8*>(text), Length(text))) {}
  const CHAR8* Get() const { return mText; }

 private:
  CHAR8 mText[80];
};

const CHAR8* InWords(ChangedField field) {
  return field == ChangedField::kDeviceLocator ? "device locator" : "socket designation";
}

/// Copies the table and puts the new names in.
class Renamer {
 public:
  Renamer(const FqddMap& map, const GrowingArray<NamedDevice>& devices, GrowingArray<UINT8>& bytes,
          GrowingArray<TableChange>& changes)
      : mMap(map),
        mNext(devices.begin()),
        mDevices(devices),
        mBuilder(bytes),
        mBytes(bytes),
        mChanges(changes) {}

  [[nodiscard]] ConformResult Run(Bytes table) {
    UINTN end = 0;
    for (const Structure& structure : smbios::Walk(table)) {
      const ConformResult result = Take(structure);
      if (IsRefused(result)) {
        return result;
      }
      end = structure.End();
    }
    return mBuilder.Append(table.From(end)) ? ConformResult::kUnchanged
                                            : ConformResult::kOutOfMemory;
  }

 private:
  [[nodiscard]] ConformResult Take(const Structure& structure) {
    mStart = mBytes.Size();
    if (!mBuilder.Append(structure.Whole())) {
      return ConformResult::kOutOfMemory;
    }
    if (structure.Type() == SMBIOS_TYPE_TVQ_FQDD_MAP) {
      return mMap.IsUsable(structure) ? ReplaceFqdds(structure) : MakeInactive(structure);
    }
    if (mNext == mDevices.end() || mNext->Where.Offset() != structure.Offset()) {
      return ConformResult::kUnchanged;
    }
    return Rename(*mNext++);
  }

  [[nodiscard]] ConformResult Rename(const NamedDevice& device) {
    if (device.IsWellNamed || !device.CanBeRenamed) {
      return ConformResult::kUnchanged;
    }
    if (!NoteConflict(device)) {
      return ConformResult::kOutOfMemory;
    }
    TableChange change =
        ChangeOf(device.Where, device.IsProcessor ? ChangedField::kSocketDesignation
                                                  : ChangedField::kDeviceLocator);
    change.Old = device.Label;
    if (device.IsProcessor) {
      PrintDesignation(device.Number, change.New);
      return AddString(device.Where, SMBIOS_FIELD(4, Socket).Offset, change);
    }
    AsciiSPrint(change.New, sizeof(change.New), "DIMM_%a", device.Name);
    return AddString(device.Where, SMBIOS_FIELD(17, DeviceLocator).Offset, change);
  }

  [[nodiscard]] bool NoteConflict(const NamedDevice& device) {
    if (device.Conflict == NameConflict::kNone) {
      return true;
    }
    TableChange change = ChangeOf(device.Where, device.Conflict == NameConflict::kSameName
                                                    ? ChangedField::kSameName
                                                    : ChangedField::kSameTexts);
    change.About = device.Other;
    AsciiStrCpyS(change.New, sizeof(change.New), device.Wanted);
    return mChanges.Append(change);
  }

  [[nodiscard]] ConformResult ReplaceFqdds(const Structure& map) {
    for (const NamedDevice& device : mDevices) {
      if (device.Group == 0 || device.Group < map.Offset() || device.Group >= map.End() ||
          device.IsFqddKept) {
        continue;
      }
      TableChange change = ChangeOf(map, ChangedField::kFqdd);
      change.About = device.Where.Handle();
      change.Old = device.TablesFqdd;
      CopyMem(change.New, device.Fqdd, sizeof(change.New));
      const ConformResult result = AddString(map, device.Group - map.Offset(), change);
      if (IsRefused(result)) {
        return result;
      }
    }
    return ConformResult::kUnchanged;
  }

  [[nodiscard]] ConformResult MakeInactive(const Structure& map) {
    mBytes[mStart] = SMBIOS_TYPE_INACTIVE;
    return mChanges.Append(ChangeOf(map, ChangedField::kInactive)) ? ConformResult::kChanged
                                                                   : ConformResult::kOutOfMemory;
  }

  /// Gives the structure that was copied last the new text of the change.
  [[nodiscard]] ConformResult AddString(const Structure& structure, UINTN offset,
                                        const TableChange& change) {
    const bool wasCutOff = mBytes.Size() - mStart == structure.Size() && !structure.IsComplete();
    if (wasCutOff && !(mChanges.Append(ChangeOf(structure, ChangedField::kMissingEnd)) &&
                       mBuilder.CloseLast(structure))) {
      return ConformResult::kOutOfMemory;
    }
    bool isFull = false;
    if (!mBuilder.AddString(mStart, offset, change.New, isFull) || !mChanges.Append(change)) {
      return ConformResult::kOutOfMemory;
    }
    return isFull ? ConformResult::kTooManyStrings : ConformResult::kChanged;
  }

  static TableChange ChangeOf(const Structure& structure, ChangedField field) {
    return {structure.Type(), structure.Handle(), field};
  }

  const FqddMap& mMap;
  const NamedDevice* mNext;  ///< That the walk comes to.
  const GrowingArray<NamedDevice>& mDevices;
  TableBuilder mBuilder;
  GrowingArray<UINT8>& mBytes;
  UINTN mStart = 0;  ///< Of the structure that was copied last.
  GrowingArray<TableChange>& mChanges;
};

/// Whether a name or an FQDD of the table is another one than it should be.
bool NeedsNames(const GrowingArray<NamedDevice>& devices) {
  for (const NamedDevice& device : devices) {
    if ((!device.IsWellNamed && device.CanBeRenamed) || (device.Group != 0 && !device.IsFqddKept)) {
      return true;
    }
  }
  return false;
}

bool NeedsGroups(const GrowingArray<NamedDevice>& devices) {
  for (const NamedDevice& device : devices) {
    if (device.HasRecord && device.Group == 0) {
      return true;
    }
  }
  return false;
}

ConformResult ResultOf(NamingResult result) {
  switch (result) {
    case NamingResult::kTooManyProcessors:
      return ConformResult::kTooManyProcessors;
    case NamingResult::kTooManyModules:
      return ConformResult::kTooManyModules;
    case NamingResult::kOutOfMemory:
      return ConformResult::kOutOfMemory;
    case NamingResult::kNamed:
      break;
  }
  return ConformResult::kUnchanged;  // As yet.
}

}  // namespace

const CHAR8* ConformResultText(ConformResult result) {
  switch (result) {
    case ConformResult::kUnchanged:
      return "the table needs no change";
    case ConformResult::kChanged:
      return "the table was changed";
    case ConformResult::kTooLarge:
      return "the conformed table would be larger than 65,535 bytes, the most that a 32-bit entry "
             "point can state";
    case ConformResult::kTooManyProcessors:
      return "there are more processors than one character can tell apart (221)";
    case ConformResult::kTooManyModules:
      return "there are more memory slots without a name of their own than can be told apart "
             "(2,592)";
    case ConformResult::kTooManyStrings:
      return "a structure that needs a new name already has 255 strings";
    case ConformResult::kNoUnusedHandle:
      return "no handle from E100h on is unused";
    case ConformResult::kOutOfMemory:
      return "there is not enough memory";
  }
  return "";
}

bool IsRemarkable(const TableChange& change) {
  switch (change.Field) {
    case ChangedField::kSocketDesignation:
    case ChangedField::kDeviceLocator:
    case ChangedField::kNewStructure:
      return false;
    case ChangedField::kFqdd:
      return static_cast<bool>(change.Old);
    case ChangedField::kSameName:
    case ChangedField::kSameTexts:
    case ChangedField::kInactive:
    case ChangedField::kMissingEnd:
      break;
  }
  return true;
}

void FormatChange(const TableChange& change, CHAR8* buffer, UINTN size) {
  CHAR8 structure[40];
  AsciiSPrint(structure, sizeof(structure), "type %d, handle 0x%04x",
              static_cast<UINT32>(change.Type), static_cast<UINT32>(change.Handle));
  const Quoted oldText(change.Old);
  const Quoted newText(change.New);
  switch (change.Field) {
    case ChangedField::kSocketDesignation:
    case ChangedField::kDeviceLocator:
      AsciiSPrint(buffer, size, "%a: %a: %a -> %a", structure, InWords(change.Field), oldText.Get(),
                  newText.Get());
      break;
    case ChangedField::kSameName:
      AsciiSPrint(buffer, size, "%a: named otherwise than %a, as handle 0x%04x would be too",
                  structure, newText.Get(), static_cast<UINT32>(change.About));
      break;
    case ChangedField::kSameTexts:
      AsciiSPrint(buffer, size, "%a: has the same texts as handle 0x%04x before it", structure,
                  static_cast<UINT32>(change.About));
      break;
    case ChangedField::kInactive:
      AsciiSPrint(buffer, size,
                  "%a: made inactive (type 126), because it names no devices that "
                  "the driver could find",
                  structure);
      break;
    case ChangedField::kFqdd:
      AsciiSPrint(buffer, size, "%a: FQDD of handle 0x%04x: %a -> %a", structure,
                  static_cast<UINT32>(change.About), oldText.Get(), newText.Get());
      break;
    case ChangedField::kNewStructure:
      AsciiSPrint(buffer, size, "%a: added without groups", structure);
      break;
    case ChangedField::kMissingEnd:
      AsciiSPrint(buffer, size, "%a: was cut off and is ended", structure);
      break;
  }
}

ConformedTable::~ConformedTable() {
  mBytes.Free();
  mChanges.Free();
  mDevices.Free();
}

ConformResult ConformedTable::Conform(Bytes original) {
  mBytes.Free();
  mChanges.Free();
  mDevices.Free();
  mStructures = original;
  const ConformResult result = Build(original);
  if (result == ConformResult::kChanged) {
    mStructures = {mBytes.Data(), mBytes.Size()};
  } else {
    mChanges.Free();
  }
  if (IsRefused(result)) {
    mDevices.Free();
  }
  return result;
}

ConformResult ConformedTable::Build(Bytes original) {
  if (original.Size() > kMaximumTableSize) {
    return ConformResult::kTooLarge;
  }
  ConformResult result = ResultOf(NameDevices(original, mDevices));
  FqddMap map;
  if (!IsRefused(result) && !map.Read(original, mDevices)) {
    result = ConformResult::kOutOfMemory;
  }
  const bool needsMap = !map.HasUsable() || NeedsGroups(mDevices);
  if (IsRefused(result) || !(needsMap || map.HasUnusable() || NeedsNames(mDevices))) {
    return result;
  }
  result = Renamer(map, mDevices, mBytes, mChanges).Run(original);
  if (!IsRefused(result) && needsMap) {
    result = AddFqddMap(mDevices, mBytes, mChanges);
  }
  if (IsRefused(result)) {
    return result;
  }
  return mBytes.Size() > kMaximumTableSize ? ConformResult::kTooLarge : ConformResult::kChanged;
}

}  // namespace tvqplatform
