/*
 * --redact: what may be shared of a table, a document or a blob.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/redact/redact.h"

#include <fmt/format.h>
#include <sodium.h>

#include <fstream>

#include "host/cli/input/input.h"

namespace tvq::cli {
namespace {

constexpr char kMachineKey[] = "/etc/machine-id";

// Empty where neither the options nor this machine have one.
std::string KeyOf(const RedactOptions& options) {
  std::string key = options.key;
  if (key.empty()) {
    std::getline(std::ifstream(kMachineKey), key);
  }
  return key;
}

}  // namespace

void AddRedact(Parameters parameters, RedactOptions& options) {
  parameters.Flag(
      "--redact", options.isWanted,
      "Mask serial numbers, tags, UUIDs, OEM strings and all without a name; equal ones alike");
  parameters
      .Value("--redact-key", options.key,
             "What the masks depend on, instead of this machine's identity")
      .Named("TEXT")
      .Needs(parameters.Get("--redact"));
}

std::optional<Masker> MakeMasker(const RedactOptions& options) {
  if (!options.isWanted) {
    return std::nullopt;
  }
  const std::string key = KeyOf(options);
  if (key.empty()) {
    throw InputError(fmt::format("this machine has no identity in {}", kMachineKey),
                     "name what the masks depend on with --redact-key TEXT");
  }
  return Masker(key);
}

Masker MakePageMasker(const RedactOptions& options) {
  std::string key = KeyOf(options);
  if (key.empty()) {
    key.resize(crypto_generichash_KEYBYTES);
    randombytes_buf(key.data(), key.size());
  }
  return Masker(key);
}

}  // namespace tvq::cli
