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

# The example is the documentation's; it is compiled as it would be for firmware.
tvq_efi_image(agent_example INFS ../docs/examples/AgentExample.inf)

tvq_unit_test(
  agent_example_tests
  SOURCES
  unit/agent_example_test.cpp
  IMAGES
  agent_example
  driver
  platform
  LIBRARIES
  tvq_test_support)
