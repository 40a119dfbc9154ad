/** @file
  The agent: starts TVQSMBIOS, shows the inventory and saves it.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_AGENT_H_
#define TVQ_PLATFORM_AGENT_AGENT_H_

#include "../smbios/capture.h"
#include "../smbios/conform.h"
#include "../smbios/publication.h"
#include "inventory.h"
#include "options.h"
#include "report.h"
#include "state.h"
#include "volume.h"

namespace tvqplatform {

/// One run. Whatever goes wrong is reported, and what can still be shown is shown.
class Agent {
 public:
  explicit Agent(EFI_HANDLE image) : mImage(image) {}
  Agent(const Agent&) = delete;
  Agent& operator=(const Agent&) = delete;
  ~Agent();

  /// EFI_SUCCESS, or EFI_ABORTED when the report ends with a failure.
  [[nodiscard]] EFI_STATUS Run();

  bool WantsPowerOff() const { return mOptions.PowerOff; }

 private:
  void ReadOptions();
  [[nodiscard]] bool ReadCommandLine();

  void Begin();
  void End();
  [[nodiscard]] bool TakeOff();

  [[nodiscard]] bool EnsureDriver();
  [[nodiscard]] bool LoadAndStart(const CHAR16* path);

  [[nodiscard]] bool PrepareTable();
  [[nodiscard]] bool ReadTable();
  void ConformTable();
  [[nodiscard]] bool PublishTable();

  void Start();
  void ShowResults();

  void SaveDevices(const Inventory& inventory);
  void SaveLog();
  void CheckState(const Inventory& inventory);
  void CompareWithState(const Inventory& inventory, const SavedState& saved);
  void SaveFile(const CHAR16* path, tvq::Span<const UINT8> bytes);
  [[nodiscard]] EFI_STATUS Finish();

  /// Notes why the run failed (the first reason counts) and what to do next.
  void Fail(const CHAR8* reason, const CHAR8* advice);
  void FailWithStatus(const CHAR8* what, EFI_STATUS status, const CHAR8* advice);

  EFI_HANDLE mImage;
  Report mReport;
  Volume mVolume;
  Options mOptions;
  GrowingArray<UINT8> mTableFile;
  Capture mCapture;
  ConformedTable mConformed;
  Publication mPublication;
  bool mIsChanged = false;
  bool mFailed = false;
  CHAR8 mReason[128];
};

}  // namespace tvqplatform

#endif
