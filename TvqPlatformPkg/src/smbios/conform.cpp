/** @file
  Conforms an SMBIOS table, so that TVQSMBIOS makes a record for every device in it.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "conform.h"

#include "../text.h"
#include "fqdd_map.h"
#include "naming.h"
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

const CHAR8* NameOf(ChangedField field) {
  return field == ChangedField::kDeviceLocator ? "device locator" : "socket designation";
}

/// Copies the table and puts the new names in.
class Renamer {
 public:
  Renamer(GrowingArray<UINT8>& bytes, GrowingArray<TableChange>& changes)
      : mBuilder(bytes), mChanges(changes) {}

  [[nodiscard]] ConformResult Run(Bytes table, DeviceNames& names) {
    UINTN end = 0;
    for (const Structure& structure : smbios::Walk(table)) {
      DeviceNames::Name name;
      ConformResult result = names.NextName(structure, name);
      if (!IsRefused(result)) {
        result = name.IsNew ? Rename(structure, name) : Keep(structure.Whole());
      }
      if (IsRefused(result)) {
        return result;
      }
      end = structure.End();
    }
    return Keep(table.From(end));
  }

 private:
  [[nodiscard]] ConformResult Keep(Bytes bytes) {
    return mBuilder.Append(bytes) ? ConformResult::kUnchanged : ConformResult::kOutOfMemory;
  }

  [[nodiscard]] ConformResult Rename(const Structure& structure, const DeviceNames::Name& name) {
    if (!structure.IsComplete() && !Note(structure, ChangedField::kMissingEnd, {}, "")) {
      return ConformResult::kOutOfMemory;
    }
    bool isFull = false;
    if (!mBuilder.AppendNamed(structure, name.Where, name.Text, isFull) ||
        !Note(structure, name.Field, structure.GetString(name.Where), name.Text)) {
      return ConformResult::kOutOfMemory;
    }
    return isFull ? ConformResult::kTooManyStrings : ConformResult::kChanged;
  }

  [[nodiscard]] bool Note(const Structure& structure, ChangedField field, smbios::Text old,
                          const CHAR8* text) {
    TableChange change = {structure.Type(), structure.Handle(), field, 0, old, {}};
    AsciiStrCpyS(change.New, sizeof(change.New), text);
    return mChanges.Append(change);
  }

  TableBuilder mBuilder;
  GrowingArray<TableChange>& mChanges;
};

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
      return "there are more processors than one character can tell apart (207)";
    case ConformResult::kTooManyModules:
      return "there are more memory modules than names from A1 to Z16 (416)";
    case ConformResult::kTooManyStrings:
      return "a structure that needs a new name already has 255 strings";
    case ConformResult::kNoUnusedHandle:
      return "no handle from E100h on is unused";
    case ConformResult::kOutOfMemory:
      return "there is not enough memory";
  }
  return "";
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
      AsciiSPrint(buffer, size, "%a: %a: %a -> %a", structure, NameOf(change.Field), oldText.Get(),
                  newText.Get());
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
}

ConformResult ConformedTable::Conform(Bytes original) {
  mBytes.Free();
  mChanges.Free();
  mStructures = original;
  const ConformResult result = Build(original);
  if (result == ConformResult::kChanged) {
    mStructures = {mBytes.Data(), mBytes.Size()};
  } else {
    mChanges.Free();
  }
  return result;
}

ConformResult ConformedTable::Build(Bytes original) {
  if (original.Size() > kMaximumTableSize) {
    return ConformResult::kTooLarge;
  }
  DeviceNames names;
  const ConformResult need = names.Survey(original);
  const bool needsMap = !HasFqddMap(original);
  if (IsRefused(need) || (need == ConformResult::kUnchanged && !needsMap)) {
    return need;
  }
  ConformResult result = Renamer(mBytes, mChanges).Run(original, names);
  if (!IsRefused(result) && needsMap) {
    result = AddFqddMap(mBytes, mChanges);
  }
  if (IsRefused(result)) {
    return result;
  }
  if (mBytes.Size() > kMaximumTableSize) {
    return ConformResult::kTooLarge;
  }
  return mChanges.Empty() ? ConformResult::kUnchanged : ConformResult::kChanged;
}

}  // namespace tvqplatform
