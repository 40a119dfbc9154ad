/*
 * The text of `dmidecode -u`: for each structure the bytes of the formatted part, then those of its
 * strings.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include <algorithm>
#include <string>

#include "host/table/dump.h"
#include "host/table/text.h"

namespace tvq::table {
namespace {

constexpr std::string_view kHandle = "Handle 0x";
constexpr std::string_view kBody = "\tHeader and Data:";
constexpr std::string_view kStrings = "\tStrings:";
constexpr std::string_view kVersion = "SMBIOS ";
// Text for people has these headings, too, above structures that dmidecode cannot explain.
constexpr char kHint[] = "have dmidecode print the bytes: `sudo dmidecode -u | tvq show -`";

bool StartsWith(std::string_view text, std::string_view start) {
  return text.substr(0, start.size()) == start;
}

// The bytes of a line of two-digit numbers; empty when it is anything else.
Bytes HexLine(std::string_view line) {
  Bytes bytes;
  line.remove_prefix(std::min(line.find_first_not_of(" \t"), line.size()));
  while (!line.empty()) {
    const auto byte = ParseHexByte(line.substr(0, 2));
    if (!byte || line.substr(2, 1).find_first_not_of(' ') != std::string_view::npos) {
      return {};
    }
    bytes.push_back(*byte);
    line.remove_prefix(std::min<std::size_t>(3, line.size()));
  }
  return bytes;
}

class HexTextReader {
 public:
  Result<Table> Run(std::string_view text) {
    while (!text.empty()) {
      ++mLine;
      const std::size_t end = std::min(text.find('\n'), text.size());
      TVQ_TRY(TakeLine(text.substr(0, end)));
      text.remove_prefix(std::min(end + 1, text.size()));
    }
    TVQ_TRY(EndStructure());
    return std::move(mTable);
  }

 private:
  enum class Part {
    kNone,
    kBody,
    kStrings
  };

  Result<Done> TakeLine(std::string_view line) {
    if (StartsWith(line, kHandle)) {
      TVQ_TRY(EndStructure());
      mStart = mTable.structures.size();
      mHandleLine = mLine;
    } else if (line == kBody) {
      mPart = Part::kBody;
    } else if (line == kStrings) {
      mPart = Part::kStrings;
    } else if (StartsWith(line, "\t\t") && mPart != Part::kNone) {
      return TakeContent(line);
    } else if (StartsWith(line, kVersion)) {
      TakeVersion(line.substr(kVersion.size()));
    }
    return Done();
  }

  // Below "Strings", the bytes of each string are followed by its text, which says nothing new. A
  // text may look like bytes: it stands where a string's NUL has just been seen.
  Result<Done> TakeContent(std::string_view line) {
    if (mIsTextNext) {
      mIsTextNext = false;
      return Done();
    }
    const Bytes bytes = HexLine(line);
    if (bytes.empty()) {
      return Error{"the line does not hold bytes", kHint, mLine};
    }
    mTable.structures.insert(mTable.structures.end(), bytes.begin(), bytes.end());
    mIsTextNext = mPart == Part::kStrings && bytes.back() == 0;
    mHasStrings = mHasStrings || mPart == Part::kStrings;
    return Done();
  }

  Result<Done> EndStructure() {
    if (mHandleLine != 0) {
      const std::size_t size = mTable.structures.size() - mStart;
      if (size < 4) {
        return Error{"the structure has no bytes", kHint, mHandleLine};
      }
      mTable.structures.insert(mTable.structures.end(), mHasStrings ? 1 : 2, 0);
    }
    mPart = Part::kNone;
    mIsTextNext = false;
    mHasStrings = false;
    return Done();
  }

  // "2.7 present." or "3.1.1 present."
  void TakeVersion(std::string_view text) {
    const std::size_t first = std::min(text.find('.'), text.size());
    const std::string_view rest = text.substr(std::min(first + 1, text.size()));
    const auto majorNumber = ParseByte(text.substr(0, first));
    const auto minorNumber = ParseByte(rest.substr(0, rest.find_first_of(". ")));
    if (majorNumber && minorNumber) {
      mTable.version = {*majorNumber, *minorNumber};
    }
  }

  Table mTable;
  std::size_t mLine = 0;
  std::size_t mHandleLine = 0;  // 0 before the first structure
  std::size_t mStart = 0;
  Part mPart = Part::kNone;
  bool mIsTextNext = false;
  bool mHasStrings = false;
};

}  // namespace

bool IsHexText(const Bytes& file) {
  return std::search(file.begin(), file.end(), kBody.begin(), kBody.end()) != file.end() &&
         std::find(file.begin(), file.end(), 0) == file.end();
}

Result<Table> ReadHexText(std::string_view text) {
  return HexTextReader().Run(text);
}

}  // namespace tvq::table
