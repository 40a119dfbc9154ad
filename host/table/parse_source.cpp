/*
 * From the source form to the table: settings, handles, and one block after the other.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <algorithm>
#include <map>
#include <optional>

#include "host/table/document.h"
#include "host/table/dump.h"
#include "host/table/source.h"
#include "host/table/structure_builder.h"
#include "host/table/text.h"

namespace tvq::table {
namespace {

// Far more than any table has; keeps a slip in an offset from taking all memory.
constexpr std::size_t kMaximumRawSize = std::size_t{16} << 20;

class TableBuilder {
 public:
  explicit TableBuilder(const Document& document) : mDocument(document) {}

  Result<Table> Run() {
    for (const Item& item : mDocument.settings) {
      TVQ_TRY(ApplySetting(item));
    }
    TVQ_TRY(AssignHandles());
    for (std::size_t i = 0; i < mDocument.blocks.size(); ++i) {
      TVQ_TRY(AppendBlock(mDocument.blocks[i], mHandles[i]));
    }
    return std::move(mTable);
  }

 private:
  Result<Done> ApplySetting(const Item& item) {
    const bool isOne = item.values.size() == 1 && item.values[0].IsWord();
    const std::string& value = item.values[0].text;
    if (item.key == "version") {
      return isOne && ParseVersion(value) ? Result<Done>(Done())
                                          : item.Complain("takes a version such as 3.3");
    }
    if (item.key != "entry-point") {
      return Error{"'" + item.key + "' is no setting of a table",
                   "before the first [block] there are 'version' and 'entry-point'", item.line};
    }
    const std::map<std::string, EntryPoint> kinds = {{"32", EntryPoint::k32Bit},
                                                     {"64", EntryPoint::k64Bit},
                                                     {"windows", EntryPoint::kWindows},
                                                     {"none", EntryPoint::kNone}};
    const auto found = kinds.find(value);
    if (!isOne || found == kinds.end()) {
      return item.Complain("takes 32, 64, windows or none");
    }
    mTable.entryPoint = found->second;
    return Done();
  }

  bool ParseVersion(const std::string& text) {
    const std::size_t dot = std::min(text.find('.'), text.size());
    const auto majorNumber = ParseByte(text.substr(0, dot));
    const auto minorNumber = ParseByte(text.substr(std::min(dot + 1, text.size())));
    if (!majorNumber || !minorNumber) {
      return false;
    }
    mTable.version = {*majorNumber, *minorNumber};
    return true;
  }

  // A structure without a handle takes the one after that of the structure above it.
  Result<Done> AssignHandles() {
    std::map<std::uint32_t, std::size_t> lines = LinesOfStatedHandles();
    std::uint32_t next = 0;
    for (const Block& block : mDocument.blocks) {
      const bool isStructure = block.kind == Block::Kind::kStructure;
      if (isStructure && !block.handle) {
        TVQ_TRY(ClaimHandle(block, next, lines));
      }
      const std::uint32_t handle = block.handle.value_or(static_cast<std::uint16_t>(next));
      mHandles.push_back(static_cast<std::uint16_t>(handle));
      if (isStructure) {
        next = handle + 1;
      }
      if (!block.label.empty()) {
        mLabels[block.label] = mHandles.back();
      }
    }
    return Done();
  }

  std::map<std::uint32_t, std::size_t> LinesOfStatedHandles() const {
    std::map<std::uint32_t, std::size_t> lines;
    for (const Block& block : mDocument.blocks) {
      if (block.handle) {
        lines.emplace(*block.handle, block.line);
      }
    }
    return lines;
  }

  static Result<Done> ClaimHandle(const Block& block, std::uint32_t handle,
                                  std::map<std::uint32_t, std::size_t>& lines) {
    const auto [taken, isFree] = lines.emplace(handle, block.line);
    if (handle < 0xFFFF && isFree) {
      return Done();
    }
    const std::string why = handle >= 0xFFFF ? " is no handle that a structure may have"
                                             : " is that of line " + std::to_string(taken->second);
    return Error{"the handle that follows, " + HexNumber(handle, 4) + "," + why,
                 "state a handle in the heading", block.line};
  }

  Result<Done> AppendBlock(const Block& block, std::uint16_t handle) {
    switch (block.kind) {
      case Block::Kind::kStructure:
        return AppendStructure(block, handle);
      case Block::Kind::kRaw:
        return AppendRaw(block);
      case Block::Kind::kEntryPoint:
        return PatchEntryPoint(block);
    }
    return Done();
  }

  Result<Done> AppendStructure(const Block& block, std::uint16_t handle) {
    auto bytes = BuildStructure(block, handle, mTable.version, mLabels);
    if (!bytes) {
      return std::move(bytes.Failure());
    }
    mTable.structures.insert(mTable.structures.end(), bytes->begin(), bytes->end());
    return Done();
  }

  Result<Done> AppendRaw(const Block& block) {
    const std::size_t start = mTable.structures.size();
    for (const Item& item : block.items) {
      auto patch = TakePatch(item, kMaximumRawSize);
      if (!patch) {
        return std::move(patch.Failure());
      }
      const std::size_t at = start + patch->offset;
      const std::size_t end = at + patch->bytes.size();
      mTable.structures.resize(std::max(mTable.structures.size(), end));
      std::copy(patch->bytes.begin(), patch->bytes.end(), mTable.structures.begin() + at);
    }
    return Done();
  }

  Result<Done> PatchEntryPoint(const Block& block) {
    if (mTable.entryPoint == EntryPoint::kNone) {
      return Error{"there is no entry point to change", "state entry-point = 32 or 64", block.line};
    }
    for (const Item& item : block.items) {
      auto patch = TakePatch(item, EntryPointArea(mTable.entryPoint));
      if (!patch) {
        return std::move(patch.Failure());
      }
      mTable.entryPointPatches.push_back(std::move(*patch));
    }
    return Done();
  }

  static Result<Patch> TakePatch(const Item& item, std::size_t limit) {
    if (item.key != "bytes") {
      return Error{"'" + item.key + "' has no place here", "this block takes 'bytes' alone",
                   item.line};
    }
    return BuildPatch(item, limit);
  }

  const Document& mDocument;
  Table mTable;
  std::vector<std::uint16_t> mHandles;  // one for each block
  Labels mLabels;
};

}  // namespace

Result<Table> ParseSource(std::string_view source) {
  const auto document = ParseDocument(source);
  if (!document) {
    return document.Failure();
  }
  return TableBuilder(*document).Run();
}

}  // namespace tvq::table
