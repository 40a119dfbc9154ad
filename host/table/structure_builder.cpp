/*
 * The bytes of one structure, from its block in the source form.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/table/structure_builder.h"

#include <algorithm>
#include <array>
#include <optional>

#include "host/table/layout.h"
#include "host/table/structure.h"
#include "host/table/text.h"

namespace tvq::table {
namespace {

constexpr std::size_t kMaximumSize = 0xFF;

// Which byte of a stored UUID each pair of digits is: the first three groups are little-endian.
constexpr std::array<std::uint8_t, 16> kUuidOrder = {3, 2, 1,  0,  5,  4,  7,  6,
                                                     8, 9, 10, 11, 12, 13, 14, 15};

std::vector<std::string_view> ItemNames(const Layout& layout) {
  std::vector<std::string_view> names = {"length", "string", "bytes"};
  for (const Field& field : layout.fields) {
    names.push_back(field.name);
  }
  if (!layout.group.name.empty()) {
    names.push_back(layout.group.name);
  }
  return names;
}

class StructureBuilder {
 public:
  StructureBuilder(const Block& block, Version version, const Labels& labels)
      : mBlock(block),
        mLayout(LayoutOf(block.type)),
        mVersion(version),
        mLabels(labels),
        mGroupEnd(mLayout.group.offset) {
    mBody[0] = block.type;
  }

  Result<Bytes> Run(std::uint16_t handle) {
    Put(2, handle, 2);
    for (const Item& item : mBlock.items) {
      TVQ_TRY(Apply(item));
    }
    TVQ_TRY(PutCounts());
    TVQ_TRY(PutLength());
    TVQ_TRY(CheckTail());
    for (const Patch& patch : mPatches) {
      std::copy(patch.bytes.begin(), patch.bytes.end(), mBody.begin() + patch.offset);
    }
    return Assemble();
  }

 private:
  Result<Done> Apply(const Item& item) {
    mGiven.push_back(item.key);
    if (item.key == "bytes") {
      return ApplyBytes(item);
    }
    if (!mLayout.group.name.empty() && item.key == mLayout.group.name) {
      return ApplyGroup(item);
    }
    if (item.key == "length") {
      return ApplyLength(item);
    }
    if (item.key == "string") {
      return ApplyString(item);
    }
    const Field* field = mLayout.Find(item.key);
    if (field == nullptr) {
      return Error{"'" + item.key + "' is no field of " + TitleOf(mBlock.type),
                   DidYouMean(item.key, ItemNames(mLayout)), item.line};
    }
    mEnd = std::max(mEnd, field->End());
    return StoreParts(item, field->offset, {field->kind});
  }

  Result<Done> ApplyBytes(const Item& item) {
    auto patch = BuildPatch(item, kMaximumSize);
    if (!patch) {
      return std::move(patch.Failure());
    }
    mEnd = std::max(mEnd, patch->offset + patch->bytes.size());
    mPatches.push_back(std::move(*patch));
    return Done();
  }

  Result<Done> ApplyLength(const Item& item) {
    const auto length = ParseNumber(item.values[0].text);
    if (item.values.size() != 1 || !item.values[0].IsWord() || !length ||
        *length < smbios::kHeaderSize || *length > kMaximumSize) {
      return item.Complain("takes a number from 4 to 255",
                           "a length that lies is written as bytes 0x01 = FF");
    }
    mLength = *length;
    mLengthItem = &item;
    return Done();
  }

  Result<Done> ApplyString(const Item& item) {
    if (item.values.size() != 1) {
      return item.Complain("takes one text");
    }
    return AddString(item, item.values[0]);
  }

  Result<Done> ApplyGroup(const Item& item) {
    const Group& group = mLayout.group;
    if (mGroupEnd + group.Width() > kMaximumSize) {
      return item.Complain("does not fit: a structure has no more than 255 bytes",
                           "start a second structure of this type");
    }
    TVQ_TRY(StoreParts(item, mGroupEnd, group.parts));
    mGroupEnd += group.Width();
    ++mGroups;
    mEnd = std::max(mEnd, mGroupEnd);
    return Done();
  }

  // Stores the values of the item one behind the other. Those that are left out at the end are 0.
  Result<Done> StoreParts(const Item& item, std::size_t at, const std::vector<FieldKind>& parts) {
    auto value = item.values.begin();
    for (const FieldKind part : parts) {
      const bool isNew = value != item.values.end() && IsNew(*value) && part == FieldKind::kString;
      value += isNew ? 1 : 0;
      if (value == item.values.end()) {
        return isNew ? Result<Done>(item.Complain("has no text after 'new'")) : Done();
      }
      TVQ_TRY(isNew ? StoreNewString(item, *value, at) : Store(item, *value, at, part));
      at += WidthOf(part);
      ++value;
    }
    if (value != item.values.end()) {
      return item.Complain("does not take " + value->Spelling() + " behind its other values");
    }
    return Done();
  }

  static bool IsNew(const Token& value) { return value.IsWord() && value.text == "new"; }

  Result<Done> Store(const Item& item, const Token& value, std::size_t at, FieldKind kind) {
    if (kind == FieldKind::kUuid) {
      return StoreUuid(item, value, at);
    }
    if (kind == FieldKind::kString && value.kind == Token::Kind::kString) {
      return StoreString(item, value, at);
    }
    if (kind == FieldKind::kHandle && value.IsLabel()) {
      return StoreLabel(item, value, at);
    }
    return StoreNumber(item, value, at, kind);
  }

  Result<Done> StoreNumber(const Item& item, const Token& value, std::size_t at, FieldKind kind) {
    const auto parsed = value.IsWord() ? ParseNumber(value.text) : std::nullopt;
    const std::size_t width = WidthOf(kind);
    if (!parsed) {
      return item.Complain("does not take " + value.Spelling(), Expected(kind));
    }
    const std::uint64_t number = parsed.value();
    if (width < 8 && number >> (8 * width) != 0) {
      return item.Complain(value.text + " does not fit " + std::to_string(width) +
                           (width == 1 ? " byte" : " bytes"));
    }
    Put(at, number, width);
    return Done();
  }

  static std::string Expected(FieldKind kind) {
    if (kind == FieldKind::kString) {
      return "it takes text in quotation marks, or the number of a string";
    }
    if (kind == FieldKind::kHandle) {
      return "it takes a handle such as 0x0010, or the @label of a structure";
    }
    return "it takes a number, decimal or hexadecimal as in 0x1F";
  }

  Result<Done> StoreUuid(const Item& item, const Token& value, std::size_t at) {
    constexpr std::string_view kShape = "00000000-0000-0000-0000-000000000000";
    std::string digits;
    bool isUuid = value.IsWord() && value.text.size() == kShape.size();
    for (std::size_t i = 0; isUuid && i < kShape.size(); ++i) {
      isUuid = (kShape[i] == '-') == (value.text[i] == '-');
      digits += kShape[i] == '-' ? "" : value.text.substr(i, 1);
    }
    for (std::size_t i = 0; isUuid && i < kUuidOrder.size(); ++i) {
      const auto byte = ParseHexByte(std::string_view(digits).substr(2 * i, 2));
      isUuid = byte.has_value();
      mBody[at + kUuidOrder[i]] = byte.value_or(0);
    }
    if (!isUuid) {
      return item.Complain("does not take " + value.Spelling(),
                           "it takes a UUID such as 00112233-4455-6677-8899-aabbccddeeff");
    }
    return Done();
  }

  Result<Done> StoreLabel(const Item& item, const Token& value, std::size_t at) {
    const auto found = mLabels.find(value.text);
    if (found == mLabels.end()) {
      return item.Complain("names " + value.text + ", which no structure is labelled");
    }
    Put(at, found->second, 2);
    return Done();
  }

  // The number of the string with this content, which is added where there is none.
  Result<Done> StoreString(const Item& item, const Token& value, std::size_t at) {
    const auto found = std::find(mStrings.begin(), mStrings.end(), value.text);
    if (found == mStrings.end()) {
      return StoreNewString(item, value, at);
    }
    return StoreStringNumber(item, static_cast<std::size_t>(found - mStrings.begin()) + 1, at);
  }

  Result<Done> StoreNewString(const Item& item, const Token& value, std::size_t at) {
    TVQ_TRY(AddString(item, value));
    return StoreStringNumber(item, mStrings.size(), at);
  }

  Result<Done> StoreStringNumber(const Item& item, std::size_t number, std::size_t at) {
    if (number > 0xFF) {
      return item.Complain("needs string number " + std::to_string(number) +
                           ", which does not fit a byte");
    }
    Put(at, number, 1);
    return Done();
  }

  Result<Done> AddString(const Item& item, const Token& value) {
    const std::string& text = value.text;
    if (value.kind != Token::Kind::kString) {
      return item.Complain("takes text in quotation marks, not " + value.Spelling());
    }
    if (text.find('\0') != std::string::npos) {
      return item.Complain("holds a NUL, which would end the string",
                           "a structure that is wrong on purpose can be written as [raw]");
    }
    if (text.empty() && !mStrings.empty()) {
      return item.Complain("is empty, which would end the strings of the structure",
                           "for no string, leave the field out");
    }
    mStrings.push_back(text);
    return Done();
  }

  Result<Done> PutCounts() {
    for (const Field& field : mLayout.fields) {
      const bool isStrings = field.kind == FieldKind::kStringCount;
      const bool isGiven = std::find(mGiven.begin(), mGiven.end(), field.name) != mGiven.end();
      if (isGiven || (!isStrings && field.kind != FieldKind::kGroupCount)) {
        continue;
      }
      const std::size_t count = isStrings ? mStrings.size() : mGroups;
      if (count > 0xFF) {
        return Error{
            "the structure has " + std::to_string(count) + " strings, which its count cannot hold",
            "state '" + std::string(field.name) + "'", mBlock.line};
      }
      Put(field.offset, count, 1);
    }
    return Done();
  }

  Result<Done> PutLength() {
    if (mLength && *mLength < mEnd) {
      return mLengthItem->Complain("is " + std::to_string(*mLength) +
                                   ", but the values given end at " + std::to_string(mEnd));
    }
    mBodySize = mLength.value_or(std::max(mEnd, mLayout.StandardSize(mVersion)));
    mBody[1] = static_cast<std::uint8_t>(mBodySize);
    return Done();
  }

  Result<Done> CheckTail() const {
    for (const Item& item : mBlock.items) {
      const Field* field = mLayout.Find(item.key);
      if (field != nullptr && mLayout.IsMoved(*field, {mBody.data(), mBodySize})) {
        return item.Complain("lies behind a list whose count is not 0",
                             "give the list and what follows it as bytes");
      }
    }
    return Done();
  }

  Bytes Assemble() const {
    Bytes bytes(mBody.begin(), mBody.begin() + mBodySize);
    for (const std::string& string : mStrings) {
      bytes.insert(bytes.end(), string.begin(), string.end());
      bytes.push_back(0);
    }
    bytes.insert(bytes.end(), mStrings.empty() ? 2 : 1, 0);
    return bytes;
  }

  void Put(std::size_t at, std::uint64_t value, std::size_t width) {
    for (std::size_t i = 0; i < width; ++i, value >>= 8) {
      mBody[at + i] = static_cast<std::uint8_t>(value);
    }
  }

  const Block& mBlock;
  const Layout& mLayout;
  const Version mVersion;
  const Labels& mLabels;
  std::array<std::uint8_t, kMaximumSize> mBody = {};
  std::size_t mEnd = smbios::kHeaderSize;  // of the values given so far
  std::size_t mBodySize = smbios::kHeaderSize;
  std::size_t mGroupEnd;
  std::size_t mGroups = 0;
  std::optional<std::size_t> mLength;
  const Item* mLengthItem = nullptr;
  std::vector<std::string> mGiven;
  std::vector<std::string> mStrings;
  std::vector<Patch> mPatches;
};

}  // namespace

Result<Bytes> BuildStructure(const Block& block, std::uint16_t handle, Version version,
                             const Labels& labels) {
  return StructureBuilder(block, version, labels).Run(handle);
}

Result<Patch> BuildPatch(const Item& item, std::size_t limit) {
  const auto offset = ParseNumber(item.argument);
  if (!offset) {
    return item.Complain("needs the offset of the first byte", "bytes 0x10 = 00 FF, for example");
  }
  Patch patch{*offset, {}};
  for (const Token& value : item.values) {
    if (value.kind == Token::Kind::kString) {
      patch.bytes.insert(patch.bytes.end(), value.text.begin(), value.text.end());
    } else if (const auto byte = ParseHexByte(value.text)) {
      patch.bytes.push_back(*byte);
    } else {
      return item.Complain("does not take " + value.Spelling(),
                           "it takes bytes of two hexadecimal digits, and text");
    }
  }
  if (*offset > limit || patch.bytes.size() > limit - *offset) {
    return item.Complain("ends past " + std::to_string(limit) + ", where this block has its end");
  }
  return patch;
}

}  // namespace tvq::table
