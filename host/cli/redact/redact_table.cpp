/*
 * --redact for a structure table.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <algorithm>
#include <utility>

#include "host/cli/redact/redact.h"
#include "host/table/layout.h"

namespace tvq::cli {
namespace {

using Bytes = std::vector<uint8_t>;

constexpr std::size_t kHeaderSize = 4;
constexpr uint8_t kOemStrings = 11;
constexpr uint8_t kFirstOemType = 128;
constexpr uint8_t kFqddMap = 225;
constexpr uint8_t kDimmExtension = 226;
constexpr std::size_t kUuidSize = 16;
// Shorter numbers also occur by chance in other texts.
constexpr std::size_t kShortestRepeated = 5;

struct SecretField {
  uint8_t type;
  std::size_t offset;
};
// A battery has no layout (SMBIOS 7.23).
constexpr SecretField kOtherFields[] = {{22, 0x07}};

// The driver takes these texts for the names of devices.
constexpr SecretField kNames[] = {{4, 0x04}, {17, 0x10}};

// A piece of text in the table.
struct Text {
  std::size_t at = 0;
  std::size_t size = 0;
};

// A structure, also one that is too short; its strings end where the table does.
struct Structure {
  std::size_t at = 0;
  std::size_t bodySize = 0;
  std::size_t end = 0;
  std::vector<Text> strings;
};

std::string TextOf(const Bytes& bytes, const Text& text) {
  const auto start = bytes.begin() + static_cast<std::ptrdiff_t>(text.at);
  return std::string(start, start + static_cast<std::ptrdiff_t>(text.size));
}

void Replace(Bytes& bytes, std::size_t at, const std::string& text) {
  std::copy(text.begin(), text.end(), bytes.begin() + static_cast<std::ptrdiff_t>(at));
}

// The structure at `at`, which leaves room for a header.
Structure StructureAt(const Bytes& bytes, std::size_t at) {
  Structure structure = {at, std::min<std::size_t>(bytes[at + 1], bytes.size() - at), 0, {}};
  std::size_t start = at + structure.bodySize;
  while (start < bytes.size() && bytes[start] != 0) {
    const auto nul = std::find(bytes.begin() + static_cast<std::ptrdiff_t>(start), bytes.end(), 0);
    const auto end = static_cast<std::size_t>(nul - bytes.begin());
    // Where the length is that of no header, the first strings would be the header itself.
    structure.strings.push_back({start, start < at + kHeaderSize ? 0 : end - start});
    start = end + 1;
  }
  // A structure without strings has two NULs behind its body.
  structure.end = std::min(start + (structure.strings.empty() ? 2 : 1), bytes.size());
  return structure;
}

class TableRedaction {
 public:
  TableRedaction(Bytes& bytes, const Masker& masker) : mBytes(bytes), mMasker(masker) {}

  void Run() {
    std::size_t at = 0;
    while (mBytes.size() - at >= kHeaderSize) {
      mStructures.push_back(StructureAt(mBytes, at));
      at = mStructures.back().end;
    }
    for (const Structure& structure : mStructures) {
      MaskStructure(structure);
    }
    for (const Structure& structure : mStructures) {
      MaskRepeated(structure);
    }
  }

 private:
  void MaskStructure(const Structure& structure) {
    const uint8_t type = mBytes[structure.at];
    if (type == kOemStrings) {
      for (const Text& text : structure.strings) {
        Replace(mBytes, text.at, mMasker.MaskOemString(TextOf(mBytes, text)));
      }
    } else if (type >= kFirstOemType) {
      MaskMakersOwn(structure, type);
    } else {
      MaskFields(structure, type);
    }
  }

  // Nothing is known about it.
  void MaskMakersOwn(const Structure& structure, uint8_t type) {
    if (type == kFqddMap || type == kDimmExtension) {
      return;
    }
    const std::size_t body = std::min(structure.at + kHeaderSize, mBytes.size());
    const std::size_t end = std::max(body, structure.at + structure.bodySize);
    std::fill(mBytes.begin() + static_cast<std::ptrdiff_t>(body),
              mBytes.begin() + static_cast<std::ptrdiff_t>(end), uint8_t{0});
    for (const Text& text : structure.strings) {
      MaskText(text);
    }
  }

  void MaskFields(const Structure& structure, uint8_t type) {
    for (const table::Field& field : table::LayoutOf(type).fields) {
      if (!IsSecretField(type, field.name) || field.End() > structure.bodySize) {
        continue;
      }
      if (field.kind == table::FieldKind::kUuid) {
        MaskUuid(structure.at + field.offset);
      } else {
        MaskString(structure, field.offset);
      }
    }
    for (const SecretField& field : kOtherFields) {
      if (field.type == type && field.offset < structure.bodySize) {
        MaskString(structure, field.offset);
      }
    }
  }

  void MaskUuid(std::size_t at) {
    const auto start = mBytes.begin() + static_cast<std::ptrdiff_t>(at);
    const Bytes masked = mMasker.MaskUuid(Bytes(start, start + kUuidSize));
    std::copy(masked.begin(), masked.end(), start);
  }

  void MaskString(const Structure& structure, std::size_t offset) {
    const uint8_t number = mBytes[structure.at + offset];
    if (number != 0 && number <= structure.strings.size()) {
      MaskText(structure.strings[number - 1u]);
    }
  }

  // Once, also where two fields share a string.
  void MaskText(const Text& text) {
    if (std::find(mMasked.begin(), mMasked.end(), text.at) != mMasked.end()) {
      return;
    }
    const std::string original = TextOf(mBytes, text);
    const std::string mask = mMasker.Mask(original);
    Replace(mBytes, text.at, mask);
    mMasked.push_back(text.at);
    if (original.size() >= kShortestRepeated && mask != original) {
      mSecrets.emplace_back(original, mask);
    }
  }

  bool IsName(const Structure& structure, std::size_t index) const {
    return std::any_of(std::begin(kNames), std::end(kNames), [&](const SecretField& name) {
      return mBytes[structure.at] == name.type && name.offset < structure.bodySize &&
             mBytes[structure.at + name.offset] == index + 1;
    });
  }

  void MaskRepeated(const Structure& structure) {
    for (std::size_t i = 0; i < structure.strings.size(); ++i) {
      const Text& text = structure.strings[i];
      if (IsName(structure, i) ||
          std::find(mMasked.begin(), mMasked.end(), text.at) != mMasked.end()) {
        continue;
      }
      const std::string original = TextOf(mBytes, text);
      for (const auto& [secret, mask] : mSecrets) {
        for (std::size_t at = 0; (at = original.find(secret, at)) != std::string::npos;
             at += secret.size()) {
          Replace(mBytes, text.at + at, mask);
        }
      }
    }
  }

  Bytes& mBytes;
  const Masker& mMasker;
  std::vector<Structure> mStructures;
  std::vector<std::size_t> mMasked;  // where the texts stand that were masked
  std::vector<std::pair<std::string, std::string>> mSecrets;
};

}  // namespace

bool IsSecretField(uint8_t type, std::string_view field) {
  return type == kOemStrings || field == "serial" || field == "asset-tag" || field == "uuid";
}

void RedactTable(std::vector<uint8_t>& structures, const Masker& masker) {
  TableRedaction(structures, masker).Run();
}

}  // namespace tvq::cli
