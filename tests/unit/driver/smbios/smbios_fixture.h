/*
 * A driver that has located a table, for tests of its routines one by one.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_DRIVER_SMBIOS_SMBIOS_FIXTURE_H_
#define TVQ_TESTS_UNIT_DRIVER_SMBIOS_SMBIOS_FIXTURE_H_

#include "tests/unit/shared/driver_harness.h"

#include "TvqSmbiosPkg/src/smbios/access.h"

namespace tvq::test {

class SmbiosTest : public testing::Test {
 protected:
  // Publishes the table and locates it; may be called again for another table.
  void Use(const Table& table, host::Guard guard = host::Guard::kBehind) {
    mHarness.Publish(table, guard);
    if (mHarness.ImageHandle() == nullptr) {
      mHarness.Construct();
      mHarness.ConnectLog();
    }
    ASSERT_EQ(LocateSmbiosTable(), EFI_SUCCESS);
  }

  // The address of the n-th structure of the table.
  UINT8* At(const Table& table, size_t n) { return mHarness.TableData() + table.OffsetOf(n); }

  DriverHarness mHarness;
};

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_DRIVER_SMBIOS_SMBIOS_FIXTURE_H_
