/*
 * Single facts as text.
 *
 * SPDX-License-Identifier: BSD-2-Clause-Patent
 */
#ifndef TVQ_HOST_CLI_MACHINE_FACT_TEXT_H_
#define TVQ_HOST_CLI_MACHINE_FACT_TEXT_H_

#include <string>
#include <string_view>

#include "host/cli/output/console.h"
#include "host/facts/fact.h"

namespace tvq::cli {

// What stands for a value that the table does not say.
inline constexpr char kNothing[] = "-";

// A value with its unit: "16 GB", "4800 MT/s".
std::string ValueText(const facts::Part& part, std::string_view fact, const Terminal& terminal);

// "size" of the fact "sizeInBytes".
std::string_view WithoutUnit(std::string_view fact);

// The name of a fact in words: "asset tag" for "assetTag".
std::string TitleOf(std::string_view fact);

}  // namespace tvq::cli

#endif  // TVQ_HOST_CLI_MACHINE_FACT_TEXT_H_
