/*
 * What the tests of the library of devices share.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_DRIVER_TVQ_DEVICE_LIB_DEVICE_FIXTURE_H_
#define TVQ_TESTS_UNIT_DRIVER_TVQ_DEVICE_LIB_DEVICE_FIXTURE_H_

#include <string>

#include <Library/TvqDeviceLib.h>

#include "tests/unit/shared/table.h"

namespace tvq::test {

inline smbios::Bytes View(const Bytes& bytes) {
  return {bytes.data(), bytes.size()};
}

// The structure at this position of the table, from 0; none where there are fewer.
inline smbios::Structure At(const Bytes& table, size_t position) {
  for (const smbios::Structure& structure : smbios::Walk(View(table))) {
    if (position-- == 0) {
      return structure;
    }
  }
  return {};
}

inline std::string NameOf(const smbios::Structure& device) {
  const smbios::Text name = devices::NameOf(device);
  return std::string(name.begin(), name.end());
}

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_DRIVER_TVQ_DEVICE_LIB_DEVICE_FIXTURE_H_
