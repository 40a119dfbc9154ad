/** @file
  Files on the volume that the agent was started from.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#include "volume.h"

extern "C" {
#include <Library/DevicePathLib.h>
#include <Protocol/LoadedImage.h>
}

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

[[nodiscard]] EFI_STATUS WriteAll(EFI_FILE_PROTOCOL* file, tvq::Span<const UINT8> bytes) {
  UINTN size = bytes.Size();
  const EFI_STATUS status = file->Write(file, &size, const_cast<UINT8*>(bytes.Data()));
  if (EFI_ERROR(status)) {
    return status;
  }
  return size == bytes.Size() ? file->Flush(file) : EFI_VOLUME_FULL;
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
  EFI_FILE_PROTOCOL* file = nullptr;
  constexpr UINT64 kChange = EFI_FILE_MODE_READ | EFI_FILE_MODE_WRITE;
  // A file that is there may be longer; deleting it also closes it.
  if (!EFI_ERROR(OpenFile(path, kChange, 0, &file))) {
    file->Delete(file);
  }
  const EFI_STATUS status = OpenFile(path, kChange | EFI_FILE_MODE_CREATE, 0, &file);
  if (EFI_ERROR(status)) {
    return status;
  }
  const OpenFileGuard guard(file);
  return WriteAll(file, bytes);
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
