/** @file
  The table that the driver is started on: read, conformed and published.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_PREPARED_TABLE_H_
#define TVQ_PLATFORM_AGENT_PREPARED_TABLE_H_

#include "../smbios/capture.h"
#include "../smbios/conform.h"
#include "../smbios/publication.h"
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

 private:
  [[nodiscard]] bool Read();
  void Conform();
  [[nodiscard]] bool Publish();

  const Volume& mVolume;
  RunReport& mReport;
  GrowingArray<UINT8> mFile;
  Capture mCapture;
  ConformedTable mConformed;
  Publication mPublication;
  bool mIsChanged = false;
};

}  // namespace tvqplatform

#endif
