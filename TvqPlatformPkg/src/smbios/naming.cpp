/** @file
  Gives processors and modules names by which TVQSMBIOS can tell them apart.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "naming.h"

#include <IndustryStandard/SmbiosFields.h>
#include <Library/TvqDeviceLib.h>

namespace tvqplatform {

namespace devices = tvq::devices;
using smbios::Structure;

namespace {

constexpr smbios::Field<UINT8> kSocketDesignation = SMBIOS_FIELD(4, Socket);
constexpr smbios::Field<UINT8> kDeviceLocator = SMBIOS_FIELD(17, DeviceLocator);

/// Characters behind '0' up to FFh: further processors cannot be told apart by one character.
constexpr UINTN kMaximumProcessors = 0xFF - '0';

constexpr UINTN kModulesPerLetter = 16;
constexpr UINTN kMaximumModules = ('Z' - 'A' + 1) * kModulesPerLetter;

/// False for a structure too short to have the field of a name. New names for the others would not
/// help it.
bool CanBeNamed(const Structure& structure, smbios::Field<UINT8> name) {
  return structure.Has(name);
}

/// Whether the name reaches to the character that tells processors apart.
bool NamesItsSocket(const Structure& processor) {
  return devices::NameOf(processor).Length() > devices::kSocketDigit;
}

bool ProcessorNamesWillDo(Bytes table) {
  bool seen[256];
  ZeroMem(seen, sizeof(seen));
  for (const Structure& structure : smbios::Walk(table)) {
    if (devices::KindOf(structure) != devices::Kind::kProcessor ||
        !CanBeNamed(structure, kSocketDesignation)) {
      continue;
    }
    bool& isTaken = seen[devices::SocketNumber(structure)];
    if (isTaken || !NamesItsSocket(structure)) {
      return false;
    }
    isTaken = true;
  }
  return true;
}

bool Contains(const GrowingArray<devices::Key>& keys, const devices::Key& key) {
  for (const devices::Key& known : keys) {
    if (known == key) {
      return true;
    }
  }
  return false;
}

[[nodiscard]] ConformResult SurveyModules(Bytes table) {
  OwnedArray<devices::Key> keys;
  for (const Structure& structure : smbios::Walk(table)) {
    if (devices::KindOf(structure) != devices::Kind::kModule ||
        !CanBeNamed(structure, kDeviceLocator)) {
      continue;
    }
    const devices::Key key = devices::KeyOf(structure);
    if (!devices::NameOf(structure) || Contains(keys, key)) {
      return ConformResult::kChanged;
    }
    if (!keys.Append(key)) {
      return ConformResult::kOutOfMemory;
    }
  }
  return ConformResult::kUnchanged;
}

}  // namespace

ConformResult DeviceNames::Survey(Bytes table) {
  const ConformResult modules = SurveyModules(table);
  if (IsRefused(modules)) {
    return modules;
  }
  mRenameModules = modules == ConformResult::kChanged;
  mRenameProcessors = !ProcessorNamesWillDo(table);
  return mRenameModules || mRenameProcessors ? ConformResult::kChanged : ConformResult::kUnchanged;
}

ConformResult DeviceNames::NextName(const Structure& structure, Name& name) {
  name.IsNew = false;
  const devices::Kind kind = devices::KindOf(structure);
  const bool isProcessor = kind == devices::Kind::kProcessor || kind == devices::Kind::kEmptySocket;
  const bool isModule = !isProcessor && kind != devices::Kind::kNone && kind != devices::Kind::kHbm;
  if (mRenameProcessors && isProcessor) {
    mProcessors++;
    if (mProcessors > kMaximumProcessors) {
      return ConformResult::kTooManyProcessors;
    }
    name.IsNew = CanBeNamed(structure, kSocketDesignation);
    name.Field = ChangedField::kSocketDesignation;
    name.Where = kSocketDesignation;
    AsciiSPrint(name.Text, sizeof(name.Text), "CPU%c", '0' + mProcessors);
  } else if (mRenameModules && isModule) {
    if (mModules >= kMaximumModules) {
      return ConformResult::kTooManyModules;
    }
    name.IsNew = CanBeNamed(structure, kDeviceLocator);
    name.Field = ChangedField::kDeviceLocator;
    name.Where = kDeviceLocator;
    AsciiSPrint(name.Text, sizeof(name.Text), "DIMM_%c%d", 'A' + mModules / kModulesPerLetter,
                static_cast<UINT32>(mModules % kModulesPerLetter + 1));
    mModules++;
  }
  return ConformResult::kUnchanged;
}

}  // namespace tvqplatform
