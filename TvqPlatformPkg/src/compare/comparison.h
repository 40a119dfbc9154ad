/** @file
  What became of every device of a machine between two times.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_COMPARE_COMPARISON_H_
#define TVQ_PLATFORM_COMPARE_COMPARISON_H_

#include "fields.h"
#include "matching.h"
#include "verdict.h"

namespace tvqplatform {

/// Asks the driver whether the part was replaced that it has a record of.
struct DriverQuestion {
  /// `device` is the device's place in the later snapshot.
  EFI_STATUS (*Ask)(VOID* context, UINTN device, tvq::Span<const UINT8> saved, bool& isReplaced);
  VOID* Context;
};

/// Why a device was not verified, or its fields are not known.
enum class Obstacle : UINT8 {
  kNone,
  kNoBlobs,      ///< No inventory of it could be made.
  kNotSaved,     ///< The saved state has no inventory of it.
  kNoDriver,     ///< There is nobody to ask.
  kSaved,        ///< The saved document cannot be read.
  kCurrent,      ///< Today's document cannot be read.
  kDriverError,  ///< The driver's status says why.
};

struct Finding {
  Verdict What;   ///< The first of Rows.
  Verdicts Rows;  ///< All that apply.
  DeviceKind Kind;
  UINT32 Before;       ///< The device that was in its place; kNone where there was none.
  UINT32 After;        ///< kNone for a device that is gone.
  UINT32 MovedFrom;    ///< What the device was before it moved; kNone unless it did.
  UINT32 Witnesses;    ///< A bit for each Witness that it was replaced.
  bool IsSamePart;     ///< A usable number says so.
  bool HasOtherParts;  ///< Of the system: a board, chassis or power supply was put in or taken out.
  bool IsByNumbers;    ///< Numbers decided what the driver could not.
  bool WasSoBefore;    ///< The saved state had no record, or no document that can be read, either.
  Obstacle Why;        ///< The driver could not be asked; kNone when it was not needed either.
  Unreadable WhyInWords;  ///< For kSaved.
  EFI_STATUS Status;      ///< What the driver answered.
  Obstacle FieldsWhy;     ///< The fields that changed are not known.
  Unreadable FieldsWhyInWords;
  UINT32 FirstChange;
  UINT32 ChangeCount;

  bool IsSaidBy(Witness witness) const {
    return (Witnesses & (1u << static_cast<UINT32>(witness))) != 0;
  }
};

/// The devices of the later snapshot in their order, then those that are gone.
class Comparison {
 public:
  Comparison() = default;
  Comparison(const Comparison&) = delete;
  Comparison& operator=(const Comparison&) = delete;
  ~Comparison();

  /// Snapshots of one machine, which have to stay while the comparison is used. Those that were made
  /// with other options are not compared. False: there is no memory.
  [[nodiscard]] bool Run(const Snapshot& before, const Snapshot& after,
                         const DriverQuestion& driver);

  UINTN Size() const { return mFindings.Size(); }
  const Finding& operator[](UINTN i) const { return mFindings[i]; }
  /// The changes of all devices, those of one behind each other.
  UINTN ChangeCount() const { return mChanges.Size(); }
  const FieldChange& Change(UINTN i) const { return mChanges[i]; }
  /// A text of a change; null where there is none.
  const CHAR8* TextAt(UINT32 where) const { return where == kNone ? nullptr : mTexts.At(where); }
  /// The same, for masking it.
  CHAR8* MutableTextAt(UINT32 where) { return where == kNone ? nullptr : mTexts.At(where); }

  const Side& Before() const { return mBefore; }
  const Side& After() const { return mAfter; }

  UINT32 OptionsBefore() const { return mOptionsBefore; }
  UINT32 OptionsAfter() const { return mOptionsAfter; }
  bool HasOtherOptions() const { return mOptionsBefore != mOptionsAfter; }
  bool HasOtherNames() const { return mMatching.AreNamesOthers(); }
  bool HasOtherFirmware() const { return mFirmwareBefore != kNone || mFirmwareAfter != kNone; }
  const CHAR8* FirmwareBefore() const { return TextAt(mFirmwareBefore); }
  const CHAR8* FirmwareAfter() const { return TextAt(mFirmwareAfter); }

  /// Whether the firmware update accounts for what changed: then it is no alarm. It does for values of
  /// a part that is known to be the same, and of the system.
  bool IsOfFirmwareUpdate(const Finding& finding) const;

  UINTN Count(Verdict verdict) const { return mCounts[static_cast<UINTN>(verdict)]; }
  ExitStatus Exit() const;
  /// What the device adds to that.
  ExitStatus ExitOf(const Finding& finding) const;

 private:
  [[nodiscard]] bool FindAll(const DriverQuestion& driver);
  [[nodiscard]] bool JudgeDevice(UINT32 after, const DriverQuestion& driver);
  [[nodiscard]] bool JudgeGone();
  [[nodiscard]] bool CompareInPlace(Finding& finding, const DriverQuestion& driver);
  void Verify(Finding& finding, const DriverQuestion& driver);
  void Explain(tvq::Span<const UINT8> saved, Finding& finding);
  void DecideByNumbers(Finding& finding);
  void NoteChanges(Finding& finding);
  [[nodiscard]] bool CompareFields(UINT32 before, UINT32 after, Finding& finding);
  [[nodiscard]] bool CompareNumbers(UINT32 before, UINT32 after, Finding& finding);
  [[nodiscard]] bool CompareNumber(NumberKind kind, const ComparedDevice& before,
                                   const ComparedDevice& after, Finding& finding);
  [[nodiscard]] bool CompareParts(Finding& finding);
  [[nodiscard]] bool CompareMoved(Finding& finding);
  [[nodiscard]] bool AddChange(const CHAR8* path, const CHAR8* before, const CHAR8* after,
                               Finding& finding);
  [[nodiscard]] bool AddNumberChange(const CHAR8* path, smbios::Text before, smbios::Text after,
                                     Finding& finding);
  bool IsListed(const Finding& finding, UINT32 before, UINT32 after) const;
  [[nodiscard]] bool FindFirmwareUpdate();
  [[nodiscard]] bool Add(Finding& finding);

  Side mBefore;
  Side mAfter;
  Matching mMatching;
  TextPool mTexts;
  GrowingArray<Finding> mFindings;
  GrowingArray<FieldChange> mChanges;
  UINTN mCounts[kVerdictCount] = {};
  UINT32 mFirmwareBefore = kNone;
  UINT32 mFirmwareAfter = kNone;
  bool mHasTables = false;
  UINT32 mOptionsBefore = 0;
  UINT32 mOptionsAfter = 0;
};

}  // namespace tvqplatform

#endif
