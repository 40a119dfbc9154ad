/*
 * main() of the unit tests: what a machine complains of fails the running test.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gtest/gtest.h>

#include <string>

#include "host/firmware/firmware.h"

int main(int argc, char** argv) {
  testing::InitGoogleTest(&argc, argv);
  tvq::host::SetFailureHandler([](const std::string& message) { ADD_FAILURE() << message; });
  return RUN_ALL_TESTS();
}
