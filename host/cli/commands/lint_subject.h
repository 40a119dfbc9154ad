/*
 * What the rules of `tvq lint` examine.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_COMMANDS_LINT_SUBJECT_H_
#define TVQ_HOST_CLI_COMMANDS_LINT_SUBJECT_H_

#include "host/cli/input/table_input.h"
#include "host/lint/subject.h"

namespace tvq::cli {

// The table, with the documents that the driver writes about it. Throws InputError.
lint::Subject ReadSubject(const TableBytes& bytes, const TableOptions& options,
                          const Console& console);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_COMMANDS_LINT_SUBJECT_H_
