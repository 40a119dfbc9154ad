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

class Volume {
 public:
  Volume() = default;
  Volume(const Volume&) = delete;
  Volume& operator=(const Volume&) = delete;
  ~Volume();

  /// Opens the volume that the image was loaded from.
  [[nodiscard]] EFI_STATUS Open(EFI_HANDLE image);

  /// EFI_NOT_FOUND: there is no such file. EFI_BAD_BUFFER_SIZE: it is larger than `limit`.
  [[nodiscard]] EFI_STATUS Read(const CHAR16* path, UINTN limit, GrowingArray<UINT8>& bytes) const;

  /// Writes a new file in place of one that may be there.
  [[nodiscard]] EFI_STATUS Write(const CHAR16* path, tvq::Span<const UINT8> bytes) const;

  [[nodiscard]] EFI_STATUS MakeFolder(const CHAR16* path) const;

  bool Exists(const CHAR16* path) const;

  /// The device path of a file, a new block of pool; null without memory.
  EFI_DEVICE_PATH_PROTOCOL* PathOf(const CHAR16* path) const;

 private:
  [[nodiscard]] EFI_STATUS OpenFile(const CHAR16* path, UINT64 mode, UINT64 attributes,
                                    EFI_FILE_PROTOCOL** file) const;

  EFI_HANDLE mDevice = nullptr;
  EFI_FILE_PROTOCOL* mRoot = nullptr;
};

}  // namespace tvqplatform

#endif
