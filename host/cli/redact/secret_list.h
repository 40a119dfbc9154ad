/*
 * Secrets with their masks, for other texts that repeat them.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_REDACT_SECRET_LIST_H_
#define TVQ_HOST_CLI_REDACT_SECRET_LIST_H_

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace tvq::cli {

class SecretList {
 public:
  // The mask has the length of the secret. Blanks around it do not count, and neither do secrets so
  // short that other texts repeat them by chance.
  void Add(std::string_view secret, std::string_view mask);

  // The 16 bytes of a UUID in the spellings that are in use: 32 digits or five groups, with the
  // first three groups as they are stored or as numbers.
  void AddUuid(const std::vector<uint8_t>& uuid, const std::vector<uint8_t>& mask);

  // The text with the mask of every secret that it repeats, in upper or lower case.
  std::string WithMasks(std::string text) const;

 private:
  struct Secret {
    std::string text;  // in lower case
    std::string mask;
  };
  std::vector<Secret> mSecrets;  // the longest first, as one may be part of another
};

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_REDACT_SECRET_LIST_H_
