# Reading the SMBIOS table.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

tvq_unit_test(
  access_tests
  SOURCES
  unit/access_test.cpp
  unit/access_bounds_test.cpp
  unit/access_reference_test.cpp
  unit/structure_test.cpp
  unit/table_index_test.cpp
  IMAGES
  driver
  LIBRARIES
  tvq_test_support)
