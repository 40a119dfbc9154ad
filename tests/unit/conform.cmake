# Conforming a table.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

tvq_unit_test(
  conform_tests
  SOURCES
  unit/conform_limits_test.cpp
  unit/conform_map_test.cpp
  unit/conform_names_test.cpp
  unit/conform_table_test.cpp
  IMAGES
  agent
  LIBRARIES
  tvq_agent_bench)
