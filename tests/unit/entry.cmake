# The driver's entry point, start and end.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

tvq_unit_test(
  entry_tests
  SOURCES
  unit/entry_test.cpp
  unit/start_test.cpp
  unit/unload_test.cpp
  IMAGES
  driver
  LIBRARIES
  tvq_test_support)
