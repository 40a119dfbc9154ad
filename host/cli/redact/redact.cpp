/*
 * --redact: what may be shared of a table, a document or a blob.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/redact/redact.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <fstream>

#include "host/cli/input/input.h"

namespace tvq::cli {
namespace {

constexpr char kMachineKey[] = "/etc/machine-id";

}  // namespace

void AddRedact(CLI::App& app, RedactOptions& options) {
  app.add_flag(
      "--redact", options.isWanted,
      "Mask serial numbers, tags, UUIDs, OEM strings and all without a name; equal ones alike");
  app.add_option("--redact-key", options.key,
                 "What the masks depend on, instead of this machine's identity")
      ->type_name("TEXT")
      ->needs(app.get_option("--redact"));
}

std::optional<Masker> MakeMasker(const RedactOptions& options) {
  if (!options.isWanted) {
    return std::nullopt;
  }
  if (!options.key.empty()) {
    return Masker(options.key);
  }
  std::string identity;
  std::getline(std::ifstream(kMachineKey), identity);
  if (identity.empty()) {
    throw InputError(fmt::format("this machine has no identity in {}", kMachineKey),
                     "name what the masks depend on with --redact-key TEXT");
  }
  return Masker(identity);
}

}  // namespace tvq::cli
