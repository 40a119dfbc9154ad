/*
 * Secrets with their masks, for other texts that repeat them.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/redact/secret_list.h"

#include <algorithm>
#include <array>
#include <cctype>

namespace tvq::cli {
namespace {

constexpr std::size_t kShortest = 5;
constexpr std::string_view kDigits = "0123456789abcdef";

// Which stored byte each pair of digits is where the first three groups are numbers.
constexpr std::array<std::size_t, 16> kAsStored = {0, 1, 2,  3,  4,  5,  6,  7,
                                                   8, 9, 10, 11, 12, 13, 14, 15};
constexpr std::array<std::size_t, 16> kAsNumbers = {3, 2, 1,  0,  5,  4,  7,  6,
                                                    8, 9, 10, 11, 12, 13, 14, 15};

bool IsUpper(char character) {
  return std::isupper(static_cast<unsigned char>(character)) != 0;
}
char Lower(char character) {
  return static_cast<char>(std::tolower(static_cast<unsigned char>(character)));
}
char Upper(char character) {
  return static_cast<char>(std::toupper(static_cast<unsigned char>(character)));
}

std::string Lower(std::string_view text) {
  std::string lower(text);
  std::transform(text.begin(), text.end(), lower.begin(), [](char one) { return Lower(one); });
  return lower;
}

std::string Spelled(const std::vector<uint8_t>& uuid, const std::array<std::size_t, 16>& order,
                    std::string_view betweenGroups) {
  std::string text;
  for (std::size_t i = 0; i < order.size(); ++i) {
    text += i == 4 || i == 6 || i == 8 || i == 10 ? betweenGroups : "";
    text += kDigits[uuid[order[i]] >> 4];
    text += kDigits[uuid[order[i]] & 0x0F];
  }
  return text;
}

}  // namespace

void SecretList::Add(std::string_view secret, std::string_view mask) {
  const std::size_t start = std::min(secret.find_first_not_of(' '), secret.size());
  const std::size_t size = secret.find_last_not_of(' ') + 1 - start;
  if (start == secret.size() || size < kShortest || secret == mask) {
    return;
  }
  const auto isShorter = [size](const Secret& other) { return other.text.size() < size; };
  mSecrets.insert(std::find_if(mSecrets.begin(), mSecrets.end(), isShorter),
                  {Lower(secret.substr(start, size)), std::string(mask.substr(start, size))});
}

void SecretList::AddUuid(const std::vector<uint8_t>& uuid, const std::vector<uint8_t>& mask) {
  for (const auto& order : {kAsStored, kAsNumbers}) {
    for (const std::string_view betweenGroups : {"", "-"}) {
      Add(Spelled(uuid, order, betweenGroups), Spelled(mask, order, betweenGroups));
    }
  }
}

std::string SecretList::WithMasks(std::string text) const {
  const std::string lower = Lower(text);
  std::vector<bool> isMasked(text.size());
  for (const Secret& secret : mSecrets) {
    for (std::size_t at = 0; (at = lower.find(secret.text, at)) != std::string::npos; ++at) {
      for (std::size_t i = 0; i < secret.text.size(); ++i) {
        if (!isMasked[at + i]) {
          char& character = text[at + i];
          character = IsUpper(character) ? Upper(secret.mask[i]) : Lower(secret.mask[i]);
          isMasked[at + i] = true;
        }
      }
    }
  }
  return text;
}

}  // namespace tvq::cli
