/*
 * `tvq decode`: takes the stored blobs of a device apart.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <fmt/format.h>

#include <optional>
#include <ostream>

#include "host/cli/device/blob.h"
#include "host/cli/command.h"
#include "host/cli/input/file_kind.h"
#include "host/cli/input/input.h"
#include "host/cli/redact/redact.h"
#include "host/cli/output/json.h"
#include "host/cli/output/text.h"

#include <nlohmann/json.hpp>

namespace tvq::cli {
namespace {

using Json = nlohmann::ordered_json;

constexpr CommandText kText = {
    "decode", "Takes the blobs of a device apart, as an agent stored them",
    "Reads blobs that stand one behind the other, as in the .tvq files that the agent saves:\n"
    "headers, flags, string references and the document. Data that is damaged gets a message with\n"
    "the offset in the file and the reason; what stands before it is printed.",
    "  tvq decode CPU.Socket.1.tvq\n"
    "  tvq decode --json DIMM.Socket.A1.tvq\n",
    "0 the blobs are whole; 2 they are not, or the file cannot be read."};
constexpr char kHint[] = "`./dev run` saves such files; `tvq export` prints blobs in hexadecimal";

struct DecodeOptions {
  std::string file;
  bool json = false;
  RedactOptions redact;
};

// A blob that was taken apart. Only what its type has is there.
struct Decoded {
  Blob blob;
  std::optional<InventoryBlob> inventory;
  std::optional<std::string_view> document;
  std::optional<Element> root;
};

std::string InventoryText(const InventoryBlob& inventory) {
  std::string text = fmt::format("  flags          0x{:08X}\n", inventory.flags);
  if (inventory.hasProductId) {
    text += fmt::format("  ProductID      0x{:04X}\n", inventory.productId);
  }
  if (inventory.hasSlotNumber) {
    text += fmt::format("  SlotNumber     0x{:02X}\n", inventory.slotNumber);
  }
  for (const BlobText& one : inventory.texts) {
    text += fmt::format("  {:<15}{} -> \"{}\"\n", one.field, one.offset, Printable(one.text));
  }
  return text;
}

std::string ToText(const Decoded& decoded, const Terminal& terminal) {
  const Blob& blob = decoded.blob;
  std::string text =
      Painted(terminal, Ink::kBold, fmt::format("0x{:04X}: {}", blob.offset, blob.TypeInWords())) +
      fmt::format("\n  revision {}, type {}, cookie 0x{:08X}, {} bytes\n", blob.revision, blob.type,
                  blob.cookie, blob.bytes.size());
  if (decoded.inventory) {
    text += InventoryText(*decoded.inventory);
  }
  if (decoded.root) {
    text += Indented(*decoded.root, terminal, 2);
  } else if (decoded.document) {
    text += "  " + Printable(*decoded.document) + '\n';
  }
  return text;
}

Json ToJson(const InventoryBlob& inventory) {
  Json texts = Json::array();
  for (const BlobText& one : inventory.texts) {
    texts.push_back(
        {{"field", one.field}, {"offset", one.offset}, {"text", Utf8OfBytes(one.text)}});
  }
  return {{"flags", inventory.flags},
          {"productId", inventory.hasProductId ? Json(inventory.productId) : Json()},
          {"slotNumber", inventory.hasSlotNumber ? Json(inventory.slotNumber) : Json()},
          {"texts", texts}};
}

Json ToJson(const Decoded& decoded) {
  const Blob& blob = decoded.blob;
  Json json = {{"offset", blob.offset},     {"kind", blob.TypeInWords()},
               {"revision", blob.revision}, {"type", blob.type},
               {"cookie", blob.cookie},     {"sizeInBytes", blob.bytes.size()}};
  if (decoded.inventory) {
    json["inventory"] = ToJson(*decoded.inventory);
  }
  if (decoded.document) {
    json["xml"] = Utf8OfBytes(*decoded.document);
    json["document"] = decoded.root ? ToJson(*decoded.root) : Json();
  }
  return json;
}

// What the blob holds; where it is damaged, what was read until then. The offset of the error is in
// the file.
std::optional<DataError> Decode(Decoded& decoded) {
  const Blob& blob = decoded.blob;
  try {
    if (blob.type == blobs::kInventory) {
      decoded.inventory = ReadInventoryBlob(blob);
    } else if (blob.type == blobs::kEnd) {
      CheckEndBlob(blob);
    } else {
      decoded.document = ReadConfigurationBlob(blob);
      try {
        decoded.root = ReadDocument(*decoded.document);
      } catch (const DataError& error) {
        return DataError(blob.offset + blobs::kDocument + error.Offset(), error.what());
      }
    }
  } catch (const DataError& error) {
    return error;
  }
  return std::nullopt;
}

ExitStatus Decode(const DecodeOptions& options, Console& console) {
  std::vector<uint8_t> file = ReadInput(options.file, kHint, console);
  RefuseTables(options.file, file, "stored blobs", "tvq show");
  if (const std::optional<Masker> masker = MakeMasker(options.redact)) {
    RedactBlobs(file, *masker);
  }
  const BlobList list = SplitBlobs({reinterpret_cast<const char*>(file.data()), file.size()});
  std::vector<DataError> errors;
  Json blobs = Json::array();
  for (const Blob& blob : list.blobs) {
    Decoded decoded = {blob, {}, {}, {}};
    if (const std::optional<DataError> error = Decode(decoded)) {
      errors.push_back(*error);
    }
    if (options.json) {
      blobs.push_back(ToJson(decoded));
    } else {
      console.Page(ToText(decoded, console.terminal));
    }
  }
  if (list.error) {
    errors.push_back(*list.error);
  }
  if (options.json) {
    Json reasons = Json::array();
    for (const DataError& error : errors) {
      reasons.push_back({{"offset", error.Offset()}, {"reason", error.what()}});
    }
    Json json = SchemaJson("tvq-decode");
    json["blobs"] = blobs;
    json["errors"] = reasons;
    PrintJson(json, console);
  }
  for (const DataError& error : errors) {
    console.Error(fmt::format("{}:0x{:04X}: {}", options.file, error.Offset(), error.what()));
  }
  return errors.empty() ? kExitNothingFound : kExitTrouble;
}

}  // namespace

void AddDecode(Commands& commands) {
  const auto options = std::make_shared<DecodeOptions>();
  Parameters parameters =
      commands.Add(kText, [options](Console& console) { return Decode(*options, console); });
  parameters.Value("FILE", options->file, "The stored blobs, or '-' for standard input")
      .Named("")
      .Required();
  parameters.Flag("--json", options->json, "Print one JSON document");
  commands.AddWide(parameters);
  AddRedact(parameters, options->redact);
}

}  // namespace tvq::cli
