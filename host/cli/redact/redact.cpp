/*
 * --redact: what may be shared of a table, a document or a blob.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/redact/redact.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <fstream>

#include "host/cli/device/blob.h"
#include "host/cli/input/input.h"

namespace tvq::cli {
namespace {

constexpr char kMachineKey[] = "/etc/machine-id";
constexpr std::string_view kSecretElements[] = {"WWN", "ServiceTag", "AssetTag", "PPIN", "UUID"};

void Overwrite(std::vector<uint8_t>& bytes, std::size_t at, const std::string& text) {
  std::copy(text.begin(), text.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
}

std::string_view AsText(const std::vector<uint8_t>& bytes) {
  return {reinterpret_cast<const char*>(bytes.data()), bytes.size()};
}

// Masks every text that stands between the tags of the element; one that does not end counts up to
// the next NUL.
void RedactElement(std::vector<uint8_t>& file, std::string_view element, const Masker& masker) {
  const std::string start = fmt::format("<{}>", element);
  const std::string end = fmt::format("</{}>", element);
  std::size_t at = 0;
  while ((at = AsText(file).find(start, at)) != std::string_view::npos) {
    at += start.size();
    const std::size_t stop =
        std::min({AsText(file).find(end, at), AsText(file).find('\0', at), file.size()});
    const std::string mask = masker.Mask(AsText(file).substr(at, stop - at));
    Overwrite(file, at, mask);
    at = stop;
  }
}

}  // namespace

void AddRedact(CLI::App& app, RedactOptions& options) {
  app.add_flag("--redact", options.isWanted,
               "Mask serial numbers, tags, UUIDs and OEM strings, the same ones alike");
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

void RedactBlobs(std::vector<uint8_t>& file, const Masker& masker) {
  const BlobList list = SplitBlobs(AsText(file));
  for (const Blob& blob : list.blobs) {
    if (blob.type != kInventoryType) {
      continue;
    }
    try {
      for (const BlobText& text : ReadInventoryBlob(blob).texts) {
        if (text.field == std::string_view("wwnOffset")) {
          Overwrite(file, blob.offset + kStringAreaOffset + text.offset, masker.Mask(text.text));
        }
      }
    } catch (const DataError&) {
      // A text that a damaged reference leads to is not shown either.
    }
  }
  for (const std::string_view element : kSecretElements) {
    RedactElement(file, element, masker);
  }
}

bool IsSecretElement(std::string_view name) {
  return std::find(std::begin(kSecretElements), std::end(kSecretElements), name) !=
         std::end(kSecretElements);
}

}  // namespace tvq::cli
