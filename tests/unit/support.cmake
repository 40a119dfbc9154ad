# What the unit tests of the driver share: tables, a platform of doubles, the rig.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

if(GTest_FOUND AND TARGET tvq_image_driver)
  add_library(
    tvq_test_support STATIC
    unit/support/argument_log.cpp
    unit/support/library_double.cpp
    unit/support/platform_double.cpp
    unit/support/rig.cpp
    unit/support/table.cpp
    unit/support/text.cpp)
  target_link_libraries(tvq_test_support PUBLIC tvq_image_driver tvq_test_main PRIVATE tvq_host_warnings)
endif()
