# Tests of the rules over tables, and of `tvq lint`.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

tvq_unit_test(
  lint_tests
  SOURCES
  unit/lint_rules_test.cpp
  LIBRARIES
  tvq_lint)
