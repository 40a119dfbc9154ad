# The driver and what is written down independently of it, on random tables. TVQ_DIFFERENTIAL_TABLES in the environment
# says how many.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

tvq_unit_test(
  differential_tests
  SOURCES
  unit/access_differential_test.cpp
  unit/start_differential_test.cpp
  unit/support/driver_memory.cpp
  unit/support/model_cpus.cpp
  unit/support/model_dimms.cpp
  unit/support/model_machine.cpp
  unit/support/model_system.cpp
  unit/support/random_table.cpp
  unit/support/reference_attributes.cpp
  unit/support/start_model.cpp
  IMAGES
  driver
  LIBRARIES
  tvq_test_support)
if(TARGET differential_tests)
  # These run for seconds, nearly all of them in code of the tests; the driver is checked by its own instrumentation.
  set_source_files_properties(
    unit/access_differential_test.cpp unit/support/random_table.cpp unit/support/reference_attributes.cpp
    PROPERTIES COMPILE_OPTIONS "-O2;-fno-sanitize=all")
endif()
