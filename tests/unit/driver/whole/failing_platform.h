/*
 * Operations of the platform that count their calls, and of which each can be made to fail.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_DRIVER_WHOLE_FAILING_PLATFORM_H_
#define TVQ_TESTS_UNIT_DRIVER_WHOLE_FAILING_PLATFORM_H_

#include <cstdint>

#include "tests/unit/shared/driver_harness.h"

namespace tvq::test {

// All those that the driver calls and that return a status, and the one that returns how much it printed.
enum class Operation : unsigned {
  kRegisterAttribute,
  kSetAttributeValue,
  kAsciiStrCpyS,
  kAsciiStrnCpyS,
  kAsciiVSPrint,
  kLocateBlob,
  kXmlParse,
  kXmlFree,
  kCount,
};
const char* OperationName(Operation operation);

// A harness whose platform also has the management protocol and the XML parser. One exists at a time.
class FailingPlatform {
 public:
  explicit FailingPlatform(std::initializer_list<Part> leftOut);
  ~FailingPlatform();
  FailingPlatform(const FailingPlatform&) = delete;
  FailingPlatform& operator=(const FailingPlatform&) = delete;

  DriverHarness& Harness() { return mHarness; }
  // The blob that the management protocol finds, whatever it is asked for.
  void Store(VOID* blob) { mBlob = blob; }

  uint64_t Calls(Operation operation) const { return Of(operation).calls; }
  // Makes the n-th call from now on do nothing, alone or with all that follow: it fails with EFI_DEVICE_ERROR, or has
  // printed 0 characters.
  void Fail(Operation operation, uint64_t n, bool following);
  void StopFailing();

 private:
  struct State {
    uint64_t calls = 0;
    uint64_t failing = 0;  // the number of the call; 0: none
    bool following = false;
  };
  struct Hooks;

  State& Of(Operation operation) { return mStates[static_cast<unsigned>(operation)]; }
  const State& Of(Operation operation) const { return mStates[static_cast<unsigned>(operation)]; }
  bool CountAndMayFail(Operation operation);

  DriverHarness mHarness;
  ZV_SERVICES_TABLE mServices;  // as they are without failures
  ZV_LIBRARY_PROTOCOL mLibrary;
  VOID* mBlob = nullptr;
  State mStates[static_cast<unsigned>(Operation::kCount)];
};

}  // namespace tvq::test

#endif  // TVQ_TESTS_UNIT_DRIVER_WHOLE_FAILING_PLATFORM_H_
