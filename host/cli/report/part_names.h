/*
 * How the page names the parts of a machine.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_REPORT_PART_NAMES_H_
#define TVQ_HOST_CLI_REPORT_PART_NAMES_H_

#include <array>
#include <string>
#include <vector>

#include "host/cli/machine/machine_view.h"

namespace tvq::cli {

class PartNames {
 public:
  explicit PartNames(const MachineView& view);

  // By its printed label, or else by what the driver calls it; by both, or by the name of its bank, where parts
  // of one kind share the label.
  const std::string& Of(PartPlace place) const {
    return mNames[static_cast<std::size_t>(place.kind)][place.index];
  }

 private:
  std::array<std::vector<std::string>, facts::kKindCount> mNames;
};

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_REPORT_PART_NAMES_H_
