/** @file
  The table that the driver is started on: read, conformed and published.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_PREPARED_TABLE_H_
#define TVQ_PLATFORM_AGENT_PREPARED_TABLE_H_

#include "../smbios/capture.h"
#include "../smbios/conform.h"
#include "../smbios/names/device_labels.h"
#include "../smbios/publication.h"
#include "boot_snapshot.h"
#include "run_report.h"

namespace tvqplatform {

/// What the firmware had published comes back when this goes.
class PreparedTable {
 public:
  PreparedTable(const Volume& volume, RunReport& report) : mVolume(volume), mReport(report) {}
  PreparedTable(const PreparedTable&) = delete;
  PreparedTable& operator=(const PreparedTable&) = delete;
  ~PreparedTable();

  /// Publishes the table of \TVQ\table.bin, or the firmware's own, where the driver looks for one.
  /// False: the report says why there is none.
  [[nodiscard]] bool Prepare(bool asIs);
  /// Reads that table only for what it prints at its sockets and slots. Reported is alone that it is
  /// not the one that the records are of.
  void ReadLabels(bool asIs);

  /// Puts back what the firmware had published. The driver's table stays where it is.
  void PutBack() { mPublication.Restore(); }

  const DeviceLabels& Labels() const { return mLabels; }

  /// What a snapshot is taken of.
  StartedTable Started(bool isStarted) const;

 private:
  [[nodiscard]] EFI_STATUS Fetch();
  [[nodiscard]] bool Read();
  [[nodiscard]] bool IsSmallEnough();
  void Conform();
  [[nodiscard]] bool Publish();
  /// Whether the driver's records are of a machine with another serial number.
  bool IsOfOthers() const;

  const Volume& mVolume;
  RunReport& mReport;
  GrowingArray<UINT8> mFile;
  Capture mCapture;
  SmbiosTable mPublished;  ///< As the machine published it.
  ConformedTable mConformed;
  DeviceLabels mLabels;
  Publication mPublication;
  bool mIsFirmwares = false;
  bool mIsChanged = false;
  bool mIsAsIs = false;
  bool mIsOfOthers = false;
};

}  // namespace tvqplatform

#endif
