# Tests of the rules over tables, and of `tvq lint`.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

find_package(fmt REQUIRED)
tvq_unit_test(
  lint_tests
  SOURCES
  unit/lint_bytes_test.cpp
  unit/lint_command_test.cpp
  unit/lint_driver_test.cpp
  unit/lint_rules_test.cpp
  unit/lint_texts_test.cpp
  IMAGES
  agent
  driver
  platform
  LIBRARIES
  tvq_cli
  tvq_lint
  fmt::fmt)
if(TARGET lint_tests)
  target_compile_definitions(lint_tests PRIVATE "TVQ_SOURCE_DIR=\"${PROJECT_SOURCE_DIR}\"")
endif()
