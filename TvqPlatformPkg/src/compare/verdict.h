/** @file
  What can be said of a device, and the words for it: the same on the agent's screen, in what `tvq`
  prints, and in JSON.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_COMPARE_VERDICT_H_
#define TVQ_PLATFORM_COMPARE_VERDICT_H_

#include <TvqCpp.h>

namespace tvqplatform {

/// The first that applies is a device's verdict.
enum class Verdict : UINT8 {
  kNoRecord,     ///< The table has the device, and the driver made no record of it.
  kNotVerified,  ///< Neither the driver nor a number could compare it.
  kMoved,        ///< It is not what was there, and its number was under another name.
  kNew,          ///< Nothing was in its place, and its number was nowhere else.
  kGone,         ///< Nothing is in its place, and its number is nowhere else.
  kReplaced,     ///< The driver says so, or a number that tells parts from each other.
  kChanged,      ///< Other values.
  kCannotTell,   ///< Nothing would show that it was replaced.
  kSame,
};
inline constexpr UINTN kVerdictCount = 9;

struct VerdictWords {
  const CHAR8* Name;
  const CHAR8* ToDo;
};
inline constexpr VerdictWords kVerdictWords[kVerdictCount] = {
    {"no record", "mend what keeps it from having a record, then save anew"},
    {"not verified", "look at the part itself, then accept it or save anew"},
    {"moved", "accept it, or put it back where it was"},
    {"new", "accept it if it was put in on purpose"},
    {"gone", "reseat it; if it stays away, order a part; if it was taken out, accept"},
    {"replaced", "accept it if it was exchanged on purpose, else find out by whom"},
    {"changed", "accept it if that was intended, else reseat it or order a part"},
    {"cannot tell", "nothing, or look at the part itself"},
    {"same", "nothing"},
};

constexpr const VerdictWords& WordsOf(Verdict verdict) {
  return kVerdictWords[static_cast<UINTN>(verdict)];
}

/// What to do after a firmware update.
inline constexpr CHAR8 kAfterFirmwareUpdate[] = "save anew, so that what changes next stands out";

/// A set of verdicts.
class Verdicts {
 public:
  constexpr void Add(Verdict verdict) { mBits |= BitOf(verdict); }
  constexpr void Remove(Verdict verdict) { mBits &= ~BitOf(verdict); }
  constexpr bool Has(Verdict verdict) const { return (mBits & BitOf(verdict)) != 0; }
  constexpr bool Empty() const { return mBits == 0; }

 private:
  static constexpr UINT32 BitOf(Verdict verdict) { return 1u << static_cast<UINT32>(verdict); }

  UINT32 mBits;
};

/// Who says that a part was replaced, or is the same.
enum class Witness : UINT8 {
  kDriver,
  kPpin,
  kUuid,
  kSerial,
  kPart,
  kBoard,
  kChassis,
  kPowerSupply,
};
inline constexpr UINTN kWitnessCount = 8;
inline constexpr const CHAR8* kWitnessWords[kWitnessCount] = {"the driver",
                                                              "the PPIN",
                                                              "the UUID",
                                                              "the serial number",
                                                              "the part number",
                                                              "the board's serial number",
                                                              "the chassis' serial number",
                                                              "a power supply's serial number"};

/// What a comparison ends with: 1 wins over 2, and 2 over 0.
enum class ExitStatus : UINT8 {
  kNothingFound = 0,
  kFound = 1,
  kTrouble = 2,
};

}  // namespace tvqplatform

#endif
