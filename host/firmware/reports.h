/*
 * Assertions, misuse and debug output of a state.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_FIRMWARE_REPORTS_H_
#define TVQ_HOST_FIRMWARE_REPORTS_H_

#include <string>
#include <vector>

#include "host/firmware/firmware.h"

namespace tvq::host {

// Prints a message and ends the process: for mistakes of the program around the state.
[[noreturn]] void Die(const std::string& message);
// Hands a message to the failure handler.
void ReportFailure(const std::string& message);

class Reports {
 public:
  void AddAssertion(Assertion assertion);
  void AddMisuse(std::string what);
  // Reports what nobody took.
  void ReportUntaken() const;

  std::vector<Assertion> mAssertions;
  std::vector<Misuse> mMisuses;
  UINTN mKeptLevels = 0;  // of debug output
  std::string mOutput;
};

}  // namespace tvq::host

#endif  // TVQ_HOST_FIRMWARE_REPORTS_H_
