/*
 * From the table to the source form. What is a structure becomes a block with named fields;
 * whatever is left over at the end becomes a [raw] block.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <algorithm>
#include <map>
#include <utility>
#include <vector>

#include "host/table/layout.h"
#include "host/table/source.h"
#include "host/table/structure.h"
#include "host/table/text.h"

namespace tvq::table {
namespace {

constexpr std::size_t kBytesPerLine = 16;

// "key = value" lines with their signs below each other.
class Lines {
 public:
  void Add(std::string key, std::string value) {
    mLines.emplace_back(std::move(key), std::move(value));
  }

  void AddBytes(std::size_t offset, const std::uint8_t* bytes, std::size_t size) {
    for (std::size_t at = 0; at < size; at += kBytesPerLine) {
      Add("bytes " + HexNumber(offset + at, 2),
          HexBytes(bytes + at, std::min(kBytesPerLine, size - at)));
    }
  }

  std::string Render() const {
    std::size_t width = 0;
    for (const auto& line : mLines) {
      width = std::max(width, line.first.size());
    }
    std::string text;
    for (const auto& [key, value] : mLines) {
      text += key + std::string(width - key.size(), ' ') + " = " + value + '\n';
    }
    return text;
  }

 private:
  std::vector<std::pair<std::string, std::string>> mLines;
};

std::uint64_t ReadNumber(const std::uint8_t* bytes, std::size_t width) {
  std::uint64_t value = 0;
  for (std::size_t i = width; i-- > 0;) {
    value = value << 8 | bytes[i];
  }
  return value;
}

std::string FormatUuid(const std::uint8_t* bytes) {
  // The first three groups are stored as little-endian numbers.
  const auto group = [&](std::size_t offset, std::size_t width) {
    return HexNumber(ReadNumber(bytes + offset, width), static_cast<int>(2 * width)).substr(2);
  };
  std::string text = group(0, 4) + "-" + group(4, 2) + "-" + group(6, 2) + "-";
  for (std::size_t i = 8; i < 16; ++i) {
    text += i == 10 ? "-" : "";
    text += HexBytes(bytes + i, 1);
  }
  return text;
}

std::string FormatNumber(const std::uint8_t* bytes, FieldKind kind) {
  const std::size_t width = WidthOf(kind);
  const std::uint64_t value = ReadNumber(bytes, width);
  switch (kind) {
    case FieldKind::kHex8:
    case FieldKind::kHex16:
    case FieldKind::kHex32:
    case FieldKind::kHex64:
    case FieldKind::kHandle:
      return HexNumber(value, static_cast<int>(2 * width));
    default:
      return std::to_string(value);
  }
}

class StructureFormatter {
 public:
  explicit StructureFormatter(const Structure& structure)
      : mStructure(structure),
        mBody(structure.Formatted()),
        mStrings(structure.Strings()),
        mLayout(LayoutOf(structure.Type())),
        mIsWritten(mBody.Size(), false) {}

  std::string Run(Version version) {
    const std::size_t end = EndOfNamed();
    if (!StringsComeInOrder()) {
      AddStringsFrom(0);
    }
    for (const Field& field : mLayout.fields) {
      if (IsNamed(field)) {
        AddField(field);
      }
    }
    for (std::size_t at = mLayout.group.offset; at < end; at += mLayout.group.Width()) {
      AddGroup(at);
    }
    AddOtherBytes();
    AddStringsFrom(mStringsKnown);
    AddLength(version);
    return "\n[" + TitleOf(mStructure.Type()) + " " + HexNumber(mStructure.Handle(), 4) + "]\n" +
           mLines.Render();
  }

 private:
  const std::uint8_t* At(std::size_t offset) const { return mBody.Data() + offset; }

  bool IsNamed(const Field& field) const {
    return field.End() <= mBody.Size() && !mLayout.IsMoved(field, mBody);
  }

  // Where the last whole group ends; the start of the groups when there is none.
  std::size_t EndOfNamed() const {
    const std::size_t width = mLayout.group.Width();
    std::size_t end = mLayout.group.offset;
    while (width != 0 && end + width <= mBody.Size()) {
      end += width;
    }
    return end;
  }

  // Whether strings that are added where they are first named get the numbers that they have.
  bool StringsComeInOrder() const {
    std::size_t known = 0;
    for (const NamedValue& value : NamedValues(mStructure)) {
      const std::size_t number = *At(value.offset);
      if (value.kind != FieldKind::kString || number > mStrings.size() || number <= known) {
        continue;
      }
      if (number != known + 1) {
        return false;
      }
      ++known;
    }
    return true;
  }

  // The number of the first string that has the content of this one.
  std::size_t FirstAlike(std::size_t number) const {
    const auto first = std::find(mStrings.begin(), mStrings.end(), mStrings[number - 1]);
    return static_cast<std::size_t>(first - mStrings.begin()) + 1;
  }

  void AddStringsFrom(std::size_t index) {
    for (std::size_t i = index; i < mStrings.size(); ++i) {
      mLines.Add("string", Quote(mStrings[i]));
    }
    mStringsKnown = mStrings.size();
  }

  std::string FormatString(std::size_t number) {
    if (number == 0) {
      return "0";
    }
    if (number > mStrings.size()) {
      mRemark = "  # no such string";
      return std::to_string(number);
    }
    std::string text = Quote(mStrings[number - 1]);
    const bool isFirst = FirstAlike(number) == number;
    if (number > mStringsKnown) {
      mStringsKnown = number;
      return isFirst ? text : "new " + text;
    }
    if (isFirst) {
      return text;
    }
    mRemark = "  # " + text;
    return std::to_string(number);
  }

  std::string FormatValue(std::size_t offset, FieldKind kind) {
    const std::size_t width = WidthOf(kind);
    std::fill_n(mIsWritten.begin() + offset, width, true);
    if (kind == FieldKind::kString) {
      return FormatString(*At(offset));
    }
    return kind == FieldKind::kUuid ? FormatUuid(At(offset)) : FormatNumber(At(offset), kind);
  }

  void AddField(const Field& field) {
    std::string value = FormatValue(field.offset, field.kind);
    if (!IsImplied(field)) {
      AddLine(field.name, std::move(value));
      mGivenEnd = std::max(mGivenEnd, field.End());
    }
  }

  void AddLine(std::string_view name, std::string value) {
    mLines.Add(std::string(name), std::move(value) + std::exchange(mRemark, ""));
  }

  // A count that says what there is goes without saying.
  bool IsImplied(const Field& field) const {
    if (field.kind == FieldKind::kStringCount) {
      return *At(field.offset) == mStrings.size();
    }
    return field.kind == FieldKind::kGroupCount &&
           *At(field.offset) == (EndOfNamed() - mLayout.group.offset) / mLayout.group.Width();
  }

  void AddGroup(std::size_t at) {
    std::string values;
    for (const FieldKind part : mLayout.group.parts) {
      values += values.empty() ? "" : " ";
      values += FormatValue(at, part);
      at += WidthOf(part);
    }
    AddLine(mLayout.group.name, std::move(values));
    mGivenEnd = std::max(mGivenEnd, at);
  }

  // Runs of bytes without a name; those that are all 0 need no line.
  void AddOtherBytes() {
    for (std::size_t at = smbios::kHeaderSize; at < mBody.Size();) {
      const auto next = std::find(mIsWritten.begin() + at, mIsWritten.end(), !mIsWritten[at]);
      const auto end = static_cast<std::size_t>(next - mIsWritten.begin());
      const bool isZero =
          std::all_of(At(at), At(at) + (end - at), [](std::uint8_t byte) { return byte == 0; });
      if (!mIsWritten[at] && !isZero) {
        mLines.AddBytes(at, At(at), end - at);
        mGivenEnd = std::max(mGivenEnd, end);
      }
      at = end;
    }
  }

  void AddLength(Version version) {
    if (std::max(mGivenEnd, mLayout.StandardSize(version)) != mBody.Size()) {
      mLines.Add("length", std::to_string(mBody.Size()));
    }
  }

  const Structure& mStructure;
  const smbios::Bytes mBody;
  const std::vector<std::string_view>& mStrings;
  const Layout& mLayout;
  std::vector<bool> mIsWritten;                 // for each byte of the body
  std::size_t mStringsKnown = 0;                // strings that the lines so far have named
  std::size_t mGivenEnd = smbios::kHeaderSize;  // of the values that have a line
  std::string mRemark;                          // for the end of the next line
  Lines mLines;
};

// What patches come to, one after the other: in a block, no two lines are for the same bytes.
std::vector<Patch> WithoutOverlaps(const std::vector<Patch>& patches) {
  std::map<std::size_t, std::uint8_t> bytes;
  for (const Patch& patch : patches) {
    for (std::size_t i = 0; i < patch.bytes.size(); ++i) {
      bytes[patch.offset + i] = patch.bytes[i];
    }
  }
  std::vector<Patch> joined;
  for (const auto& [offset, byte] : bytes) {
    if (joined.empty() || joined.back().offset + joined.back().bytes.size() != offset) {
      joined.push_back({offset, {}});
    }
    joined.back().bytes.push_back(byte);
  }
  return joined;
}

std::string FormatSettings(const Table& table, std::size_t structures) {
  std::string text = "# An SMBIOS table of " + std::to_string(structures) + " structures in " +
                     std::to_string(table.structures.size()) +
                     " bytes.\n\nversion = " + std::to_string(table.version.majorNumber) + "." +
                     std::to_string(table.version.minorNumber) + "\n";
  if (table.entryPoint == EntryPoint::k64Bit) {
    text += "entry-point = 64\n";
  } else if (table.entryPoint == EntryPoint::kWindows) {
    text += "entry-point = windows\n";
  } else if (table.entryPoint == EntryPoint::kNone) {
    text += "entry-point = none\n";
  }
  const std::vector<Patch> patches = WithoutOverlaps(table.entryPointPatches);
  Lines lines;
  for (const Patch& patch : patches) {
    lines.AddBytes(patch.offset, patch.bytes.data(), patch.bytes.size());
  }
  return text + (patches.empty() ? "" : "\n[entry-point]\n") + lines.Render();
}

}  // namespace

std::string FormatSource(const Table& table) {
  const std::vector<Structure> structures = SplitTable(table.structures);
  std::string text = FormatSettings(table, structures.size());
  for (const Structure& structure : structures) {
    text += StructureFormatter(structure).Run(table.version);
  }
  const smbios::Bytes left =
      ViewOf(table.structures).From(structures.empty() ? 0 : structures.back().End());
  if (!left.Empty()) {
    Lines rest;
    rest.AddBytes(0, left.Data(), left.Size());
    text += "\n[raw]\n" + rest.Render();
  }
  return text;
}

}  // namespace tvq::table
