# The command `tvq`.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

tvq_unit_test(
  cli_tests
  SOURCES
  unit/cli_decode_test.cpp
  unit/cli_diff_test.cpp
  unit/cli_export_test.cpp
  unit/cli_help_test.cpp
  unit/cli_json_test.cpp
  unit/cli_pages_test.cpp
  unit/cli_redact_test.cpp
  unit/cli_show_test.cpp
  unit/cli_slot_test.cpp
  unit/cli_state_test.cpp
  unit/cli_text_test.cpp
  IMAGES
  agent
  driver
  platform
  LIBRARIES
  tvq_cli
  tvq_test_support)
