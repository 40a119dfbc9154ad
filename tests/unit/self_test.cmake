# The platform's self-test.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

tvq_efi_image(platform_test INFS "${PROJECT_SOURCE_DIR}/TvqSmbiosPkg/Application/TvqPlatformTest/TvqPlatformTest.inf"
              LIBRARIES "${PROJECT_SOURCE_DIR}/TvqSmbiosPkg/Library/SmbiosTableLib/SmbiosTableLib.inf")

tvq_unit_test(
  self_tests
  SOURCES
  unit/self_test.cpp
  IMAGES
  agent
  driver
  platform
  platform_test
  LIBRARIES
  tvq_agent_bench)
