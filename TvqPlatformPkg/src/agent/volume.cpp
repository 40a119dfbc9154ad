/** @file
  Files on the volume that the agent was started from.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "volume.h"

extern "C" {
#include <Guid/FileInfo.h>
#include <Guid/FileSystemInfo.h>
#include <Library/DevicePathLib.h>
#include <Protocol/LoadedImage.h>
}

#include "../text.h"

namespace tvqplatform {

namespace {

constexpr UINTN kReadStep = 4096;

/// Closes a file.
class OpenFileGuard {
 public:
  explicit OpenFileGuard(EFI_FILE_PROTOCOL* file) : mFile(file) {}
  OpenFileGuard(const OpenFileGuard&) = delete;
  OpenFileGuard& operator=(const OpenFileGuard&) = delete;
  ~OpenFileGuard() { mFile->Close(mFile); }

 private:
  EFI_FILE_PROTOCOL* mFile;
};

[[nodiscard]] EFI_STATUS ReadAll(EFI_FILE_PROTOCOL* file, UINTN limit, GrowingArray<UINT8>& bytes) {
  for (;;) {
    const UINTN before = bytes.Size();
    if (!bytes.AppendZeroed(kReadStep)) {
      return EFI_OUT_OF_RESOURCES;
    }
    UINTN size = kReadStep;
    const EFI_STATUS status = file->Read(file, &size, bytes.Data() + before);
    if (EFI_ERROR(status)) {
      return status;
    }
    bytes.Shrink(before + size);
    if (size == 0) {
      return EFI_SUCCESS;
    }
    if (bytes.Size() > limit) {
      return EFI_BAD_BUFFER_SIZE;
    }
  }
}

/// Some firmware takes no write of 0 bytes.
[[nodiscard]] EFI_STATUS WriteAll(EFI_FILE_PROTOCOL* file, tvq::Span<const UINT8> bytes) {
  UINTN size = bytes.Size();
  const EFI_STATUS status =
      bytes.Empty() ? EFI_SUCCESS : file->Write(file, &size, const_cast<UINT8*>(bytes.Data()));
  if (EFI_ERROR(status)) {
    return status;
  }
  return size == bytes.Size() ? file->Flush(file) : EFI_VOLUME_FULL;
}

/// What the file system says of itself; a label of 64 characters is more than FAT has.
bool SaysReadOnly(EFI_FILE_PROTOCOL* root) {
  union {
    EFI_FILE_SYSTEM_INFO Info;
    UINT8 Bytes[SIZE_OF_EFI_FILE_SYSTEM_INFO + 64 * sizeof(CHAR16)];
  } buffer;
  UINTN size = sizeof(buffer);
  return !EFI_ERROR(root->GetInfo(root, &gEfiFileSystemInfoGuid, &size, &buffer)) &&
         buffer.Info.ReadOnly != FALSE;
}

/// Whether the volume lies on a disc. Some firmware does not know that such a medium takes no writes, and
/// does not get over one.
bool IsOnDisc(EFI_HANDLE device) {
  VOID* path = nullptr;
  if (EFI_ERROR(gBS->HandleProtocol(device, &gEfiDevicePathProtocolGuid, &path))) {
    return false;
  }
  const auto* node = static_cast<const EFI_DEVICE_PATH_PROTOCOL*>(path);
  for (; !IsDevicePathEnd(node); node = NextDevicePathNode(node)) {
    if (DevicePathType(node) == MEDIA_DEVICE_PATH && DevicePathSubType(node) == MEDIA_CDROM_DP) {
      return true;
    }
  }
  return false;
}

bool AreEqual(const GrowingArray<UINT8>& left, tvq::Span<const UINT8> right) {
  return left.Size() == right.Size() &&
         (right.Empty() || CompareMem(left.Data(), right.Data(), right.Size()) == 0);
}

/// Longest name of a file on FAT.
constexpr UINTN kMaximumFileName = 255;

/// One entry of a folder, as firmware hands it over.
union EntryBuffer {
  EFI_FILE_INFO Info;
  UINT8 Bytes[SIZE_OF_EFI_FILE_INFO + (kMaximumFileName + 1) * sizeof(CHAR16)];
};

/// False for a name that has no room.
[[nodiscard]] bool CopyEntry(const EFI_FILE_INFO& info, VolumeEntry& entry) {
  if (Length(info.FileName) >= ARRAY_SIZE(entry.Name)) {
    return false;
  }
  entry.IsFolder = (info.Attribute & EFI_FILE_DIRECTORY) != 0;
  CopyMem(entry.Name, info.FileName, Size(info.FileName));
  return true;
}

[[nodiscard]] EFI_STATUS ListAll(EFI_FILE_PROTOCOL* folder, GrowingArray<VolumeEntry>& entries) {
  for (;;) {
    EntryBuffer buffer;
    // With room for a terminator, whatever firmware leaves there.
    ZeroMem(&buffer, sizeof(buffer));
    UINTN size = sizeof(buffer) - sizeof(CHAR16);
    const EFI_STATUS status = folder->Read(folder, &size, &buffer);
    if (EFI_ERROR(status) || size == 0) {
      return status;
    }
    VolumeEntry entry;
    ZeroMem(&entry, sizeof(entry));
    if (CopyEntry(buffer.Info, entry) && !entries.Append(entry)) {
      return EFI_OUT_OF_RESOURCES;
    }
  }
}

}  // namespace

Volume::~Volume() {
  if (mRoot != nullptr) {
    mRoot->Close(mRoot);
  }
}

EFI_STATUS Volume::Open(EFI_HANDLE image) {
  VOID* loaded = nullptr;
  EFI_STATUS status = gBS->HandleProtocol(image, &gEfiLoadedImageProtocolGuid, &loaded);
  if (EFI_ERROR(status)) {
    return status;
  }
  mDevice = static_cast<EFI_LOADED_IMAGE_PROTOCOL*>(loaded)->DeviceHandle;
  if (mDevice == nullptr) {
    return EFI_NO_MEDIA;
  }
  VOID* fileSystem = nullptr;
  status = gBS->HandleProtocol(mDevice, &gEfiSimpleFileSystemProtocolGuid, &fileSystem);
  if (EFI_ERROR(status)) {
    return status;
  }
  auto* volume = static_cast<EFI_SIMPLE_FILE_SYSTEM_PROTOCOL*>(fileSystem);
  return volume->OpenVolume(volume, &mRoot);
}

void Volume::TryToWrite(const CHAR16* folder) {
  mIsReadOnly = mRoot != nullptr && (SaysReadOnly(mRoot) || IsOnDisc(mDevice) ||
                                     MakeFolder(folder) == EFI_WRITE_PROTECTED);
}

EFI_STATUS Volume::OpenFile(const CHAR16* path, UINT64 mode, UINT64 attributes,
                            EFI_FILE_PROTOCOL** file) const {
  if (mRoot == nullptr) {
    return EFI_NO_MEDIA;
  }
  return mRoot->Open(mRoot, file, const_cast<CHAR16*>(path), mode, attributes);
}

EFI_STATUS Volume::Read(const CHAR16* path, UINTN limit, GrowingArray<UINT8>& bytes) const {
  EFI_FILE_PROTOCOL* file = nullptr;
  const EFI_STATUS status = OpenFile(path, EFI_FILE_MODE_READ, 0, &file);
  if (EFI_ERROR(status)) {
    return status;
  }
  const OpenFileGuard guard(file);
  return ReadAll(file, limit, bytes);
}

EFI_STATUS Volume::Write(const CHAR16* path, tvq::Span<const UINT8> bytes) const {
  OwnedArray<UINT8> before;
  if (!EFI_ERROR(Read(path, bytes.Size(), before)) && AreEqual(before, bytes)) {
    return EFI_SUCCESS;
  }
  // A file that is there may be longer.
  const EFI_STATUS status = Remove(path);
  return EFI_ERROR(status) ? status : WriteNew(path, bytes, {});
}

EFI_STATUS Volume::WriteNew(const CHAR16* path, tvq::Span<const UINT8> bytes,
                            tvq::Span<const UINT8> end) const {
  EFI_FILE_PROTOCOL* file = nullptr;
  EFI_STATUS status =
      OpenFile(path, EFI_FILE_MODE_READ | EFI_FILE_MODE_WRITE | EFI_FILE_MODE_CREATE, 0, &file);
  if (EFI_ERROR(status)) {
    return status;
  }
  const OpenFileGuard guard(file);
  status = WriteAll(file, bytes);
  return EFI_ERROR(status) || end.Empty() ? status : WriteAll(file, end);
}

EFI_STATUS Volume::Remove(const CHAR16* path) const {
  EFI_FILE_PROTOCOL* file = nullptr;
  const EFI_STATUS status = OpenFile(path, EFI_FILE_MODE_READ | EFI_FILE_MODE_WRITE, 0, &file);
  if (!EFI_ERROR(status)) {
    // Closes the file too. That it is still there is no more than a warning.
    return file->Delete(file) == EFI_SUCCESS ? EFI_SUCCESS : EFI_WRITE_PROTECTED;
  }
  return status == EFI_NOT_FOUND ? EFI_SUCCESS : status;
}

EFI_STATUS Volume::List(const CHAR16* path, GrowingArray<VolumeEntry>& entries) const {
  EFI_FILE_PROTOCOL* folder = nullptr;
  const EFI_STATUS status = OpenFile(path, EFI_FILE_MODE_READ, 0, &folder);
  if (EFI_ERROR(status)) {
    return status;
  }
  const OpenFileGuard guard(folder);
  return ListAll(folder, entries);
}

EFI_STATUS Volume::MakeFolder(const CHAR16* path) const {
  EFI_FILE_PROTOCOL* folder = nullptr;
  const EFI_STATUS status =
      OpenFile(path, EFI_FILE_MODE_READ | EFI_FILE_MODE_WRITE | EFI_FILE_MODE_CREATE,
               EFI_FILE_DIRECTORY, &folder);
  if (!EFI_ERROR(status)) {
    folder->Close(folder);
  }
  return status;
}

bool Volume::Exists(const CHAR16* path) const {
  EFI_FILE_PROTOCOL* file = nullptr;
  if (EFI_ERROR(OpenFile(path, EFI_FILE_MODE_READ, 0, &file))) {
    return false;
  }
  file->Close(file);
  return true;
}

EFI_DEVICE_PATH_PROTOCOL* Volume::PathOf(const CHAR16* path) const {
  return FileDevicePath(mDevice, path);
}

}  // namespace tvqplatform
