/*
 * --redact: what may be shared of a table, a document or a blob.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/redact/redact.h"

#include <fmt/format.h>
#include <sodium.h>
#include <sys/stat.h>

#include <algorithm>
#include <array>
#include <fstream>

#include "host/cli/input/input.h"

namespace tvq::cli {
namespace {

constexpr char kMachineKey[] = "/etc/machine-id";

// With the key, masks of short numbers are as good as the numbers.
void CheckReaders(const std::string& path) {
  struct stat status = {};
  if (stat(path.c_str(), &status) == 0 && (status.st_mode & S_IROTH) != 0) {
    throw InputError(fmt::format("{} is not read: others may read it, too", path),
                     fmt::format("`chmod o-r {}`, and put another key there", path));
  }
}

std::string KeyIn(const std::string& path) {
  constexpr char kHint[] = "name a file whose first line is the key";
  CheckReaders(path);
  const std::vector<uint8_t> bytes = ReadFile(path, kHint);
  std::string key(bytes.begin(), std::find(bytes.begin(), bytes.end(), '\n'));
  if (key.empty()) {
    throw InputError(fmt::format("the first line of {} is empty", path), kHint);
  }
  return key;
}

// Empty where neither the options nor this machine have one.
std::string KeyOf(const RedactOptions& options) {
  if (!options.keyFile.empty()) {
    return KeyIn(options.keyFile);
  }
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
  parameters
      .Value("--redact-key-file", options.keyFile,
             "The same, out of the first line of a file that others may not read")
      .Named("FILE")
      .Needs(parameters.Get("--redact"))
      .Excludes(parameters.Get("--redact-key"));
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
    std::array<char, crypto_generichash_KEYBYTES> any = {};
    randombytes_buf(any.data(), any.size());
    key.assign(any.begin(), any.end());
  }
  return Masker(key);
}

}  // namespace tvq::cli
