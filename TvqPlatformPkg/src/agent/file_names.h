/** @file
  File names for devices.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_FILE_NAMES_H_
#define TVQ_PLATFORM_AGENT_FILE_NAMES_H_

#include "../growing_array.h"

namespace tvqplatform {

/// Turns FQDDs into names that FAT takes: every character outside letters, digits, '.', '_' and
/// '-' becomes '_', a name without text is "record", and one that is taken already (capitals
/// alike) gets "-2", "-3", ...
class FileNames {
 public:
  FileNames() = default;
  FileNames(const FileNames&) = delete;
  FileNames& operator=(const FileNames&) = delete;
  ~FileNames();

  struct Name {
    CHAR8 Text[64];
  };

  /// The name for an FQDD, which may be null. False: there is no memory.
  [[nodiscard]] bool Take(const CHAR16* fqdd, Name& name);

 private:
  bool IsTaken(const Name& name) const;

  GrowingArray<Name> mTaken;
};

}  // namespace tvqplatform

#endif
