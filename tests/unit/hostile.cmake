# Tables that are wrong, or move, under the whole driver.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

tvq_unit_test(
  hostile_tests
  SOURCES
  unit/hostile_table_bounds_test.cpp
  unit/moved_table_test.cpp
  IMAGES
  driver
  platform
  LIBRARIES
  tvq_exercise
  tvq_test_support)
