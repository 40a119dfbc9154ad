/*
 * What --redact is made of: the secrets of a document or a table are masked first, then what repeats
 * one of them, wherever it stands.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_REDACT_REDACT_PARTS_H_
#define TVQ_HOST_CLI_REDACT_REDACT_PARTS_H_

#include "host/cli/device/document.h"
#include "host/cli/redact/mask.h"
#include "host/cli/redact/secret_list.h"

namespace tvq::cli {

void MaskSecrets(Element& document, const Masker& masker, SecretList& secrets);
void MaskRepeats(Element& document, const SecretList& secrets);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_REDACT_REDACT_PARTS_H_
