/*
 * --redact: what may be shared of a table, a document or a blob.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_REDACT_REDACT_H_
#define TVQ_HOST_CLI_REDACT_REDACT_H_

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "host/cli/command.h"
#include "host/cli/device/document.h"
#include "host/cli/redact/mask.h"
#include "host/cli/redact/secret_list.h"
#include "host/table/result.h"
#include "host/table/table.h"

namespace tvq::cli {

struct RedactOptions {
  bool isWanted = false;
  std::string key;      // empty: that of this machine
  std::string keyFile;  // its first line is the key, in place of both; empty: none
};

// Adds --redact, --redact-key and --redact-key-file.
void AddRedact(Parameters parameters, RedactOptions& options);

// Nothing where --redact was not given. Throws InputError, also where others may read the key's file.
std::optional<Masker> MakeMasker(const RedactOptions& options);

// The same for what is masked unless somebody asks for more: where this machine has no identity, the
// masks are others each time.
Masker MakePageMasker(const RedactOptions& options);

// Masks a structure table in place: the numbers and tags that name the machine or a part, OEM
// strings, every other text that repeats one of them, and whatever has no name in the source form.
// Nothing changes its place or its length, and the driver's names stay. Returns how many bytes at
// the end were no structures and had to be blanked.
std::size_t RedactTable(std::vector<uint8_t>& structures, const Masker& masker);

// The same for tables and documents that tell of each other: what is a secret in one of them is
// masked in all. The secrets are added to those that are known, for names that repeat them.
std::size_t RedactTogether(const std::vector<std::vector<uint8_t>*>& tables,
                           const std::vector<Element*>& documents, const Masker& masker,
                           SecretList& secrets);

// The same for a captured file, whose entry point keeps what it says. Fails where ReadDump does.
table::Result<std::size_t> RedactDump(std::vector<uint8_t>& file, const Masker& masker,
                                      SecretList& secrets);
inline table::Result<std::size_t> RedactDump(std::vector<uint8_t>& file, const Masker& masker) {
  SecretList secrets;
  return RedactDump(file, masker, secrets);
}

// Blanks what means nothing in the entry point at the start of a dump.
void RedactEntryPoint(std::vector<uint8_t>& dump, table::EntryPoint kind);

// Says how many bytes were blanked, unless there were none.
void SayBlanked(std::size_t size, const Console& console);

// Masks the blobs of a file in place, damaged ones too.
void RedactBlobs(std::vector<uint8_t>& file, const Masker& masker);

// Whether the text of this element of a document names the machine or a part.
bool IsSecretElement(std::string_view name);

// Whether the value of a field of this name does, as host/table names fields.
bool IsSecretField(std::string_view field);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_REDACT_REDACT_H_
