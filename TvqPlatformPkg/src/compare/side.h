/** @file
  One of the two machines that are compared: its devices with what tells them apart.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_COMPARE_SIDE_H_
#define TVQ_PLATFORM_COMPARE_SIDE_H_

#include "../states/snapshot.h"
#include "numbers.h"

namespace tvqplatform {

enum class DeviceKind : UINT8 {
  kProcessor,
  kModule,
  kHbm,  ///< A stack of high-bandwidth memory. The driver makes no record of one.
  kSystem,
};
inline constexpr UINTN kDeviceKinds = 4;

struct ComparedDevice {
  const SnapshotDevice* Device;  ///< Null for high-bandwidth memory.
  DeviceKind Kind;
  smbios::Structure Where;  ///< None where the table was not kept.
  Numbers Own;
  UINT8
  Repeated;  ///< A bit for each NumberKind that another device of the kind has with the same value.
  CHAR16 Name[kSnapshotFqddSize];  ///< By which it is matched: the FQDD, or the locator.

  /// Whether the number tells this part from all others: placeholders do not, and numbers that two
  /// devices of the machine have do not either.
  bool IsToldBy(NumberKind kind) const {
    return IsUsable(kind, Own[kind]) && (Repeated & BitOf(kind)) == 0;
  }
  /// Whether one of the numbers would be another one if the part was replaced.
  bool ShowsReplacement() const {
    return IsToldBy(NumberKind::kPpin) || IsToldBy(NumberKind::kUuid) ||
           IsToldBy(NumberKind::kSerial);
  }
  void NoteRepeated(NumberKind kind) { Repeated |= BitOf(kind); }

 private:
  static constexpr UINT8 BitOf(NumberKind kind) {
    return static_cast<UINT8>(1u << static_cast<UINT8>(kind));
  }
};

/// The devices of the snapshot in their order, then the stacks of high-bandwidth memory.
class Side {
 public:
  Side() = default;
  Side(const Side&) = delete;
  Side& operator=(const Side&) = delete;
  ~Side();

  /// Where only one of the two machines' tables was kept, the numbers are those of the blobs. False:
  /// there is no memory.
  [[nodiscard]] bool Collect(const Snapshot& snapshot, bool hasBothTables);

  /// Gives the devices the names that they have by today's rules, where the table tells them.
  /// False: there is no memory.
  [[nodiscard]] bool NameByTodaysRules();

  const Snapshot& Machine() const { return *mSnapshot; }
  UINTN Size() const { return mDevices.Size(); }
  const ComparedDevice& operator[](UINTN i) const { return mDevices[i]; }

  /// Several devices of a kind have the number of this one.
  void NoteRepeated(UINTN i, NumberKind kind) { mDevices[i].NoteRepeated(kind); }

  /// Whether Name is one of today's rules.
  bool HasTodaysNames() const { return mHasTodaysNames; }

  /// What the machine itself prints at the device's place; no text where it is not known.
  smbios::Text LabelOf(UINTN i) const;

 private:
  [[nodiscard]] bool CollectStacks();
  [[nodiscard]] bool GivePpins();

  const Snapshot* mSnapshot = nullptr;
  GrowingArray<ComparedDevice> mDevices;
  bool mHasTodaysNames = false;
};

}  // namespace tvqplatform

#endif
