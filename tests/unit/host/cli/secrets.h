/*
 * Texts and numbers that nobody may find in an output, and a server that is full of them.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_TESTS_UNIT_HOST_CLI_SECRETS_H_
#define TVQ_TESTS_UNIT_HOST_CLI_SECRETS_H_

#include <algorithm>
#include <cctype>
#include <random>
#include <string>
#include <vector>

#include "host/table/layout.h"
#include "tests/unit/shared/table.h"

namespace tvq::cli {

class Secrets {
 public:
  // A text of twelve characters that stands nowhere else.
  std::string Text() {
    std::string text(12, ' ');
    std::generate(text.begin(), text.end(),
                  [&] { return "ABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789"[mGenerator() % 36]; });
    return Add(text);
  }
  // A number of that many bytes, four or more.
  test::Bytes Number(size_t size) {
    std::string number(size, ' ');
    std::generate(number.begin(), number.end(),
                  [&] { return static_cast<char>(mGenerator() % 0xFF + 1); });
    Add(number);
    return test::Bytes(number.begin(), number.end());
  }

  const std::vector<std::string>& All() const { return mSecrets; }

  // Those of which five characters, or four bytes of a number, stand in the output: as they are, in
  // 16-bit characters, in hexadecimal, with the last byte first; upper or lower case.
  std::vector<std::string> In(std::string output) const {
    Fold(output);
    std::vector<std::string> found;
    for (const std::string& secret : mSecrets) {
      if (IsIn(output, secret)) {
        found.push_back(secret);
      }
    }
    return found;
  }

 private:
  static void Fold(std::string& text) {
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char one) { return static_cast<char>(std::tolower(one)); });
  }

  static std::string Hex(const std::string& bytes, const std::string& between) {
    std::string hex;
    for (const char one : bytes) {
      const auto byte = static_cast<unsigned char>(one);
      hex += hex.empty() ? "" : between;
      hex += "0123456789abcdef"[byte >> 4];
      hex += "0123456789abcdef"[byte & 0x0F];
    }
    return hex;
  }

  static std::string Wide(const std::string& text) {
    std::string wide;
    for (const char one : text) {
      wide += {one, '\0'};
    }
    return wide;
  }

  static bool IsIn(const std::string& output, const std::string& secret) {
    const bool isText = std::all_of(secret.begin(), secret.end(),
                                    [](unsigned char one) { return std::isalnum(one) != 0; });
    const size_t size = isText ? 5 : 4;
    for (size_t at = 0; at + size <= secret.size(); ++at) {
      const std::string piece = secret.substr(at, size);
      const std::string reversed(piece.rbegin(), piece.rend());
      std::vector<std::string> spellings = {Hex(piece, ""),       Hex(piece, " "),
                                            Hex(reversed, ""),    Hex(reversed, " "),
                                            Hex(Wide(piece), ""), Hex(Wide(piece), " ")};
      spellings.push_back(piece);
      spellings.push_back(Wide(piece));
      if (!isText) {
        spellings.push_back(std::to_string(std::stoul(Hex(reversed, ""), nullptr, 16)));
      }
      for (std::string& spelling : spellings) {
        Fold(spelling);
        if (output.find(spelling) != std::string::npos) {
          return true;
        }
      }
    }
    return false;
  }

  std::string Add(std::string secret) {
    mSecrets.push_back(secret);
    return secret;
  }

  std::mt19937 mGenerator{20240229};
  std::vector<std::string> mSecrets;
};

// An empty string before the others, whose numbers follow.
inline void PutEmptyStringFirst(test::Structure& structure) {
  structure.strings.insert(structure.strings.begin(), "");
  const auto raise = [&structure](size_t offset) {
    const size_t at = offset - 4;
    if (at < structure.body.size() && structure.body[at] != 0) {
      ++structure.body[at];
    }
  };
  const table::Layout& layout = table::LayoutOf(structure.type);
  for (const table::Field& field : layout.fields) {
    if (field.kind == table::FieldKind::kString || field.kind == table::FieldKind::kStringCount) {
      raise(field.offset);
    }
  }
}

// A structure of any type, with a text for each string.
inline test::Structure AnyStructure(uint8_t type, const test::Bytes& body,
                                    std::vector<std::string> strings = {}) {
  return {type, std::nullopt, body, std::move(strings)};
}

// The management controller's network interface (SMBIOS 7.43): a USB device with a MAC address, and
// the record of Redfish over IP with the service's UUID and host name (DSP0270 8).
inline test::Structure RedfishInterface(Secrets& secrets) {
  test::Bytes body = {0x40, 14, 0x04, 13, 0x6B, 0x04, 0x10, 0x00, 1};
  const auto append = [&body](const test::Bytes& bytes) {
    body.insert(body.end(), bytes.begin(), bytes.end());
  };
  append(secrets.Number(6));
  const std::string host = secrets.Text();
  append({1, 4, static_cast<uint8_t>(91 + host.size())});
  append(secrets.Number(16));
  append({1, 1});
  append(secrets.Number(4));
  append(test::Bytes(28));
  append({1, 1});
  append(secrets.Number(4));
  append(test::Bytes(28 + 6));
  append({static_cast<uint8_t>(host.size())});
  append(test::Bytes(host.begin(), host.end()));
  return AnyStructure(42, body, {secrets.Text()});
}

// The same in the form before: a USB device that has its serial number in 16-bit characters.
inline test::Structure UsbInterface(Secrets& secrets) {
  const std::string serial = secrets.Text();
  test::Bytes body = {0x40, static_cast<uint8_t>(7 + 2 * serial.size()), 0x02, 0x6B, 0x04, 0x10, 0};
  body.insert(body.end(), {static_cast<uint8_t>(2 + 2 * serial.size()), 3});
  for (const char one : serial) {
    body.insert(body.end(), {static_cast<uint8_t>(one), 0});
  }
  body.push_back(0);
  return AnyStructure(42, body);
}

// Structures with a secret wherever one may be.
inline std::vector<test::Structure> SecretStructures(Secrets& secrets) {
  const auto text = [&secrets] { return secrets.Text(); };
  const auto with = [](test::Bytes body, const test::Bytes& more) {
    body.insert(body.end(), more.begin(), more.end());
    return body;
  };
  const std::string tag = text();
  test::Structure system =
      test::System{.serial = tag, .uuid = secrets.Number(16), .sku = "Sold as " + tag}.Build();
  system.body = with(system.body, secrets.Number(8));
  system.strings.push_back(text());
  std::vector<test::Structure> structures = {test::Bios{}.Build(), system};
  structures.push_back(test::BaseBoard{.serial = text(), .assetTag = text()}.Build());
  structures.push_back(
      test::Chassis{.serial = text(), .assetTag = text(), .oemDefined = 0}.Build());
  const test::Bytes oem = secrets.Number(4);
  std::copy(oem.begin(), oem.end(), structures.back().body.begin() + 0x0D - 4);
  for (const char* const socket : {"CPU1", "CPU2"}) {
    structures.push_back(
        test::Processor{.designation = socket, .serial = text(), .assetTag = text()}.Build());
  }
  structures.push_back(test::OemStrings{
      .texts = {"9 more than twenty characters", "17[" + text() + text(),
                text() + "17[" + text() + text(), text() + "[x", "1[" + text() + "]",
                text()}}.Build());
  for (const char* const locator : {"DIMM_A1", "DIMM_A2"}) {
    structures.push_back(
        test::MemoryDevice{.locator = locator, .serial = text(), .assetTag = text()}.Build());
  }
  structures.push_back(AnyStructure(39, {0, 0, 0, 0, 1, 2}, {text(), text()}));
  structures.push_back(AnyStructure(22,
                                    with({1, 2, 3, 4, 5, 3, 0, 0, 0, 0, 6, 0}, secrets.Number(10)),
                                    {"Bay", "Maker", "03/14/2021", text(), text(), "1.0"}));
  structures.push_back(RedfishInterface(secrets));
  structures.push_back(UsbInterface(secrets));
  structures.push_back(
      AnyStructure(40, with({1, 18, 0x00, 0x11, 0x18, 1}, secrets.Number(12)), {text()}));
  structures.push_back(AnyStructure(43, with(test::Bytes(23), secrets.Number(4)), {text()}));
  structures.push_back(AnyStructure(44, with({0, 4, 24, 7}, secrets.Number(24))));
  structures.push_back(
      AnyStructure(45, with({1, 2, 0, 3, 0}, test::Bytes(15)), {"A component", "1.0", text()}));
  structures.push_back(AnyStructure(46, {1, 0, 1, 0, 1}, {"MAC(" + text() + ",0x1)"}));
  structures.push_back(AnyStructure(99, secrets.Number(12), {text()}));
  structures.push_back(AnyStructure(126, secrets.Number(12), {text(), text()}));
  structures.push_back(AnyStructure(200, secrets.Number(12), {text(), text()}));
  structures.push_back(AnyStructure(226, secrets.Number(12), {text()}));
  structures.push_back(AnyStructure(127, secrets.Number(8), {text()}));
  structures.push_back(test::BaseBoard{.serial = text(), .assetTag = text()}.Build());
  structures.push_back(test::End{}.Build());
  return structures;
}

}  // namespace tvq::cli

#endif  // TVQ_TESTS_UNIT_HOST_CLI_SECRETS_H_
