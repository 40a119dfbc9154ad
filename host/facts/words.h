/*
 * The words that the SMBIOS standard (DSP0134, version 3.7) has for numbers.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_FACTS_WORDS_H_
#define TVQ_HOST_FACTS_WORDS_H_

#include <cstddef>
#include <cstdint>
#include <string>

namespace tvq::facts {

struct Word {
  std::uint8_t value;
  const char* text;
};

// The words of one list of the standard.
class Words {
 public:
  constexpr Words() = default;
  template <std::size_t N>
  constexpr Words(const Word (&words)[N]) : mWords(words), mCount(N) {}

  // The number itself, as "0x2F", where there is no word for it.
  std::string Of(std::uint8_t value) const;

 private:
  const Word* mWords = nullptr;
  std::size_t mCount = 0;
};

extern const Words kBoardTypes;              // 7.3.2
extern const Words kChassisTypes;            // 7.4.1
extern const Words kSlotTypes;               // 7.10.1
extern const Words kSlotWidths;              // 7.10.2
extern const Words kSlotUsages;              // 7.10.3
extern const Words kSlotLengths;             // 7.10.4
extern const Words kMemoryArrayLocations;    // 7.17.1
extern const Words kMemoryArrayUses;         // 7.17.2
extern const Words kMemoryErrorCorrections;  // 7.17.3
extern const Words kMemoryFormFactors;       // 7.18.1
extern const Words kMemoryTypes;             // 7.18.2
extern const Words kMemoryTechnologies;      // 7.18.6
extern const Words kOnboardDeviceTypes;      // 7.42.2

}  // namespace tvq::facts

#endif  // TVQ_HOST_FACTS_WORDS_H_
