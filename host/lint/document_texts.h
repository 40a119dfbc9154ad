/*
 * The texts of a table that the driver writes into documents, as much of them as it writes.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_LINT_DOCUMENT_TEXTS_H_
#define TVQ_HOST_LINT_DOCUMENT_TEXTS_H_

#include <string>
#include <vector>

#include "host/lint/subject.h"

namespace tvq::lint {

struct DocumentText {
  const Structure* structure;
  std::string_view element;
  std::string_view whole;  // in the table
  std::string kept;        // in the document
};

std::vector<DocumentText> DocumentTexts(const Subject& subject);

}  // namespace tvq::lint

#endif  // TVQ_HOST_LINT_DOCUMENT_TEXTS_H_
