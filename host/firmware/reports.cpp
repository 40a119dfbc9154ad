/*
 * Assertions, misuse and debug output: the host side of every image's DebugLib.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/firmware/reports.h"

#include <cstdio>
#include <cstdlib>
#include <string>

#include "host/firmware/host_interface.h"
#include "host/firmware/firmware_state.h"

namespace tvq::host {
namespace {

// A failing assertion in an endless loop must not eat the machine's memory.
constexpr size_t kMaxReports = 10000;

void PrintAndAbort(const std::string& message) {
  Die(message);
}

FailureHandler gFailureHandler = PrintAndAbort;

std::string Describe(const Assertion& assertion) {
  return "ASSERT [" + assertion.image + "] " + assertion.file + "(" +
         std::to_string(assertion.line) + "): " + assertion.text + "\n  at " +
         assertion.callSite.ToString();
}

}  // namespace

void Die(const std::string& message) {
  std::fprintf(stderr, "firmware host: %s\n", message.c_str());
  std::abort();
}

void SetFailureHandler(FailureHandler handler) {
  gFailureHandler = handler != nullptr ? handler : PrintAndAbort;
}

void ReportFailure(const std::string& message) {
  gFailureHandler(message);
}

void Reports::AddAssertion(Assertion assertion) {
  if (mAssertions.size() < kMaxReports) {
    mAssertions.push_back(std::move(assertion));
  }
}

void Reports::AddMisuse(std::string what) {
  if (mMisuses.size() < kMaxReports) {
    mMisuses.push_back({std::move(what), CallSite::Here(1)});
  }
}

void Reports::ReportUntaken() const {
  for (const Assertion& assertion : mAssertions) {
    ReportFailure("an assertion failed that nobody expected: " + Describe(assertion));
  }
  for (const Misuse& misuse : mMisuses) {
    ReportFailure("misuse of firmware: " + misuse.what + "\n  at " + misuse.callSite.ToString());
  }
}

}  // namespace tvq::host

using tvq::host::CallSite;
using tvq::host::FirmwareState;

// Functions of an image can be called without a machine as long as they call no services; their
// assertions count all the same.
VOID TvqHostAssert(const CHAR8* Image, const CHAR8* File, UINTN Line, const CHAR8* Text) {
  tvq::host::Assertion assertion{Image, File, Line, Text, CallSite::Here(1)};
  if (FirmwareState* state = FirmwareState::CurrentOrNull(); state != nullptr) {
    state->reports.AddAssertion(std::move(assertion));
  } else {
    tvq::host::ReportFailure("an assertion failed outside any machine: " +
                             tvq::host::Describe(assertion));
  }
}

BOOLEAN TvqHostDebugOutputKept(UINTN Levels) {
  FirmwareState* state = FirmwareState::CurrentOrNull();
  return state != nullptr && (state->reports.mKeptLevels & Levels) != 0;
}

VOID TvqHostDebugOutput(const CHAR8* Text) {
  if (TvqHostDebugOutputKept(MAX_UINTN)) {
    FirmwareState::Current().reports.mOutput += Text;
  }
}
