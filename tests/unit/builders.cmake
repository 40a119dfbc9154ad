# The three builders of records, and what becomes of them when memory or a service fails.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

tvq_unit_test(
  builder_tests
  SOURCES
  unit/cpu_memory_test.cpp
  unit/cpu_failure_test.cpp
  unit/cpu_hbm_test.cpp
  unit/cpu_ppin_test.cpp
  unit/cpu_structure_test.cpp
  unit/cpu_test.cpp
  unit/dimm_extension_test.cpp
  unit/dimm_failure_test.cpp
  unit/dimm_structure_test.cpp
  unit/dimm_test.cpp
  unit/system_sections_test.cpp
  unit/system_test.cpp
  unit/support/builder_test.cpp
  unit/support/cpu_fixture.cpp
  unit/support/dimm_fixture.cpp
  unit/support/driver_memory.cpp
  unit/support/servers.cpp
  unit/support/system_fixture.cpp
  IMAGES
  driver
  LIBRARIES
  tvq_test_support)

tvq_unit_test(
  builder_failure_tests
  SOURCES
  unit/exhaustive_failure_test.cpp
  unit/support/driver_memory.cpp
  unit/support/model_cpus.cpp
  unit/support/model_dimms.cpp
  unit/support/model_machine.cpp
  unit/support/model_system.cpp
  unit/support/samples.cpp
  unit/support/servers.cpp
  unit/support/start_model.cpp
  IMAGES
  driver
  LIBRARIES
  tvq_table
  tvq_test_support)
if(TARGET builder_failure_tests)
  target_compile_definitions(builder_failure_tests PRIVATE "TVQ_SAMPLES=\"${PROJECT_SOURCE_DIR}/samples\"")
endif()
