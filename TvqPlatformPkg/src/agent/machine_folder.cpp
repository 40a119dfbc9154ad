/** @file
  The folder of this machine's states.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "machine_folder.h"

#include "../states/machine_identity.h"
#include "../text.h"
#include "messages.h"

namespace tvqplatform {

namespace {

constexpr char16_t kFolderPrefix[] = u"machine-";
/// Characters of a number that a folder is named after: as many as a UUID has.
constexpr UINTN kNameLength = 32;
static_assert(kNameLength == 2 * sizeof(MachineIdentity::Uuid));
/// More machines of one name than anybody has.
constexpr UINT32 kMostOfOneName = 1000;

/// FAT takes it anywhere in a name.
CHAR16 AllowedInName(UINT8 character) {
  const bool isAllowed = (character >= '0' && character <= '9') ||
                         (character >= 'A' && character <= 'Z') ||
                         (character >= 'a' && character <= 'z') || character == '-';
  return isAllowed ? character : '_';
}

smbios::Text FirstUsable(const MachineIdentity& machine) {
  const smbios::Text serials[] = {machine.SystemSerial, machine.BoardSerial};
  for (const smbios::Text serial : serials) {
    if (IsUsableNumber(serial)) {
      return serial;
    }
  }
  return smbios::Text();
}

void PrintName(const MachineIdentity& machine, CHAR16 (&name)[kNameLength + 1]) {
  const smbios::Text serial = FirstUsable(machine);
  UINTN length = 0;
  if (serial) {
    for (; length < MIN(serial.Length(), kNameLength); length++) {
      name[length] = AllowedInName(serial[length]);
    }
  } else if (HasUsableUuid(machine)) {
    constexpr char16_t kDigits[] = u"0123456789abcdef";
    for (; length < kNameLength; length++) {
      const UINT8 shift = length % 2 == 0 ? 4 : 0;
      name[length] = kDigits[(machine.Uuid[length / 2] >> shift) & 0xF];
    }
  } else {
    length = UnicodeSPrint(name, sizeof(name), tvq::Ucs2(u"without-number"));
  }
  name[length] = 0;
}

bool IsMachineFolder(const VolumeEntry& entry) {
  const UINTN length = ARRAY_SIZE(kFolderPrefix) - 1;
  return entry.IsFolder && CompareMem(entry.Name, kFolderPrefix, length * sizeof(CHAR16)) == 0;
}

/// What a folder is for this machine.
enum class FolderKind : UINT8 {
  kMissing,
  kEmpty,   ///< It has no state that can be read.
  kOwn,     ///< Its newest state is of this machine.
  kLikely,  ///< Nothing tells.
  kOthers,
};

[[nodiscard]] EFI_STATUS LookInto(const Volume& volume, const CHAR16* path, const Snapshot& now,
                                  FolderKind& kind) {
  StateFiles files(volume, path);
  const EFI_STATUS status = files.Load();
  if (status == EFI_NOT_FOUND) {
    kind = volume.Exists(path) ? FolderKind::kEmpty : FolderKind::kMissing;
    return EFI_SUCCESS;
  }
  if (EFI_ERROR(status)) {
    return status;
  }
  switch (MatchMachines(now, files.Current().Content)) {
    case MachineMatch::kSame:
    case MachineMatch::kBoardReplaced:
      kind = FolderKind::kOwn;
      break;
    case MachineMatch::kAnother:
      kind = FolderKind::kOthers;
      break;
    case MachineMatch::kUnknown:
      kind = FolderKind::kLikely;
      break;
  }
  return EFI_SUCCESS;
}

/// Looks into all folders of machines. `path` stays where none has a state of this one.
[[nodiscard]] EFI_STATUS FindAnywhere(const Volume& volume, const Snapshot& now,
                                      CHAR16 (&path)[kPathSize]) {
  OwnedArray<VolumeEntry> entries;
  EFI_STATUS status = volume.List(tvq::Ucs2(TVQ_FOLDER), entries);
  if (EFI_ERROR(status)) {
    return status == EFI_NOT_FOUND ? EFI_SUCCESS : status;
  }
  for (const VolumeEntry& entry : entries) {
    if (!IsMachineFolder(entry)) {
      continue;
    }
    CHAR16 other[kPathSize];
    UnicodeSPrint(other, sizeof(other), tvq::Ucs2(TVQ_FILE(u"%s")), entry.Name);
    FolderKind kind;
    status = LookInto(volume, other, now, kind);
    if (EFI_ERROR(status)) {
      return status;
    }
    if (kind == FolderKind::kOwn) {
      CopyMem(path, other, sizeof(path));
      return EFI_SUCCESS;
    }
  }
  return EFI_SUCCESS;
}

}  // namespace

void NameMachineFolder(const MachineIdentity& machine, UINT32 count, CHAR16 (&path)[kPathSize]) {
  CHAR16 name[kNameLength + 1];
  PrintName(machine, name);
  UnicodeSPrint(path, sizeof(path), tvq::Ucs2(TVQ_FILE(u"%s%s")), kFolderPrefix, name);
  if (count > 1) {
    const UINTN length = Length(path);
    UnicodeSPrint(path + length, sizeof(path) - length * sizeof(CHAR16), tvq::Ucs2(u"-%d"), count);
  }
}

EFI_STATUS FindMachineFolder(const Volume& volume, const Snapshot& now, CHAR16 (&path)[kPathSize]) {
  for (UINT32 count = 1; count <= kMostOfOneName; count++) {
    FolderKind kind;
    NameMachineFolder(now.Machine, count, path);
    const EFI_STATUS status = LookInto(volume, path, now, kind);
    if (EFI_ERROR(status)) {
      return status;
    }
    if (kind == FolderKind::kMissing) {
      return FindAnywhere(volume, now, path);
    }
    if (kind != FolderKind::kOthers) {
      return EFI_SUCCESS;
    }
  }
  return EFI_VOLUME_FULL;
}

}  // namespace tvqplatform
