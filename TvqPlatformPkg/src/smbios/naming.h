/** @file
  Gives processors and modules names by which TVQSMBIOS can tell them apart.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_SMBIOS_NAMING_H_
#define TVQ_PLATFORM_SMBIOS_NAMING_H_

#include "conform.h"

namespace tvqplatform {

/// Tells what a table needs, and hands out the names in table order.
class DeviceNames {
 public:
  /// kUnchanged: the names will do. kChanged: at least one kind of device needs new ones.
  [[nodiscard]] ConformResult Survey(Bytes table);

  struct Name {
    bool IsNew;
    ChangedField Field;
    smbios::Field<UINT8> Where;  ///< The number of the string that is the name.
    CHAR8 Text[16];
  };
  /// The new name of the next structure of the table, if it gets one.
  [[nodiscard]] ConformResult NextName(const smbios::Structure& structure, Name& name);

 private:
  bool mRenameProcessors = false;
  bool mRenameModules = false;
  UINTN mProcessors = 0;
  UINTN mModules = 0;
};

}  // namespace tvqplatform

#endif
