# Device records: what their operations, blobs, documents and device-list entries make of them.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

tvq_unit_test(
  record_tests
  SOURCES
  unit/configuration_blob_test.cpp
  unit/configuration_cpu_test.cpp
  unit/configuration_dimm_test.cpp
  unit/configuration_system_test.cpp
  unit/end_blob_test.cpp
  unit/inventory_blob_test.cpp
  unit/inventory_get_test.cpp
  unit/inventory_protocol_test.cpp
  unit/print_data_test.cpp
  unit/record_test.cpp
  unit/zvep_test.cpp
  unit/support/document_fixture.cpp
  unit/support/record_fixture.cpp
  IMAGES
  driver
  LIBRARIES
  tvq_test_support)
