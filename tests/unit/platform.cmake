# The reference platform.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

if(GTest_FOUND AND TARGET tvq_image_platform AND TARGET tvq_image_agent)
  add_library(tvq_agent_bench STATIC unit/agent_bench.cpp)
  target_link_libraries(tvq_agent_bench PUBLIC tvq_image_agent tvq_image_platform tvq_test_support PRIVATE tvq_host_warnings)
endif()

tvq_unit_test(
  platform_tests
  SOURCES
  unit/platform_install_test.cpp
  unit/platform_log_test.cpp
  unit/platform_services_test.cpp
  unit/platform_zvi_test.cpp
  IMAGES
  platform
  LIBRARIES
  tvq_agent_bench)
