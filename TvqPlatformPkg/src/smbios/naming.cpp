/** @file
  Gives processors and modules names by which TVQSMBIOS can tell them apart.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "naming.h"

namespace tvqplatform {

namespace {

/// Characters behind '0' up to FFh: further processors cannot be told apart by one character.
constexpr UINTN kMaximumProcessors = 0xFF - '0';

constexpr UINTN kModulesPerLetter = 16;
constexpr UINTN kMaximumModules = ('Z' - 'A' + 1) * kModulesPerLetter;

/// False for a structure too short to have the field of a name. New names for the others would not
/// help it.
bool CanBeNamed(const TableStructure& structure, UINTN offset) {
  return structure.Has(offset, 1);
}

class ProcessorKeys {
 public:
  ProcessorKeys() { ZeroMem(mSeen, sizeof(mSeen)); }

  /// False: the key was there before.
  [[nodiscard]] bool Add(const ProcessorKey& key) {
    bool& seen = mSeen[key.Character];
    const bool repeated = seen;
    seen = true;
    return !repeated;
  }

 private:
  bool mSeen[256];
};

bool ProcessorNamesWillDo(Bytes table) {
  ProcessorKeys keys;
  TableWalk walk(table);
  for (TableStructure structure; walk.Next(structure);) {
    if (IsProcessor(structure) && CanBeNamed(structure, kProcessorDesignation)) {
      const ProcessorKey key = KeyOfProcessor(structure);
      if (!key.Exists || !keys.Add(key)) {
        return false;
      }
    }
  }
  return true;
}

bool Contains(const GrowingArray<ModuleKey>& keys, const ModuleKey& key) {
  for (const ModuleKey& known : keys) {
    if (CompareMem(known.Characters, key.Characters, sizeof(key.Characters)) == 0) {
      return true;
    }
  }
  return false;
}

[[nodiscard]] ConformResult SurveyModules(Bytes table) {
  OwnedArray<ModuleKey> keys;
  TableWalk walk(table);
  for (TableStructure structure; walk.Next(structure);) {
    if (!IsModule(structure) || !CanBeNamed(structure, kModuleLocator)) {
      continue;
    }
    const ModuleKey key = KeyOfModule(table, structure);
    if (!key.Exists || Contains(keys, key)) {
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

ConformResult DeviceNames::NextName(const TableStructure& structure, Name& name) {
  name.IsNew = false;
  if (mRenameProcessors && IsProcessorStructure(structure)) {
    mProcessors++;
    if (mProcessors > kMaximumProcessors) {
      return ConformResult::kTooManyProcessors;
    }
    name.IsNew = CanBeNamed(structure, kProcessorDesignation);
    name.Field = ChangedField::kSocketDesignation;
    name.Offset = kProcessorDesignation;
    AsciiSPrint(name.Text, sizeof(name.Text), "CPU%c", '0' + mProcessors);
  } else if (mRenameModules && IsMemoryStructure(structure) && !IsHbm(structure)) {
    if (mModules >= kMaximumModules) {
      return ConformResult::kTooManyModules;
    }
    name.IsNew = CanBeNamed(structure, kModuleLocator);
    name.Field = ChangedField::kDeviceLocator;
    name.Offset = kModuleLocator;
    AsciiSPrint(name.Text, sizeof(name.Text), "DIMM_%c%d", 'A' + mModules / kModulesPerLetter,
                static_cast<UINT32>(mModules % kModulesPerLetter + 1));
    mModules++;
  }
  return ConformResult::kUnchanged;
}

}  // namespace tvqplatform
