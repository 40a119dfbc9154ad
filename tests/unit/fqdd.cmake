# The FQDD map.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

tvq_unit_test(
  fqdd_tests
  SOURCES
  unit/fqdd_test.cpp
  IMAGES
  driver
  LIBRARIES
  tvq_test_support)
