/** @file
  Files on the volume that the agent was started from.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_VOLUME_H_
#define TVQ_PLATFORM_AGENT_VOLUME_H_

#include <TvqCpp.h>

extern "C" {
#include <Protocol/DevicePath.h>
#include <Protocol/SimpleFileSystem.h>
}

#include "../growing_array.h"

namespace tvqplatform {

/// One file or folder in a folder.
struct VolumeEntry {
  bool IsFolder;
  CHAR16 Name[64];
};

class Volume {
 public:
  Volume() = default;
  Volume(const Volume&) = delete;
  Volume& operator=(const Volume&) = delete;
  ~Volume();

  /// Opens the volume that the image was loaded from.
  [[nodiscard]] EFI_STATUS Open(EFI_HANDLE image);

  /// Finds out whether it takes anything, and makes the folder where it does.
  void TryToWrite(const CHAR16* folder);
  /// Says so before, or refuses everything as a CD does: nothing need be tried then.
  bool IsReadOnly() const { return mIsReadOnly; }

  /// EFI_NOT_FOUND: there is no such file. EFI_BAD_BUFFER_SIZE: it is larger than `limit`.
  [[nodiscard]] EFI_STATUS Read(const CHAR16* path, UINTN limit, GrowingArray<UINT8>& bytes) const;

  /// Writes a new file in place of one that may be there, unless that has these bytes already.
  [[nodiscard]] EFI_STATUS Write(const CHAR16* path, tvq::Span<const UINT8> bytes) const;
  /// Writes a file that is not there yet. `bytes` are on the volume before `end` is written behind
  /// them.
  [[nodiscard]] EFI_STATUS WriteNew(const CHAR16* path, tvq::Span<const UINT8> bytes,
                                    tvq::Span<const UINT8> end) const;
  /// EFI_SUCCESS also where there is no such file; EFI_WRITE_PROTECTED where it stays.
  [[nodiscard]] EFI_STATUS Remove(const CHAR16* path) const;

  [[nodiscard]] EFI_STATUS MakeFolder(const CHAR16* path) const;
  /// Appends what the folder has, but for names that are longer than an entry takes. EFI_NOT_FOUND:
  /// there is no such folder.
  [[nodiscard]] EFI_STATUS List(const CHAR16* path, GrowingArray<VolumeEntry>& entries) const;

  bool Exists(const CHAR16* path) const;

  /// The device path of a file, a new block of pool; null without memory.
  EFI_DEVICE_PATH_PROTOCOL* PathOf(const CHAR16* path) const;

 private:
  [[nodiscard]] EFI_STATUS OpenFile(const CHAR16* path, UINT64 mode, UINT64 attributes,
                                    EFI_FILE_PROTOCOL** file) const;

  EFI_HANDLE mDevice = nullptr;
  EFI_FILE_PROTOCOL* mRoot = nullptr;
  bool mIsReadOnly = false;
};

}  // namespace tvqplatform

#endif
