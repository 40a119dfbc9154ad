/*
 * The samples, cut at every byte and with every byte changed: whatever becomes of a table, the driver starts, serves
 * and goes without reading past either end of it, where the pages are inaccessible here.
 *
 * A fault or a hang names the case: which sample, which byte, which change.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <gtest/gtest.h>
#include <unistd.h>

#include <array>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <string>
#include <tuple>

#include "tests/fuzz/exercise.h"
#include "tests/unit/driver/model/reference_walk.h"
#include "tests/unit/driver/whole/samples.h"

#include <IndustryStandard/SmbiosTvq.h>

namespace tvq::test {
namespace {

// One case takes milliseconds.
constexpr unsigned kSecondsForACase = 20;

std::array<char, 128> gCase;

// Says which case it was, and dies of the signal after all.
void ReportCase(int signal) {
  const char* const how = signal == SIGALRM ? "the driver does not return: " : "fault: ";
  (void)!write(STDERR_FILENO, how, std::strlen(how));
  (void)!write(STDERR_FILENO, gCase.data(), std::strlen(gCase.data()));
  (void)!write(STDERR_FILENO, "\n", 1);
  std::signal(signal, SIG_DFL);
  raise(signal);
}

// The same structures, those that name the devices before all others.
Bytes NamesFirst(const Bytes& structures) {
  Bytes names;
  Bytes others;
  size_t end = 0;
  for (const ReferenceWalk::Found& found :
       ReferenceWalk(structures).ByType(SMBIOS_TYPE_TVQ_FQDD_MAP)) {
    const auto begin = structures.begin() + static_cast<std::ptrdiff_t>(found.record);
    names.insert(names.end(), begin, begin + found.size);
    others.insert(others.end(), structures.begin() + static_cast<std::ptrdiff_t>(end), begin);
    end = found.record + found.size;
  }
  others.insert(others.end(), structures.begin() + static_cast<std::ptrdiff_t>(end),
                structures.end());
  EXPECT_FALSE(names.empty());
  names.insert(names.end(), others.begin(), others.end());
  return names;
}

using Parameters = std::tuple<const char*, host::Guard>;

class SampleBounds : public testing::TestWithParam<Parameters> {
 protected:
  SampleBounds() : mSample(std::get<0>(GetParam())), mGuard(std::get<1>(GetParam())) {
    const Table sample = Sample(mSample);
    mTable.major = sample.majorVersion;
    mTable.minor = sample.minorVersion;
    mTable.structures = sample.Bytes();
    mTable.structureCount = kStructureCount;
    for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGALRM}) {
      std::signal(signal, ReportCase);
    }
  }
  ~SampleBounds() override { alarm(0); }

  const Bytes& Whole() const { return mTable.structures; }

  // The whole life of the driver on the sample with these bytes.
  void Run(const Bytes& structures, const char* change, size_t at) {
    std::snprintf(gCase.data(), gCase.size(), "%s, %s byte %zu", mSample, change, at);
    alarm(kSecondsForACase);
    fuzz::Table table = mTable;
    table.structures = structures;
    fuzz::Exercise(table, mGuard, &mVerified);
    ASSERT_FALSE(HasFailure()) << gCase.data();
  }

  void CutEverywhere(const Bytes& whole, const char* change) {
    Bytes cut;
    for (size_t length = 0; length < whole.size() && !HasFatalFailure(); ++length) {
      Run(cut, change, length);
      cut.push_back(whole[length]);
    }
  }

 private:
  // As many as a walk that ends can count to: more than each sample has.
  static constexpr uint16_t kStructureCount = 0xFF;

  const char* mSample;
  host::Guard mGuard;
  fuzz::Table mTable;
  fuzz::DeviceSet mVerified;
};

TEST_P(SampleBounds, HoldWhereverTheTableIsCut) {
  CutEverywhere(Whole(), "cut before");
}

// Without the structures that name the devices no record is built, and in the samples they come last.
TEST_P(SampleBounds, HoldWhereverTheTableIsCutBehindTheNames) {
  CutEverywhere(NamesFirst(Whole()), "names first, cut before");
}

TEST_P(SampleBounds, HoldWhicheverByteChanges) {
  struct Change {
    const char* name;
    uint8_t (*apply)(uint8_t byte);
  };
  const Change changes[] = {
      {"00h as", [](uint8_t) { return uint8_t{0}; }},
      {"FFh as", [](uint8_t) { return uint8_t{0xFF}; }},
      {"the complement of", [](uint8_t byte) { return static_cast<uint8_t>(~byte); }},
  };
  Bytes bytes = Whole();
  for (size_t at = 0; at < bytes.size() && !HasFatalFailure(); ++at) {
    const uint8_t original = bytes[at];
    for (const Change& change : changes) {
      bytes[at] = change.apply(original);
      if (bytes[at] != original) {
        Run(bytes, change.name, at);
      }
    }
    bytes[at] = original;
  }
}

std::string NameOf(const testing::TestParamInfo<Parameters>& info) {
  std::string name = std::get<0>(info.param);
  name[name.find('-')] = '_';
  return name + (std::get<1>(info.param) == host::Guard::kBehind ? "AtItsEnd" : "AtItsBeginning");
}

INSTANTIATE_TEST_SUITE_P(Of, SampleBounds,
                         testing::Combine(testing::Values("two-socket", "hbm-only", "hbm-mixed"),
                                          testing::Values(host::Guard::kBehind,
                                                          host::Guard::kBefore)),
                         NameOf);

}  // namespace
}  // namespace tvq::test
