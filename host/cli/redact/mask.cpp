/*
 * Masks for texts that name a machine or a part.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#include "host/cli/redact/mask.h"

#include <Library/TvqDeviceLib.h>
#include <sodium.h>

#include <algorithm>
#include <array>
#include <stdexcept>

namespace tvq::cli {
namespace {

constexpr std::size_t kLongest = 256;
constexpr char kBlank = 'x';
constexpr std::string_view kTag = devices::kPpinTag;
constexpr std::string_view kDigits = "0123456789abcdef";
// Far beyond the six for each bit that the proof of the shuffle asks for, for the shortest texts.
constexpr unsigned kFewestRounds = 64;
constexpr unsigned kRoundsForEachCharacter = 36;

// Characters that stand for each other: the hexadecimal letters are a class of their own, so that a
// hexadecimal number stays one. Blanks and punctuation stay.
struct Class {
  unsigned char first;
  unsigned char last;
};
constexpr Class kClasses[] = {{'0', '9'}, {'A', 'F'},   {'G', 'Z'},   {'a', 'f'},
                              {'g', 'z'}, {0x01, 0x1F}, {0x7F, 0xA0}, {0xA1, 0xFF}};

const Class* ClassOf(unsigned char character) {
  const auto* const found = std::find_if(
      std::begin(kClasses), std::end(kClasses),
      [character](const Class& one) { return one.first <= character && character <= one.last; });
  return found == std::end(kClasses) ? nullptr : found;
}

bool NamesNothing(std::string_view text) {
  return devices::IsPlaceholder(
      smbios::Text(reinterpret_cast<const uint8_t*>(text.data()), text.size()));
}

// The number of a tag such as "22[" with its bracket, or the first character.
std::size_t LengthOfTag(std::string_view text) {
  constexpr std::size_t kLongestNumber = 3;
  const std::size_t number = std::min(text.find_first_not_of("0123456789"), text.size());
  const bool isTag = number <= kLongestNumber && text.substr(number, 1) == "[";
  return isTag ? number + 1 : std::min<std::size_t>(1, text.size());
}

// A pseudorandom function of the key, a round and a text.
class Oracle {
 public:
  using Answer = std::array<uint8_t, crypto_generichash_BYTES_MIN>;

  Oracle(const std::vector<uint8_t>& key, std::string_view context) : mKey(key) {
    mInput.assign(context.begin(), context.end());
    mInput.push_back(0);
    mPrefix = mInput.size();
  }

  // `kind` sets uses of one round apart.
  Answer Ask(char kind, unsigned round, const std::string& text) {
    mInput.resize(mPrefix);
    mInput.push_back(static_cast<uint8_t>(kind));
    mInput.push_back(static_cast<uint8_t>(round));
    mInput.push_back(static_cast<uint8_t>(round >> 8));
    mInput.insert(mInput.end(), text.begin(), text.end());
    Answer answer = {};
    crypto_generichash(answer.data(), answer.size(), mInput.data(), mInput.size(), mKey.data(),
                       mKey.size());
    return answer;
  }

 private:
  const std::vector<uint8_t>& mKey;
  std::vector<uint8_t> mInput;
  std::size_t mPrefix = 0;
};

// The classes of a text's characters, which its mask keeps.
std::string ShapeOf(std::string_view text) {
  std::string shape;
  for (const char character : text) {
    const Class* const one = ClassOf(static_cast<unsigned char>(character));
    shape.push_back(one == nullptr ? character : static_cast<char>(one->first));
  }
  return shape;
}

// The number minus the character, in the arithmetic of its class.
char PartnerOf(char text, uint8_t number) {
  const auto character = static_cast<unsigned char>(text);
  const Class* const one = ClassOf(character);
  if (one == nullptr) {
    return text;
  }
  const unsigned count = one->last - one->first + 1u;
  const unsigned value = number % count + count - (character - one->first);
  return static_cast<char>(one->first + value % count);
}

// The same of each character of a piece.
std::string Partner(std::string text, const Oracle::Answer& numbers) {
  static_assert(devices::kSerialLength <= Oracle::Answer().size(), "one for each character");
  std::transform(text.begin(), text.end(), numbers.begin(), text.begin(), PartnerOf);
  return text;
}

}  // namespace

std::string_view PpinOf(std::string_view oemString) {
  const std::size_t tag = oemString.find(kTag);
  return tag == std::string_view::npos ? std::string_view()
                                       : oemString.substr(tag + kTag.size(), devices::kPpinLength);
}

Masker::Masker(std::string_view key) : mKey(crypto_generichash_KEYBYTES) {
  if (sodium_init() < 0) {
    throw std::runtime_error("the cryptographic library cannot be used");
  }
  constexpr std::string_view kPurpose = "tvq --redact";
  crypto_generichash(mKey.data(), mKey.size(), reinterpret_cast<const uint8_t*>(key.data()),
                     key.size(), reinterpret_cast<const uint8_t*>(kPurpose.data()),
                     kPurpose.size());
}

// A swap-or-not shuffle of all texts of one shape: in every round, a text and its partner change
// places or stay, which is a permutation whatever the key says.
std::string Masker::Permute(std::string_view text, std::string_view context) const {
  std::string masked(text);
  const std::string shape = ShapeOf(text);
  Oracle oracle(mKey, context);
  const auto rounds = kFewestRounds + kRoundsForEachCharacter * static_cast<unsigned>(text.size());
  for (unsigned round = 0; round < rounds; ++round) {
    std::string partner = Partner(masked, oracle.Ask('k', round, shape));
    if ((oracle.Ask('b', round, std::max(masked, partner))[0] & 1) != 0) {
      masked = std::move(partner);
    }
  }
  return masked;
}

std::string Masker::Mask(std::string_view text) const {
  if (NamesNothing(text)) {
    return std::string(text);
  }
  std::string masked;
  // So long a text is no number, and would take its time.
  std::string rest(text.size() > kLongest ? text.size() - kLongest : 0, kBlank);
  text = text.substr(0, kLongest);
  // The part that the driver keeps is masked for itself; longer texts in pieces, each in the
  // context of all before it.
  for (std::size_t at = 0; at < text.size(); at += devices::kSerialLength) {
    masked += Permute(text.substr(at, devices::kSerialLength), text.substr(0, at));
  }
  return masked + rest;
}

std::string Masker::MaskOemString(std::string_view text) const {
  const std::size_t tag = text.find(kTag);
  if (tag != std::string_view::npos) {
    const std::string_view rest = text.substr(tag + kTag.size());
    return MaskUntagged(text.substr(0, tag)) + std::string(kTag) +
           Mask(rest.substr(0, devices::kPpinLength)) +
           Mask(rest.substr(std::min(devices::kPpinLength, rest.size())));
  }
  return NamesNothing(text) ? std::string(text) : MaskUntagged(text);
}

// Masks are masked until there is no tag in them that came about by chance: the original has none,
// and a permutation comes back to it in the end.
std::string Masker::MaskUntagged(std::string_view text) const {
  const std::string kept(text.substr(0, LengthOfTag(text)));
  std::string masked(text.substr(kept.size()));
  do {
    masked = Mask(masked);
  } while ((kept + masked).find(kTag) != std::string::npos);
  return kept + masked;
}

std::vector<uint8_t> Masker::MaskUuid(const std::vector<uint8_t>& bytes) const {
  std::string text;
  for (const uint8_t byte : bytes) {
    text.push_back(kDigits[byte >> 4]);
    text.push_back(kDigits[byte & 0x0F]);
  }
  const std::string mask = Mask(text);
  const auto valueOf = [&mask](std::size_t i) {
    return static_cast<unsigned>(kDigits.find(mask[i]));
  };
  std::vector<uint8_t> masked;
  for (std::size_t i = 0; i < mask.size(); i += 2) {
    masked.push_back(static_cast<uint8_t>(valueOf(i) << 4 | valueOf(i + 1)));
  }
  return masked;
}

}  // namespace tvq::cli
