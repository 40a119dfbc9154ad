# The library of SMBIOS tables, and the fields of structures.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

tvq_unit_test(
  smbios_table_tests
  SOURCES
  unit/smbios_entry_point_test.cpp
  unit/smbios_fields_test.cpp
  unit/smbios_table_exhaustive_test.cpp
  unit/smbios_table_test.cpp
  LIBRARIES
  tvq_smbios_table)
if(TARGET smbios_table_tests)
  # It visits millions of tables, nearly all of the time in code of the test.
  set_source_files_properties(unit/smbios_table_exhaustive_test.cpp PROPERTIES COMPILE_OPTIONS "-O2")
endif()
