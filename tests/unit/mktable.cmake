# Tests of the source form of tables, of the samples written in it, and of `tvq mktable`.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

if(NOT TARGET tvq_table OR NOT TARGET tvq_cli)
  message(STATUS "mktable_tests are left out: there is no library of tables or no command line")
  return()
endif()

find_package(CLI11 REQUIRED)
tvq_unit_test(
  mktable_tests
  SOURCES
  unit/mktable_command_test.cpp
  unit/samples_test.cpp
  unit/table_dump_test.cpp
  unit/table_error_test.cpp
  unit/table_round_trip_test.cpp
  unit/table_source_test.cpp
  LIBRARIES
  tvq_cli
  tvq_table
  CLI11::CLI11)
if(TARGET mktable_tests)
  target_compile_definitions(mktable_tests PRIVATE "TVQ_SOURCE_DIR=\"${PROJECT_SOURCE_DIR}\"")
endif()
