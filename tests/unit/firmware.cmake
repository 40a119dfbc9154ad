# Tests of the firmware library itself, with small images of their own.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

tvq_efi_image(probe INFS unit/firmware_images/Probe.inf PCDS PcdVerifyNodeInList=runtime)
tvq_efi_image(neighbour INFS unit/firmware_images/Neighbour.inf)
tvq_efi_image(application INFS unit/firmware_images/Application.inf)

tvq_unit_test(
  firmware_tests
  SOURCES
  unit/firmware_core_test.cpp
  unit/firmware_image_test.cpp
  unit/firmware_memory_test.cpp
  unit/firmware_pool_test.cpp
  unit/firmware_report_test.cpp
  unit/firmware_service_test.cpp
  unit/firmware_variable_test.cpp
  IMAGES
  probe
  neighbour
  application)

add_test(NAME edk2_autogen COMMAND "${Python3_EXECUTABLE}" -B "${TVQ_CMAKE_DIR}/edk2_autogen_test.py")
