/*
 * Masks for texts that name a machine or a part: serial numbers, tags, UUIDs.
 *
 * A mask has the length of its text, with a digit for every digit and a letter for every letter; all
 * else stays. Under one key, equal texts have equal masks and different texts have different ones,
 * and so have the first 14 characters, which are what the driver keeps of a serial number. What
 * follows the first 256 characters is blanked.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_REDACT_MASK_H_
#define TVQ_HOST_CLI_REDACT_MASK_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tvq::cli {

// The processor's number in an OEM string, behind its tag; empty where there is none.
std::string_view PpinOf(std::string_view oemString);

class Masker {
 public:
  // Without the key's text, nobody can find the text behind a mask.
  explicit Masker(std::string_view key);

  // Texts that name nothing stay as they are: placeholders, and those of one character only.
  std::string Mask(std::string_view text) const;

  // The value of an OEM string, behind its tag: the driver finds processors' numbers behind "17[".
  // The number of a tag, and the first character, at which the driver looks too, stay as they are.
  std::string MaskOemString(std::string_view text) const;

  // 16 bytes, masked as the 32 lower-case digits that a document spells them with.
  std::vector<uint8_t> MaskUuid(const std::vector<uint8_t>& bytes) const;

 private:
  std::string MaskUntagged(std::string_view text) const;
  std::string Permute(std::string_view text, std::string_view context) const;

  std::vector<uint8_t> mKey;
};

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_REDACT_MASK_H_
