/** @file
  Somebody at the screen: what was found, and what they want done about it.

  SPDX-License-Identifier: BSD-2-Clause-Patent
**/

#ifndef TVQ_PLATFORM_AGENT_SCREEN_SESSION_H_
#define TVQ_PLATFORM_AGENT_SCREEN_SESSION_H_

#include "results.h"
#include "screen/screen.h"

namespace tvqplatform {

/// Each command is carried out as the option of its name would be, and the report says so.
class ScreenSession {
 public:
  /// `options` are changed while a command is carried out.
  ScreenSession(const Volume& volume, RunReport& report, Results& results, Options& options,
                ScreenContent& content)
      : mVolume(volume), mReport(report), mResults(results), mOptions(options), mContent(content) {}

  /// False: the console cannot be used for it, and nothing was shown.
  [[nodiscard]] bool Run(ScreenEnd& end);

 private:
  static void Do(VOID* context, Command command, View& view);

  void FormatTitle();
  /// Writes what the screen shows, of the report of the last comparison.
  void Describe(const RunReport& state);
  void ShowDetails(const ShownDevice& device);
  void ShowValues(const DeviceInventory& device);
  void AcceptOne(const ShownDevice& device, View& view);
  void Accept(View& view);
  void Save(View& view);
  /// Compares with what is saved now, and writes the report anew.
  void LookAgain();

  const Volume& mVolume;
  RunReport& mReport;
  Results& mResults;
  Options& mOptions;
  ScreenContent& mContent;
};

}  // namespace tvqplatform

#endif
