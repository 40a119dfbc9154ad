# Verification: comparing a device with what was stored, the readers of stored documents, and what the platform brings for them.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

tvq_unit_test(
  verification_tests
  SOURCES
  unit/management_test.cpp
  unit/stored_document_test.cpp
  unit/verify_test.cpp
  unit/xml_parser_test.cpp
  unit/support/document_fixture.cpp
  unit/support/record_fixture.cpp
  unit/support/verification_fixture.cpp
  IMAGES
  driver
  platform
  LIBRARIES
  tvq_agent_bench)
