# What becomes of the driver when a call that it makes fails.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

tvq_unit_test(
  failure_tests
  SOURCES
  unit/every_call_exhaustive_failure_test.cpp
  unit/support/failing_platform.cpp
  IMAGES
  driver
  platform
  LIBRARIES
  tvq_test_support)
