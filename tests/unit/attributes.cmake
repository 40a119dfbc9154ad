# The named attributes.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

tvq_unit_test(
  attributes_tests
  SOURCES
  unit/attributes_test.cpp
  unit/slot_query_test.cpp
  IMAGES
  driver
  LIBRARIES
  tvq_test_support)
