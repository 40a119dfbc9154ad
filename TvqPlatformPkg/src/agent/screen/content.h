/** @file
  What the screen has to show, apart from how.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_SCREEN_CONTENT_H_
#define TVQ_PLATFORM_AGENT_SCREEN_CONTENT_H_

#include "../../compare/comparison.h"
#include "../../smbios/names/device_labels.h"
#include "../inventory.h"
#include "styled_lines.h"

namespace tvqplatform {

/// One line of the inventory.
struct ShownDevice {
  CHAR8 Label[kLabelSize];  ///< As the machine prints it.
  CHAR8 Fqdd[kSnapshotFqddSize];
  CHAR8 Serial[16];
  CHAR8 Name[64];
  const CHAR8* Class;
  const CHAR8* Verdict;  ///< Null where it was not compared.
  bool IsFinding;        ///< Somebody has to look at it.
  UINT32 Record;         ///< Its place in the inventory; kNone for a device without a record.
  UINT32 FirstLine;      ///< What the comparison says of it, in ScreenContent::Verdicts.
  UINT32 LineCount;
};

/// Owns everything but the texts of classes and verdicts, which are literals.
struct ScreenContent {
  ScreenContent() { Title[0] = '\0'; }
  ScreenContent(const ScreenContent&) = delete;
  ScreenContent& operator=(const ScreenContent&) = delete;

  /// Notes that there was no memory for a line or a device.
  void Expect(bool hasMemory) { IsCut = IsCut || !hasMemory; }

  UINTN CountFindings() const;
  /// The first device that somebody has to look at, or else the first one.
  UINTN FirstFinding() const;

  CHAR8 Title[320];                 ///< Room for a model and all that tells the machine.
  StyledLines Summary;              ///< What matters first.
  OwnedArray<ShownDevice> Devices;  ///< Those of this boot, then those that are gone.
  UINTN PresentCount = 0;           ///< Devices of this boot.
  StyledLines Verdicts;             ///< What the comparison says of devices.
  StyledLines Report;               ///< The whole of it.
  StyledLines Details;              ///< Of the device that somebody looks at.
  bool IsQuiet = false;             ///< The comparison says that nobody has to look at anything.
  bool CanAccept = false;  ///< There is a saved state to compare with, and room for another.
  bool CanSave = false;
  bool IsCut = false;  ///< There was no memory for all lines and devices.
};

/// Puts every record into the content, and the devices of the snapshot that have none.
void ShowDevices(const Inventory& inventory, const DeviceLabels& labels, const Snapshot& now,
                 ScreenContent& content);

/// Gives the devices their verdicts, and adds those that are gone.
void ShowVerdicts(const Comparison& comparison, ScreenContent& content);

/// Takes that back.
void ForgetVerdicts(ScreenContent& content);

}  // namespace tvqplatform

#endif
