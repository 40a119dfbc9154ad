# The agent.
#
# SPDX-License-Identifier: BSD-2-Clause-Patent

tvq_unit_test(
  agent_tests
  SOURCES
  unit/agent_capture_test.cpp
  unit/agent_end_test.cpp
  unit/agent_publication_test.cpp
  unit/agent_run_test.cpp
  unit/agent_words_test.cpp
  unit/fake_volume.cpp
  IMAGES
  agent
  driver
  platform
  LIBRARIES
  tvq_agent_bench)
