# The driver's platform services: library handle, wrappers, pool helpers.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

tvq_unit_test(
  zorvlib_tests
  SOURCES
  unit/zorvlib_test.cpp
  IMAGES
  driver
  LIBRARIES
  tvq_test_support)
